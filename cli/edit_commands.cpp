#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>

#include "cli/commands.h"
#include "cli/edit_files.h"
#include "cli/field_edits.h"
#include "cli/printable.h"

namespace tagwriter {
namespace {

/// Everything in the file or pipe; nothing when that is nothing or cannot be read.
std::optional<std::string> readImage(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad() || bytes.empty()) return std::nullopt;
  return bytes;
}

/// The type that the user names, or else what the image's first bytes say.
ImageType typeOf(const CoverArguments& arguments, std::span<const std::byte> image) {
  return arguments.type.value_or(detectImageType(image));
}

int storeCover(const CoverArguments& arguments) {
  const auto file = readImage(arguments.image);
  if (!file) {
    std::cerr << printable(arguments.image) << ": cannot be read, or is empty\n";
    return kExitFailed;
  }
  const auto image = std::as_bytes(std::span(*file));
  const ImageType type = typeOf(arguments, image);
  if (type == ImageType::kOther) {
    std::cerr << printable(arguments.image)
              << ": not a PNG, JPEG, TIFF, GIF or BMP image; --type says what it is\n";
    return kExitFailed;
  }
  PlannedEdit cover = {Edit::setCover(image, type, arguments.replace),
                       "cover = " + arguments.image};
  return editFiles(arguments.options, {{"cover", [&](const AudioFile&) { return cover; }}});
}

int clearCover(const CoverArguments& arguments) {
  return editFiles(arguments.options, {{"cover", [](const AudioFile&) {
                                          return PlannedEdit{Edit::clearCovers(), "no pictures"};
                                        }}});
}

}  // namespace

int run(const SetArguments& arguments) {
  return editFiles(arguments.options, setEdits(arguments.fields));
}

int run(const ClearArguments& arguments) {
  return editFiles(arguments.options, clearEdits(arguments.keys));
}

int run(const CoverArguments& arguments) {
  return arguments.clear ? clearCover(arguments) : storeCover(arguments);
}

int run(const ExitNow& exit) {
  return exit.code;
}

}  // namespace tagwriter
