#include "reading/fields.h"

namespace tagwriter {

void addCoreFields(const TagLib::Tag& tag, StoredFields& fields) {
  for (const FieldRow& row : table::kFields) {
    if (row.core) addField(row, row.core->get(tag), fields);
  }
}

void addGenericFields(const TagLib::Tag& tag, StoredFields& fields) {
  addCoreFields(tag, fields);
  if (!tag.comment().isEmpty()) fields[field::kComment] = tag.comment().to8Bit(true);
  if (tag.track() != 0) fields[field::kTrackNumber] = std::int64_t{tag.track()};
}

void addField(const FieldRow& row, const std::optional<StoredField>& stored, StoredFields& fields) {
  if (!stored) return;
  fields[row.field.key] = stored->value;
  if (row.field.companion) fields[row.field.companion] = stored->total;
}

}  // namespace tagwriter
