// The values of fields: new ones for a file, and those found in one.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace tagwriter {

/// A field's new value. The field's type determines which member is set; the others keep their
/// defaults.
struct FieldChange {
  const char* text = nullptr;  ///< UTF-8, borrowed; null when absent
  std::int64_t number = 0;
  std::int64_t total = 0;  ///< the value of the field's companion, if it has one
  double real = 0.0;
  bool flag = false;
  /// The file's path: picks the format, names the stream, is logged; never opened. Borrowed; may be
  /// null.
  const char* path = nullptr;
};

/// A field's value in a file, in the type of the field.
struct StoredField {
  std::variant<std::string, std::int64_t, double, bool> value;
  std::int64_t total = 0;  ///< the value of the field's companion, if it has one
};

}  // namespace tagwriter
