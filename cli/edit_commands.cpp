#include <fstream>
#include <iostream>
#include <iterator>

#include "cli/commands.h"
#include "cli/edit_files.h"
#include "cli/field_edits.h"
#include "reading/image_info.h"

namespace tagwriter {
namespace {

std::optional<std::string> readImage(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad() || bytes.empty()) return std::nullopt;
  return bytes;
}

/// The type that the user names, or else what the image's first bytes say.
std::optional<std::int64_t> typeOf(const CoverArguments& arguments, const std::string& image) {
  if (arguments.type) return arguments.type;
  return imageTypeOf(std::as_bytes(std::span(image)));
}

int storeCover(const CoverArguments& arguments) {
  const auto image = readImage(arguments.image);
  if (!image) {
    std::cerr << arguments.image << ": cannot be read, or is empty\n";
    return kExitFailed;
  }
  const auto type = typeOf(arguments, *image);
  if (!type) {
    std::cerr << arguments.image
              << ": not a PNG, JPEG, TIFF, GIF or BMP image; --type says what it is\n";
    return kExitFailed;
  }
  return editFiles(arguments.files, {{"cover", [&](TagWriter& writer, const OpenFile& file) {
                                        return writer.writeArtwork(file.fd, file.path,
                                                                   std::as_bytes(std::span(*image)),
                                                                   *type, arguments.replace);
                                      }}});
}

int clearCover(const CoverArguments& arguments) {
  return editFiles(arguments.files, {{"cover", [](TagWriter& writer, const OpenFile& file) {
                                        return writer.clearArtwork(file.fd, file.path);
                                      }}});
}

}  // namespace

int run(const SetArguments& arguments) {
  return editFiles(arguments.files, setEdits(arguments.fields));
}

int run(const ClearArguments& arguments) {
  return editFiles(arguments.files, clearEdits(arguments.keys));
}

int run(const CoverArguments& arguments) {
  return arguments.clear ? clearCover(arguments) : storeCover(arguments);
}

int run(const ExitNow& exit) {
  return exit.code;
}

}  // namespace tagwriter
