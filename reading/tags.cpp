#include "reading/tags.h"

#include <tpropertymap.h>

#include "dsf/dsf_file.h"

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

}  // namespace

TagListing tagsIn(const TagLib::File& file) {
  TagListing listing;
  for (const auto& [name, values] : propertiesOf(file)) {
    for (const auto& value : values) listing.emplace_back(name.to8Bit(true), value.to8Bit(true));
  }
  return listing;
}

}  // namespace tagwriter
