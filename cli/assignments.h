// The arguments KEY=VALUE.
#pragma once

#include <string>
#include <vector>

#include "cli/field_value.h"

namespace tagwriter {

/// Parses "key=value" arguments. The value is everything after the first "=":
/// - "@file" stands for the text in a file, "@-" for standard input, "@@" for a leading "@"; a byte
///   order mark and a newline at the end are not part of the text.
/// - "number/total" of a track or disc number sets both fields.
/// A key may be an alias. Throws UsageError for what it does not understand, and for a field that
/// is given twice.
std::vector<FieldAssignment> parseAssignments(const std::vector<std::string>& arguments);

/// Throws UsageError if a field is in `fields` twice.
void checkNoneTwice(const std::vector<FieldAssignment>& fields);

}  // namespace tagwriter
