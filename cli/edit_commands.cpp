#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <span>

#include "cli/commands.h"
#include "cli/edit_files.h"
#include "cli/field_edits.h"
#include "cli/printable.h"

namespace tagwriter {
namespace {

/// Reads all of a file or pipe; nullopt if it is empty or unreadable.
std::optional<std::string> readCover(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad() || bytes.empty()) return std::nullopt;
  return bytes;
}

int storeCover(const CoverArguments& arguments) {
  const auto file = readCover(arguments.cover);
  if (!file) {
    std::cerr << printable(arguments.cover) << ": empty or unreadable\n";
    return kExitFailed;
  }
  const auto cover = std::as_bytes(std::span(*file));
  const ImageType type = arguments.type.value_or(detectImageType(cover));
  if (type == ImageType::kOther) {
    std::cerr << printable(arguments.cover)
              << ": not a PNG, JPEG, TIFF, GIF or BMP image (use --type)\n";
    return kExitFailed;
  }
  PlannedEdit edit = {Edit::setCover(cover, type, arguments.replace), "cover = " + arguments.cover};
  return editFiles(arguments.options, {{"cover", [&](const AudioFile&, Reader&) { return edit; }}});
}

int clearCover(const CoverArguments& arguments) {
  return editFiles(arguments.options, {{"cover", [](const AudioFile&, Reader&) {
                                          return PlannedEdit{Edit::clearCovers(), "clear pictures"};
                                        }}});
}

}  // namespace

int run(const SetArguments& arguments) {
  if (arguments.files.empty()) {
    return editFiles(arguments.options, fieldEdits(arguments.fields));
  }
  std::vector<FileEdits> files;
  for (const FileFields& file : arguments.files) {
    auto edits = std::make_shared<const std::vector<NamedEdit>>(fieldEdits(file.fields));
    files.push_back({file.path, std::move(edits), file.problem});
  }
  return editFiles(arguments.options, files);
}

int run(const ClearArguments& arguments) {
  std::vector<FieldAssignment> fields;
  for (const std::string& key : arguments.keys) fields.push_back({key, std::nullopt});
  return editFiles(arguments.options, fieldEdits(fields));
}

int run(const CoverArguments& arguments) {
  return arguments.clear ? clearCover(arguments) : storeCover(arguments);
}

int run(const ExitNow& exit) {
  return exit.code;
}

}  // namespace tagwriter
