#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "cli/commands.h"
#include "protocol/unique_fd.h"
#include "reading/pictures.h"
#include "reading/tag_listing.h"

namespace tagwriter {
namespace {

/// Values of several lines go on below their first line.
std::string indented(const std::string& value) {
  std::string text;
  for (const char c : value) {
    text += c;
    if (c == '\n') text += "    ";
  }
  return text;
}

void print(const PictureInfo& picture) {
  std::cout << "  picture: " << (picture.role.empty() ? "Cover" : picture.role) << ", "
            << (picture.mimeType.empty() ? "unknown format" : picture.mimeType);
  if (picture.dimensions) {
    std::cout << ", " << picture.dimensions->width << "x" << picture.dimensions->height;
  }
  std::cout << ", " << picture.size << " bytes\n";
}

bool fail(const std::string& path, const std::string& reason) {
  std::cerr << path << ": " << reason << '\n';
  return false;
}

bool showFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    return fail(path, error ? error.message() : "not a regular file");
  }
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return fail(path, std::strerror(errno));
  const std::optional<TagListing> tags = readTags(file.get(), path);
  if (!tags) return fail(path, "cannot be read as an audio file");
  const std::vector<PictureInfo> pictures = readPictures(file.get(), path);

  std::cout << path << '\n';
  for (const auto& [name, value] : *tags)
    std::cout << "  " << name << ": " << indented(value) << '\n';
  for (const PictureInfo& picture : pictures) print(picture);
  if (tags->empty() && pictures.empty()) std::cout << "  (no tags)\n";
  return true;
}

}  // namespace

int run(const ShowArguments& arguments) {
  bool allShown = true;
  for (const std::string& path : arguments.files) allShown = showFile(path) && allShown;
  std::cout.flush();
  return allShown && std::cout ? kExitDone : kExitFailed;
}

}  // namespace tagwriter
