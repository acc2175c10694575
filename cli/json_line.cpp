#include "cli/json_line.h"

#include <iostream>

#include "cli/base64.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

constexpr char kFile[] = "file";
constexpr char kFileBase64[] = "fileBase64";
constexpr char kBase64[] = "Base64";

std::string textUnder(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end()) return {};
  if (found->is_string()) return found->get<std::string>();
  throw UsageError("\"" + std::string(key) + "\" must be a string, not " + jsonLine(*found));
}

}  // namespace

std::string jsonLine(const nlohmann::json& object) {
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void printJson(const nlohmann::json& object) {
  std::cout << jsonLine(object) << std::endl;
}

void setPath(nlohmann::json& object, const std::string& key, const std::string& path) {
  object[key] = path;
  if (nlohmann::json::parse(jsonLine(path)) != path) object[key + kBase64] = toBase64(path);
}

nlohmann::json jsonOfFile(const std::string& path) {
  nlohmann::json object;
  setPath(object, kFile, path);
  return object;
}

std::string fileOfJson(const nlohmann::json& object) {
  const std::string encoded = textUnder(object, kFileBase64);
  if (encoded.empty()) return textUnder(object, kFile);
  const auto path = fromBase64(encoded);
  if (!path) throw UsageError("\"" + std::string(kFileBase64) + "\" is not base64: " + encoded);
  return *path;
}

}  // namespace tagwriter
