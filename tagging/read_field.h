// Reads a field from where the field table stores it.
#pragma once

#include <optional>
#include <string_view>

#include "base/unique_fd.h"
#include "tagging/field_change.h"

namespace tagwriter {

/// Reads the field `key` from the file `fd`, which is always closed. `path` (UTF-8, never opened,
/// may be null) determines the format. Returns nullopt if the field is not in the file, the format
/// does not support it, or the file cannot be read. A rating has the precision of its family's
/// scale. For a field with two names, reads the first.
std::optional<StoredField> readStoredField(UniqueFd fd, const char* path, std::string_view key);

}  // namespace tagwriter
