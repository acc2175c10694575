#include <iostream>
#include <memory>
#include <span>

#include "cli/commands.h"
#include "cli/edit_files.h"
#include "cli/field_edits.h"
#include "cli/input_file.h"
#include "cli/printable.h"
#include "cli/usage_error.h"
#include "protocol/file_type.h"

namespace tagwriter {
namespace {

/// The format of `image`, which is the content of the file at `path`. Throws UsageError if it is
/// unknown.
ImageType imageType(const std::string& path, std::span<const std::byte> image) {
  const ImageType type = detectImageType(image);
  if (type != ImageType::kOther) return type;
  if (isWritableFileName(path.c_str())) {
    throw UsageError(path + ": not an image; the image comes before the audio files");
  }
  throw UsageError(path + ": not a PNG, JPEG, TIFF, GIF or BMP image; if it is one, use --type");
}

int storeCover(const CoverArguments& arguments) {
  const std::string file = readFileOrPipe(arguments.cover);
  if (file.empty()) throw UsageError(arguments.cover + ": an empty file");
  const auto cover = std::as_bytes(std::span(file));
  const ImageType type = arguments.type ? *arguments.type : imageType(arguments.cover, cover);
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

int run(const CoverArguments& arguments) try {
  return arguments.clear ? clearCover(arguments) : storeCover(arguments);
} catch (const UsageError& error) {
  std::cerr << printable(error.what()) << '\n';
  return kExitFailed;
}

int run(const ExitNow& exit) {
  return exit.code;
}

}  // namespace tagwriter
