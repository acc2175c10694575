#include "tagging/read_field.h"

#include <utility>

#include "io/audio_file.h"
#include "io/own_tag.h"
#include "tagging/field_table.h"

namespace tagwriter {
namespace {

/// Reads the row's cell for the file's own tag.
class CellRead {
 public:
  CellRead(const FieldRow& row, std::optional<StoredField>& stored) : row_(row), stored_(stored) {}

  template <typename File>
  bool operator()(File& file) const {
    auto* tag = ownTag(file, IfMissing::kNull);
    if (tag) stored_ = row_.of(tag).read(*tag);
    return stored_.has_value();
  }

 private:
  const FieldRow& row_;
  std::optional<StoredField>& stored_;
};

std::optional<StoredField> readRow(const FieldRow& row, UniqueFd fd, const char* path) {
  if (row.core) return readCoreField(*row.core, std::move(fd), path);
  std::optional<StoredField> stored;
  withAudioFileToRead(std::move(fd), path, CellRead(row, stored));
  return stored;
}

/// The row of the field `key`, or of the field whose companion it is.
const FieldRow* findRowWith(std::string_view key) {
  for (const FieldRow& row : table::kFields) {
    if (key == row.field.key || (row.field.companion && key == row.field.companion)) return &row;
  }
  return nullptr;
}

}  // namespace

std::optional<StoredField> readStoredField(UniqueFd fd, const char* path, std::string_view key) {
  const FieldRow* row = findRowWith(key);
  if (!row) return std::nullopt;
  const auto stored = readRow(*row, std::move(fd), path);
  return stored && key != row->field.key ? StoredField{stored->total} : stored;
}

}  // namespace tagwriter
