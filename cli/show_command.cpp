#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "cli/commands.h"
#include "client/tag_reader.h"

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

bool showFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    std::cerr << path << ": " << (error ? error.message() : "not a regular file") << '\n';
    return false;
  }
  const std::optional<TagListing> tags = readTags(path);
  if (!tags) {
    std::cerr << path << ": cannot be read as an audio file\n";
    return false;
  }
  std::cout << path << '\n';
  for (const auto& [name, value] : *tags)
    std::cout << "  " << name << ": " << indented(value) << '\n';
  if (tags->empty()) std::cout << "  (no tags)\n";
  return true;
}

}  // namespace

int runShow(const ShowArguments& arguments) {
  bool allShown = true;
  for (const std::string& path : arguments.files) allShown = showFile(path) && allShown;
  std::cout.flush();
  return allShown && std::cout ? kExitDone : kExitFailed;
}

}  // namespace tagwriter
