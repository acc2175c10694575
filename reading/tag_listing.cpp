#include "reading/tag_listing.h"

#include <fileref.h>
#include <tpropertymap.h>

#include <string_view>

#include "base/unique_fd.h"
#include "dsf/dsf_file.h"
#include "dsf/dsf_file_type_resolver.h"
#include "io/with_stream.h"
#include "tagging/numbers.h"

namespace tagwriter {
namespace {

/// TagLib returns all tags only for its own file classes; for ours it would return only the five
/// core fields.
TagLib::PropertyMap propertiesOf(const TagLib::File& file) {
  if (const auto* dsf = dynamic_cast<const TagLib::DSF::File*>(&file)) {
    return dsf->tag()->properties();
  }
  return file.properties();
}

const char* valueOf(const TagListing& tags, std::string_view name) {
  for (const auto& [tagName, value] : tags) {
    if (tagName == name) return value.c_str();
  }
  return "";
}

}  // namespace

std::optional<TagListing> readTags(int fd, const std::string& path) {
  TagLib::registerDSFFileTypeResolver();
  return withStreamToRead(duplicateFd(fd), path.c_str(),
                          [](TagLib::StagedStream& stream) -> std::optional<TagListing> {
                            const TagLib::FileRef file(&stream, false);
                            if (file.isNull()) return std::nullopt;
                            TagListing listing;
                            for (const auto& [name, values] : propertiesOf(*file.file())) {
                              for (const auto& value : values) {
                                listing.emplace_back(name.to8Bit(true), value.to8Bit(true));
                              }
                            }
                            return listing;
                          });
}

DiscPosition discPositionOf(const TagListing& tags) {
  DiscPosition position;
  parseNumberPair(valueOf(tags, "DISCNUMBER"), position.number, position.total);
  std::int64_t unused = 0;
  // Other programs store the total in a separate field of a Xiph comment.
  for (const char* name : {"DISCTOTAL", "TOTALDISCS"}) {
    if (position.total == 0) parseNumberPair(valueOf(tags, name), position.total, unused);
  }
  return position;
}

}  // namespace tagwriter
