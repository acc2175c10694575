#include <algorithm>
#include <iostream>
#include <optional>
#include <span>

#include "cli/commands.h"
#include "cli/edit_files.h"
#include "cli/field_edits.h"
#include "cli/file_contents.h"
#include "cli/printable.h"
#include "cli/report.h"
#include "cli/until_exit.h"

namespace tagwriter {
namespace {

int fail(const std::string& path, const std::string& reason) {
  std::cerr << printable(path + ": " + reason) << '\n';
  return kExitFailed;
}

/// The fields with these keys, or all if there are none. Sets `missing` to a key without a field.
std::vector<FieldAssignment> fieldsToCopy(const FieldListing& fields,
                                          const std::vector<std::string>& keys,
                                          std::string& missing) {
  std::vector<FieldAssignment> copied;
  for (const auto& [key, value] : fields) {
    const bool wanted = keys.empty() || std::find(keys.begin(), keys.end(), key) != keys.end();
    if (wanted) copied.push_back({key, value});
  }
  for (const std::string& key : keys) {
    const auto has = [&](const FieldAssignment& field) { return field.key == key; };
    if (std::none_of(copied.begin(), copied.end(), has)) missing = key;
  }
  return copied;
}

/// The index of the front cover, or else of the first picture.
std::size_t coverIn(const std::vector<PictureInfo>& pictures) {
  const auto isFront = [](const PictureInfo& picture) { return picture.type == kFrontCover; };
  const auto front = std::find_if(pictures.begin(), pictures.end(), isFront);
  return front == pictures.end() ? 0 : static_cast<std::size_t>(front - pictures.begin());
}

/// The edit that stores the cover of `file` in another; nullopt if it has no picture. If it cannot
/// be copied, `problem` says why. `image` is set to its bytes, which must outlive the edit.
std::optional<NamedEdit> coverEdit(const OpenedFile& file, const CopyArguments& arguments,
                                   Reader& reader, std::vector<std::byte>& image,
                                   std::string& problem) {
  const std::vector<PictureInfo>& pictures = file.contents.pictures;
  if (pictures.empty()) return std::nullopt;
  const std::size_t index = coverIn(pictures);
  const ImageType type = pictures[index].format;
  if (type == ImageType::kOther) {
    problem = "its cover is not a PNG, JPEG, TIFF, GIF or BMP image (choose fields with -t)";
    return std::nullopt;
  }
  const auto append = [&](std::span<const std::byte> piece) {
    image.insert(image.end(), piece.begin(), piece.end());
    return true;
  };
  const Outcome read = reader.readPicture(file.fd.get(), arguments.from, index, append);
  if (!read) problem = read.message();
  PlannedEdit edit = {Edit::setCover(image, type, arguments.replace),
                      "cover = that of " + arguments.from};
  return NamedEdit{"cover", [edit](const AudioFile&, Reader&) { return edit; }};
}

}  // namespace

int run(const CopyArguments& arguments) {
  Reader& reader = untilExit<Reader>();
  OpenedFile file;
  std::string problem = readFile(arguments.from, reader, file);
  Report(false, false).log(arguments.from, reader.takeLog());
  if (!problem.empty()) return fail(arguments.from, problem);
  const FileContents& contents = file.contents;
  if (!contents.isComplete) {
    return fail(arguments.from, "some of its tags are too large to be copied");
  }

  std::string missing;
  std::vector<NamedEdit> edits = fieldEdits(fieldsToCopy(contents.fields, arguments.keys, missing));
  if (!missing.empty()) {
    return fail(arguments.from, "has no " + missing + " to copy ('tagwriter clear' clears it)");
  }
  std::vector<std::byte> image;
  if (arguments.keys.empty()) {
    const auto cover = coverEdit(file, arguments, reader, image, problem);
    if (!problem.empty()) return fail(arguments.from, problem);
    if (cover) edits.push_back(*cover);
  }
  if (edits.empty()) return fail(arguments.from, "has nothing to copy");
  return editFiles(arguments.options, std::move(edits));
}

}  // namespace tagwriter
