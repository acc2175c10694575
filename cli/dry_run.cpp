#include "cli/dry_run.h"

#include <map>
#include <numeric>
#include <optional>

#include "cli/field_value.h"
#include "cli/file_contents.h"
#include "protocol/fields.h"

namespace tagwriter {
namespace {

std::optional<std::string> oldDisc(const FieldListing& fields) {
  const TrackValue* number = findValue(fields, field::kDisc);
  const TrackValue* total = findValue(fields, field::kTotalNumberOfDiscs);
  if (!number && !total) return std::nullopt;
  const std::string start = number ? textOf(*number) : "0";
  return total ? start + " of " + textOf(*total) : start;
}

std::optional<std::string> oldPictures(const std::vector<PictureInfo>& pictures) {
  if (pictures.empty()) return std::nullopt;
  const std::size_t count = pictures.size();
  return count == 1 ? "1 picture" : std::to_string(count) + " pictures";
}

/// What is in the file where the edit called `name` writes; nullopt if there is nothing.
std::optional<std::string> oldValue(const std::string& name, const FileContents& contents) {
  if (!field::find(name)) return oldPictures(contents.pictures);
  if (name == field::kDisc) return oldDisc(contents.fields);
  const TrackValue* value = findValue(contents.fields, name);
  return value ? std::optional(textOf(*value)) : std::nullopt;
}

/// The edits that would fail, by their index. In place, the others are made; in safe mode, the
/// first failure keeps them all from being made.
std::map<std::size_t, Outcome> findFailures(const std::string& path, const std::vector<Edit>& edits,
                                            const WriteOptions& options, TagWriter& writer) {
  std::map<std::size_t, Outcome> failures;
  std::vector<std::size_t> left(edits.size());
  std::iota(left.begin(), left.end(), 0);
  for (;;) {
    std::vector<Edit> rest;
    rest.reserve(left.size());
    for (const std::size_t i : left) rest.push_back(edits[i]);
    const Outcome outcome = writer.check(path, rest, options);
    if (outcome) return failures;
    failures.emplace(left[outcome.edit()], outcome);
    if (options.safe || endsFile(outcome.status())) return failures;
    left.erase(left.begin() + static_cast<std::ptrdiff_t>(outcome.edit()));
  }
}

}  // namespace

void dryRun(const std::string& path, const std::vector<NamedEdit>& edits,
            const WriteOptions& options, TagWriter& writer, Reader& reader, Report& report) {
  std::vector<Edit> changes;
  std::vector<std::string> descriptions;
  for (const NamedEdit& edit : edits) {
    const PlannedEdit planned = edit.plan(path, reader);
    if (!planned.problem) return report.failed(path, planned.problem.message());
    changes.push_back(planned.edit);
    descriptions.push_back(planned.description);
  }
  const auto failures = findFailures(path, changes, options, writer);
  for (const auto& [index, outcome] : failures) {
    if (endsFile(outcome.status())) return report.failed(path, outcome.message());
  }
  OpenedFile file;
  // A file that cannot be read as audio has no old values.
  (void)readFile(path, reader, file);
  for (std::size_t i = 0; i < edits.size(); ++i) {
    const auto failure = failures.find(i);
    if (failure != failures.end()) {
      report.done(path, edits[i].name, failure->second);
    } else if (failures.empty() || !options.safe) {
      report.planned(path, edits[i].name, descriptions[i], oldValue(edits[i].name, file.contents));
    }
  }
}

}  // namespace tagwriter
