#include "cli/field_edits.h"

#include <algorithm>
#include <optional>

#include "protocol/fields.h"
#include "reading/tag_listing.h"

namespace tagwriter {
namespace {

/// A field with its new value, or with none when it goes away.
struct Change {
  std::string key;
  std::optional<ValueDictionary::Value> value;
};

/// The disc and the number of discs, each as far as the user names it.
struct DiscChange {
  std::optional<std::int64_t> number;
  std::optional<std::int64_t> total;
};

bool isDisc(const std::string& key) {
  return key == field::kDisc || key == field::kTotalNumberOfDiscs;
}

DiscChange discChangeOf(const std::vector<Change>& changes) {
  DiscChange disc;
  for (const Change& change : changes) {
    const std::int64_t number = change.value ? std::get<std::int64_t>(*change.value) : 0;
    if (change.key == field::kDisc) disc.number = number;
    if (change.key == field::kTotalNumberOfDiscs) disc.total = number;
  }
  return disc;
}

Edit discEdit(const DiscChange& disc) {
  return {field::kDisc, [disc](TagWriter& writer, const OpenFile& file) {
            const auto tags = readTags(file.fd, file.path);
            const DiscPosition old = tags ? discPositionOf(*tags) : DiscPosition();
            ValueDictionary track;
            track.set(field::kDisc, disc.number.value_or(old.number));
            track.set(field::kTotalNumberOfDiscs, disc.total.value_or(old.total));
            return writer.writeField(file.fd, file.path, field::kDisc, std::move(track));
          }};
}

Edit fieldEdit(const Change& change) {
  return {change.key, [change](TagWriter& writer, const OpenFile& file) {
            ValueDictionary track;
            if (change.value) track.set(change.key, *change.value);
            return writer.writeField(file.fd, file.path, change.key, std::move(track));
          }};
}

std::vector<Edit> editsOf(const std::vector<Change>& changes) {
  std::vector<Edit> edits;
  bool discIsIn = false;
  for (const Change& change : changes) {
    if (!isDisc(change.key)) {
      edits.push_back(fieldEdit(change));
    } else if (!discIsIn) {
      edits.push_back(discEdit(discChangeOf(changes)));
      discIsIn = true;
    }
  }
  return edits;
}

}  // namespace

std::vector<Edit> setEdits(const std::vector<FieldAssignment>& fields) {
  std::vector<Change> changes;
  for (const FieldAssignment& field : fields) changes.push_back({field.key, field.value});
  return editsOf(changes);
}

std::vector<Edit> clearEdits(const std::vector<std::string>& keys) {
  std::vector<Change> changes;
  for (const std::string& key : keys) changes.push_back({key, std::nullopt});
  return editsOf(changes);
}

}  // namespace tagwriter
