#include "tagging/field_table.h"

namespace tagwriter {

const FieldRow* findFieldRow(std::string_view key) {
  for (const FieldRow& row : table::kFields) {
    if (key == row.field.key) return &row;
  }
  return nullptr;
}

}  // namespace tagwriter
