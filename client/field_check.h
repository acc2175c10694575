// Whether a file can hold the value of an edit, as far as its name tells.
#pragma once

#include <cstdint>

#include "client/outcome.h"
#include "protocol/file_type.h"
#include "protocol/value_dictionary.h"

namespace tagwriter {

/// Whether files of `type` can hold what `request` writes. If not:
/// - kFieldNotKept: the format does not store the field.
/// - kOutOfRange: the number or the rating is outside of what the format can hold.
/// - kBlockTooLarge: the text or the cover alone is too large for a block of the format.
Outcome checkField(TagFileType type, const ValueDictionary& request);

/// The longest metadata block of a FLAC file, in bytes (RFC 9639, 8.1: a 24-bit length).
inline constexpr std::uint64_t kMaxFLACBlock = (1 << 24) - 1;

}  // namespace tagwriter
