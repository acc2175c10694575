#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "base/unique_fd.h"
#include "cli/commands.h"
#include "cli/file_list.h"
#include "cli/json_line.h"
#include "cli/printable.h"
#include "cli/report.h"
#include "reading/pictures.h"
#include "reading/tag_listing.h"

namespace tagwriter {
namespace {

/// Indents the continuation lines of a value.
std::string indented(const std::string& value) {
  std::string text;
  for (const char c : value) {
    text += c;
    if (c == '\n') text += "    ";
  }
  return text;
}

void printText(const PictureInfo& picture) {
  std::cout << "  picture: " << (picture.role.empty() ? "Cover" : picture.role) << ", "
            << (picture.mimeType.empty() ? "unknown format" : printable(picture.mimeType));
  if (picture.dimensions) {
    std::cout << ", " << picture.dimensions->width << "x" << picture.dimensions->height;
  }
  std::cout << ", " << picture.size << " bytes\n";
}

void printText(const std::string& path, const TagListing& tags,
               const std::vector<PictureInfo>& pictures) {
  std::cout << printable(path) << '\n';
  for (const auto& [name, value] : tags)
    std::cout << "  " << printable(name) << ": " << indented(printable(value, true)) << '\n';
  for (const PictureInfo& picture : pictures) printText(picture);
  if (tags.empty() && pictures.empty()) std::cout << "  (no tags)\n";
}

nlohmann::json toJson(const PictureInfo& picture) {
  nlohmann::json object = {
      {"role", picture.role}, {"mimeType", picture.mimeType}, {"size", picture.size}};
  if (picture.dimensions) {
    object["width"] = picture.dimensions->width;
    object["height"] = picture.dimensions->height;
  }
  return object;
}

void printAsJson(const std::string& path, const TagListing& tags,
                 const std::vector<PictureInfo>& pictures) {
  nlohmann::json object = {
      {"file", path}, {"tags", nlohmann::json::object()}, {"pictures", nlohmann::json::array()}};
  for (const auto& [name, value] : tags) object["tags"][name].push_back(value);
  for (const PictureInfo& picture : pictures) object["pictures"].push_back(toJson(picture));
  printJson(object);
}

UniqueFd openForReading(const std::string& path, std::string& error) {
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) {
    error = std::strerror(errno);
    return {};
  }
  if (!S_ISREG(status.st_mode)) {
    error = "not a regular file";
    return {};
  }
  return file;
}

void showFile(const std::string& path, bool json, Report& report) {
  std::string error;
  const UniqueFd file = openForReading(path, error);
  if (!file) return report.failed(path, error);
  const std::optional<TagListing> tags = readTags(file.get(), path);
  if (!tags) return report.failed(path, "cannot be read as an audio file");
  const std::vector<PictureInfo> pictures = readPictures(file.get(), path);
  if (json) {
    printAsJson(path, *tags, pictures);
  } else {
    printText(path, *tags, pictures);
  }
}

}  // namespace

int run(const ShowArguments& arguments) {
  const FileOptions& options = arguments.options;
  Report report(options.json, false);
  const auto files =
      listFiles(options.paths, options.recursive,
                [&](const std::string& path, const std::string& why) { report.failed(path, why); });
  for (const std::string& path : files) showFile(path, options.json, report);
  return report.anyFailed() ? kExitFailed : kExitDone;
}

}  // namespace tagwriter
