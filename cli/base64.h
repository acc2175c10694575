// Base64 (RFC 4648, section 4), for file names that are not UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tagwriter {

/// `bytes` in base64, padded.
std::string toBase64(std::string_view bytes);

/// The bytes that `text` stands for; nullopt if it is not base64 with its padding.
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace tagwriter
