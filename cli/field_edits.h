// The requests that a player sends for the fields a user names.
#pragma once

#include <string>
#include <vector>

#include "cli/edit_files.h"
#include "cli/field_value.h"

namespace tagwriter {

/// One request a field, in the order given. A number that travels with another (the disc and the
/// number of discs) goes into one request with it; the one that the user does not name keeps what
/// the file says.
std::vector<NamedEdit> setEdits(const std::vector<FieldAssignment>& fields);

/// The same for fields that go away.
std::vector<NamedEdit> clearEdits(const std::vector<std::string>& keys);

}  // namespace tagwriter
