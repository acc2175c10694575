// One edit of one field, through the same road that a request takes.
#pragma once

#include <cstdint>
#include <string>

#include "tagging/field_change.h"

namespace tagwriter::test {

/// The value of a text field; it borrows `text`. Null is absent.
FieldChange textValue(const char* text);
FieldChange numberValue(std::int64_t number, std::int64_t total = 0);
FieldChange realValue(double real);
FieldChange flagValue(bool flag);

/// Writes `field` into the file at `path`, on a descriptor of its own, which must be closed
/// afterwards. Returns what the service would answer.
bool writeField(const std::string& path, const char* field, const FieldChange& value);

}  // namespace tagwriter::test
