#include "client/tag_reader.h"

#include <fileref.h>
#include <tpropertymap.h>

namespace tagwriter {

std::optional<TagListing> readTags(const std::string& path) {
  const TagLib::FileRef file(path.c_str(), false);
  if (file.isNull()) return std::nullopt;

  TagListing listing;
  for (const auto& [name, values] : file.file()->properties()) {
    for (const auto& value : values) {
      listing.emplace_back(name.to8Bit(true), value.to8Bit(true));
    }
  }
  return listing;
}

}  // namespace tagwriter
