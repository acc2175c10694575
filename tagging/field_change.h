// The values of fields: on their way into a file, and as they are found in one.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace tagwriter {

/// A field's new value. The field's type says which member counts; the others keep their defaults.
struct FieldChange {
  const char* text = nullptr;  ///< UTF-8, borrowed; null when absent
  std::int64_t number = 0;
  std::int64_t total = 0;  ///< what travels with the number, where the field has a companion
  double real = 0.0;
  bool flag = false;
  /// The file's path: picks the format, names the stream, is logged; never opened. Borrowed; may be
  /// null.
  const char* path = nullptr;
};

/// A field's value in a file, in the field's own type.
struct StoredField {
  std::variant<std::string, std::int64_t, double, bool> value;
  std::int64_t total = 0;  ///< what is kept with a number, where the field has a companion
};

}  // namespace tagwriter
