// From a value typed at a terminal to a value of the field's type.
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

/// Reads "key=value". The value is everything behind the first "=", taken as UTF-8 text, a whole
/// number, a decimal or yes/no, as the field wants it. Returns nothing when it does not parse, with
/// a text in `error` that names the key and what it takes.
std::optional<FieldAssignment> parseAssignment(const std::string& text, std::string& error);

/// What kind of value the field takes, in a few words.
std::string whatFieldTakes(const field::Field& field);

/// What to say about a key that is no field's; names the fields.
std::string unknownFieldText(const std::string& key);

}  // namespace tagwriter
