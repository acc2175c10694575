// Parses a field's value as a user types it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/tag_writer.h"
#include "protocol/fields.h"

namespace tagwriter {

/// A field with its new value, or nullopt to clear it.
struct FieldAssignment {
  std::string key;
  std::optional<TrackValue> value;
};

/// Parses "key=value". The value is everything after the first "=", in the type of the field: UTF-8
/// text, a whole number, a decimal number or yes/no. Throws UsageError, which names the key and its
/// type.
FieldAssignment parseAssignment(const std::string& text);

/// Returns a value as the user would type it.
std::string textOf(const TrackValue& value);

/// Throws UsageError if one of `keys` is unknown.
void checkKeys(const std::vector<std::string>& keys);

/// Returns the type of the field in a few words.
std::string whatFieldTakes(const field::Field& field);

/// Returns the message for an unknown key, which lists all keys.
std::string unknownFieldText(const std::string& key);

}  // namespace tagwriter
