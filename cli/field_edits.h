// The edits for the fields that a user names.
#pragma once

#include <string>
#include <vector>

#include "cli/edit_files.h"
#include "cli/field_value.h"

namespace tagwriter {

/// Returns one edit per field, in the given order, but the number of tracks last. The disc number
/// and the number of discs share an edit; if only one of them is given, the other keeps its value
/// in the file.
std::vector<NamedEdit> fieldEdits(std::vector<FieldAssignment> fields);

}  // namespace tagwriter
