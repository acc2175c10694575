#include "tagging/field_table.h"

#include <cstring>

namespace tagwriter {

const FieldRow* findFieldRow(const char* key) {
  if (!key) return nullptr;
  for (const FieldRow& row : table::kFields) {
    if (std::strcmp(key, row.field.key) == 0) return &row;
  }
  return nullptr;
}

}  // namespace tagwriter
