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
#include "client/reader.h"

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
  if (picture.width != 0) std::cout << ", " << picture.width << "x" << picture.height;
  std::cout << ", " << picture.size << " bytes\n";
}

void printText(const std::string& path, const FileContents& contents) {
  std::cout << printable(path) << '\n';
  for (const auto& [name, value] : contents.tags)
    std::cout << "  " << printable(name) << ": " << indented(printable(value, true)) << '\n';
  for (const PictureInfo& picture : contents.pictures) printText(picture);
  if (contents.tags.empty() && contents.pictures.empty()) std::cout << "  (no tags)\n";
}

nlohmann::json toJson(const PictureInfo& picture) {
  nlohmann::json object = {
      {"role", picture.role}, {"mimeType", picture.mimeType}, {"size", picture.size}};
  if (picture.width != 0) {
    object["width"] = picture.width;
    object["height"] = picture.height;
  }
  return object;
}

void printAsJson(const std::string& path, const FileContents& contents) {
  nlohmann::json object = {
      {"file", path}, {"tags", nlohmann::json::object()}, {"pictures", nlohmann::json::array()}};
  for (const auto& [name, value] : contents.tags) object["tags"][name].push_back(value);
  for (const PictureInfo& picture : contents.pictures)
    object["pictures"].push_back(toJson(picture));
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

void showFile(const std::string& path, bool json, Reader& reader, Report& report) {
  std::string error;
  const UniqueFd file = openForReading(path, error);
  if (!file) return report.failed(path, error);
  FileContents contents;
  if (const Outcome read = reader.read(file.get(), path, contents); !read) {
    return report.failed(path, read.message());
  }
  if (!contents.isReadable) return report.failed(path, "cannot be read as an audio file");
  if (json) {
    printAsJson(path, contents);
  } else {
    printText(path, contents);
  }
  if (!contents.isComplete) report.failed(path, "some of its tags are too large to be shown");
}

}  // namespace

int run(const ShowArguments& arguments) {
  const FileOptions& options = arguments.options;
  Report report(options.json, false);
  const auto files =
      listFiles(options.paths, options.recursive,
                [&](const std::string& path, const std::string& why) { report.failed(path, why); });
  Reader reader;
  for (const std::string& path : files) showFile(path, options.json, reader, report);
  return report.anyFailed() ? kExitFailed : kExitDone;
}

}  // namespace tagwriter
