#include "cli/field_edits.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>

#include "base/unique_fd.h"
#include "cli/disc_position.h"
#include "protocol/fields.h"

namespace tagwriter {
namespace {

/// The disc number and the number of discs, as far as the user gives them.
struct DiscChange {
  std::optional<std::int64_t> number;
  std::optional<std::int64_t> total;
};

bool isDisc(const std::string& key) {
  return key == field::kDisc || key == field::kTotalNumberOfDiscs;
}

DiscChange discChangeOf(const std::vector<FieldAssignment>& changes) {
  DiscChange disc;
  for (const FieldAssignment& change : changes) {
    if (!isDisc(change.key)) continue;
    auto& part = change.key == field::kDisc ? disc.number : disc.total;
    part = change.value ? std::get<std::int64_t>(*change.value) : 0;
  }
  return disc;
}

/// Reads the disc number and the number of discs; zeros if the file cannot be opened or is no
/// audio, which the edit will report.
Outcome readDiscPosition(const AudioFile& file, Reader& reader, DiscPosition& position) {
  const UniqueFd fd(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  FileContents contents;
  Outcome read = reader.read(fd.get(), file.path(), contents);
  if (read && !contents.isComplete) read = {Status::kUnreadable, "its tags are too large"};
  position = discPositionOf(contents.tags);
  return read;
}

PlannedEdit planDisc(const DiscChange& disc, const AudioFile& file, Reader& reader) {
  DiscPosition old;
  Outcome problem;
  if (!disc.number || !disc.total) problem = readDiscPosition(file, reader, old);
  const std::int64_t number = disc.number.value_or(old.number);
  const std::int64_t total = disc.total.value_or(old.total);
  return {Edit::setDisc(number, total),
          "disc = " + std::to_string(number) + " of " + std::to_string(total), std::move(problem)};
}

NamedEdit discEdit(const DiscChange& disc) {
  return {field::kDisc,
          [disc](const AudioFile& file, Reader& reader) { return planDisc(disc, file, reader); }};
}

NamedEdit fieldEdit(const FieldAssignment& change) {
  return {change.key, [change](const AudioFile&, Reader&) {
            if (!change.value) {
              return PlannedEdit{Edit::clearField(change.key), "clear " + change.key};
            }
            return PlannedEdit{Edit::setField(change.key, *change.value),
                               change.key + " = " + textOf(*change.value)};
          }};
}

}  // namespace

std::vector<NamedEdit> fieldEdits(std::vector<FieldAssignment> fields) {
  // Some formats keep the number of tracks only beside a track number.
  std::stable_partition(fields.begin(), fields.end(), [](const FieldAssignment& field) {
    return field.key != field::kTotalNumberOfTracks;
  });
  std::vector<NamedEdit> edits;
  bool hasDisc = false;
  for (const FieldAssignment& field : fields) {
    if (!isDisc(field.key)) {
      edits.push_back(fieldEdit(field));
    } else if (!hasDisc) {
      edits.push_back(discEdit(discChangeOf(fields)));
      hasDisc = true;
    }
  }
  return edits;
}

}  // namespace tagwriter
