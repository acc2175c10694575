// Reading a field back from where the field table keeps it.
#pragma once

#include <optional>
#include <string_view>

#include "base/unique_fd.h"
#include "tagging/field_change.h"

namespace tagwriter {

/// Reads the field `key` from the file behind `fd`, which is closed on every path; `path` (UTF-8,
/// never opened, may be null) picks the format. Returns nothing when the field is not in the file,
/// the format does not take it, or the file cannot be read. A rating comes back as finely as its
/// family keeps it; of a field under two names the first counts.
std::optional<StoredField> readStoredField(UniqueFd fd, const char* path, std::string_view key);

}  // namespace tagwriter
