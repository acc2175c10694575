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

}  // namespace

int run(const CopyArguments& arguments) {
  Reader reader;
  OpenedFile file;
  const std::string problem = readFile(arguments.from, reader, file);
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
  std::vector<std::byte> cover;
  if (arguments.keys.empty() && !contents.pictures.empty()) {
    const std::size_t index = coverIn(contents.pictures);
    const ImageType type = contents.pictures[index].format;
    if (type == ImageType::kOther) {
      return fail(arguments.from,
                  "its cover is not a PNG, JPEG, TIFF, GIF or BMP image (choose "
                  "fields with -t)");
    }
    const Outcome read = reader.readPicture(file.fd.get(), arguments.from, index,
                                            [&](std::span<const std::byte> piece) {
                                              cover.insert(cover.end(), piece.begin(), piece.end());
                                              return true;
                                            });
    if (!read) return fail(arguments.from, read.message());
    PlannedEdit edit = {Edit::setCover(cover, type, arguments.replace),
                        "cover = that of " + arguments.from};
    edits.push_back({"cover", [edit](const AudioFile&, Reader&) { return edit; }});
  }
  if (edits.empty()) return fail(arguments.from, "has nothing to copy");
  return editFiles(arguments.options, std::move(edits));
}

}  // namespace tagwriter
