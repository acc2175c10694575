// JSON output, one object per line.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tagwriter {

/// `object` as one line, without a newline. Invalid UTF-8 becomes U+FFFD.
std::string jsonLine(const nlohmann::json& object);
/// Prints it.
void printJson(const nlohmann::json& object);

/// Sets `key` to a path, and if it is not UTF-8, also `key` with "Base64" to the path in base64.
void setPath(nlohmann::json& object, const std::string& key, const std::string& path);

/// An object that names a file under "file" and, if needed, "fileBase64".
nlohmann::json jsonOfFile(const std::string& path);

/// The path of the file that `object` names; empty if it names none. Throws UsageError if what
/// names it is not a string or not base64.
std::string fileOfJson(const nlohmann::json& object);

}  // namespace tagwriter
