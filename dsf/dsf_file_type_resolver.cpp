#include "dsf/dsf_file_type_resolver.h"

#include <tiostream.h>

#include <algorithm>
#include <string_view>

#include "dsf/dsf_file.h"

namespace TagLib {
namespace {

constexpr std::string_view kExtension = ".dsf";

char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isDSFName(const char* fileName) {
  const std::string_view name = fileName ? fileName : "";
  if (name.size() <= kExtension.size()) return false;
  return std::equal(kExtension.begin(), kExtension.end(), name.end() - kExtension.size(),
                    [](char expected, char c) { return expected == lowerCase(c); });
}

}  // namespace

File* DSFFileTypeResolver::createFile(FileName fileName, bool readAudioProperties,
                                      AudioProperties::ReadStyle audioPropertiesStyle) const {
  if (!isDSFName(fileName)) return nullptr;
  return new DSF::File(fileName, readAudioProperties, audioPropertiesStyle);
}

File* DSFFileTypeResolver::createFileFromStream(
    IOStream* stream, bool readAudioProperties,
    AudioProperties::ReadStyle audioPropertiesStyle) const {
  if (!isDSFName(stream->name())) return nullptr;
  return new DSF::File(stream, readAudioProperties, audioPropertiesStyle);
}

void registerDSFFileTypeResolver() {
  // Never destroyed: TagLib keeps it until the process ends.
  static const auto* const kResolver = new DSFFileTypeResolver;
  static const auto* const kRegistered = FileRef::addFileTypeResolver(kResolver);
  (void)kRegistered;
}

}  // namespace TagLib
