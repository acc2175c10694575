// Parses a field's value as a user types it.
#pragma once

#include <optional>
#include <string>

#include "client/tag_writer.h"
#include "protocol/fields.h"

namespace tagwriter {

/// A field with its new value.
struct FieldAssignment {
  std::string key;
  TrackValue value;
};

/// Parses "key=value". The value is everything after the first "=", in the type of the field: UTF-8
/// text, a whole number, a decimal number or yes/no. On failure returns nullopt and sets `error` to
/// a message that names the key and its type.
std::optional<FieldAssignment> parseAssignment(const std::string& text, std::string& error);

/// Returns the type of the field in a few words.
std::string whatFieldTakes(const field::Field& field);

/// Returns the message for an unknown key, which lists all keys.
std::string unknownFieldText(const std::string& key);

}  // namespace tagwriter
