// JSON output, one object per line.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tagwriter {

/// Prints `object` on one line. Invalid UTF-8 becomes U+FFFD.
void printJson(const nlohmann::json& object);

/// An object that names a file: its path is under "file"; and, if it is not UTF-8, also in base64
/// under "fileBase64".
nlohmann::json jsonOfFile(const std::string& path);

/// The path of the file that `object` names; empty if it names none. Throws UsageError if what
/// names it is not a string or not base64.
std::string fileOfJson(const nlohmann::json& object);

}  // namespace tagwriter
