#include "protocol/file_type.h"

#include <string>
#include <string_view>

namespace tagwriter {
namespace {

struct ExtensionRow {
  std::string_view extension;
  TagFileType type;
};

constexpr ExtensionRow kExtensions[] = {
    {"MP3", kTagFileMP3},       {"M4A", kTagFileMP4},       {"MP4", kTagFileMP4},
    {"M4B", kTagFileMP4},       {"M4V", kTagFileMP4},       {"M4P", kTagFileM4P},
    {"FLAC", kTagFileFLAC},     {"OGG", kTagFileOgg},       {"WMA", kTagFileWMA},
    {"AIFF", kTagFileAIFF},     {"AIF", kTagFileAIFF},      {"WAV", kTagFileWAV},
    {"APE", kTagFileAPE},       {"WV", kTagFileWavPack},    {"OGA", kTagFileOGA},
    {"OPUS", kTagFileOpus},     {"DSF", kTagFileDSF},       {"AY", kTagFileGameMusic},
    {"GBS", kTagFileGameMusic}, {"GYM", kTagFileGameMusic}, {"HES", kTagFileGameMusic},
    {"KSS", kTagFileGameMusic}, {"NSF", kTagFileGameMusic}, {"NSFE", kTagFileGameMusic},
    {"SAP", kTagFileGameMusic}, {"SPC", kTagFileGameMusic}, {"VGM", kTagFileGameMusic},
    {"VGZ", kTagFileGameMusic}, {"AC3", kTagFileAC3},       {"AU", kTagFileAU},
    {"MPC", kTagFileMPC},       {"SHN", kTagFileSHN},
};

std::string_view extensionOf(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

/// ASCII only, regardless of the locale.
std::string upperCased(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

const ExtensionRow* findRow(const char* path) {
  const std::string extension = upperCased(extensionOf(path));
  for (const ExtensionRow& row : kExtensions) {
    if (row.extension == extension) return &row;
  }
  return nullptr;
}

}  // namespace

TagFileType tagFileTypeForPath(const char* path) {
  const ExtensionRow* row = path ? findRow(path) : nullptr;
  return row ? row->type : kTagFileMP3;
}

bool isWritableFileName(const char* path) {
  const ExtensionRow* row = path ? findRow(path) : nullptr;
  if (!row) return false;
  switch (row->type) {
    case kTagFileGameMusic:
    case kTagFileAC3:
    case kTagFileAU:
    case kTagFileSHN:
      return false;
    default:
      return true;
  }
}

}  // namespace tagwriter
