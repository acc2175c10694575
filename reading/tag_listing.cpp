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

/// TagLib unifies the tags of the file classes that it knows; ours it would ask for the five core
/// fields only.
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
                          [](TagLib::FDFileStream& stream) -> std::optional<TagListing> {
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
  // Xiph comments of other programs keep the total in a field of its own.
  for (const char* name : {"DISCTOTAL", "TOTALDISCS"}) {
    if (position.total == 0) parseNumberPair(valueOf(tags, name), position.total, unused);
  }
  return position;
}

}  // namespace tagwriter
