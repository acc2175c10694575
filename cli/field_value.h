// A field's value as a user types it.
#pragma once

#include <optional>
#include <string>

#include "client/tag_writer.h"
#include "protocol/fields.h"

namespace tagwriter {

/// A field with its new value, or nullopt to clear it.
struct FieldAssignment {
  std::string key;
  std::optional<TrackValue> value;
};

/// Parses `value` of `field` as the user types it: UTF-8 text, a whole number, a decimal number or
/// yes/no. Throws UsageError, which names the key and its type.
TrackValue parseValue(const field::Field& field, const std::string& value);

/// Returns a value as the user would type it.
std::string textOf(const TrackValue& value);

/// Returns the type of the field in a few words.
std::string whatFieldTakes(const field::Field& field);

}  // namespace tagwriter
