// One field, read back from where the service puts it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace tagwriter {

/// A field's value in the field's own type.
using ReadValue = std::variant<std::string, std::int64_t, double, bool>;

/// Reads the field `key` of the file behind `fd`, which stays the caller's (its offset moves);
/// `path` picks the format and is not opened. Returns nothing when the field is not in the file,
/// the format does not take it, or the file cannot be read. A rating comes back as finely as its
/// family keeps it; of a field under two names the first counts.
std::optional<ReadValue> readFieldValue(int fd, const std::string& path, const std::string& key);

}  // namespace tagwriter
