#include "tests/formats/core_file.h"

#include <fileref.h>
#include <gtest/gtest.h>
#include <tag.h>

#include "dsf/dsf_file_type_resolver.h"
#include "tests/formats/core_writers.h"

namespace tagwriter::test {
namespace {

CoreFields fieldsIn(const TagLib::Tag& tag) {
  return {tag.title().to8Bit(true), tag.artist().to8Bit(true), tag.album().to8Bit(true),
          tag.genre().to8Bit(true), tag.year()};
}

}  // namespace

const StringField kStringFields[4] = {{"title", writeTitle, &CoreFields::title},
                                      {"artist", writeArtist, &CoreFields::artist},
                                      {"album", writeAlbum, &CoreFields::album},
                                      {"genre", writeGenre, &CoreFields::genre}};

void PrintTo(const CoreFields& fields, std::ostream* out) {
  *out << '"' << fields.title << "\", \"" << fields.artist << "\", \"" << fields.album << "\", \""
       << fields.genre << "\", " << fields.year;
}

CoreFields coreFieldsOf(const std::string& path) {
  TagLib::registerDSFFileTypeResolver();
  const TagLib::FileRef file(path.c_str(), false);
  if (file.isNull() || !file.tag()) {
    ADD_FAILURE() << path << " has no tag";
    return {};
  }
  return fieldsIn(*file.tag());
}

}  // namespace tagwriter::test
