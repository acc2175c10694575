// Reads the fields from where the field table stores them.
#pragma once

#include <map>
#include <string>

#include "tagging/field_table.h"

namespace tagwriter {

/// The fields that are in a file, under their keys and in their types. A field whose companion is
/// stored with it has it beside it. A rating has the precision of its family's scale; of a field
/// with two names, this is the first.
using StoredFields = std::map<std::string, decltype(StoredField::value), std::less<>>;

/// Adds the core fields in `tag`, which is the generic tag of a file.
void addCoreFields(const TagLib::Tag& tag, StoredFields& fields);

/// Adds the core fields, the comment and the track number in `tag`, all that a generic tag has.
void addGenericFields(const TagLib::Tag& tag, StoredFields& fields);

/// Adds the field of `row`, if it is stored.
void addField(const FieldRow& row, const std::optional<StoredField>& stored, StoredFields& fields);

/// Adds all other fields in `tag`, which is the file's own tag.
template <typename Tag>
void addOtherFields(Tag& tag, StoredFields& fields) {
  for (const FieldRow& row : table::kFields) {
    if (!row.core) addField(row, row.of(&tag).read(tag), fields);
  }
}

}  // namespace tagwriter
