#include "cli/json_fields.h"

#include <algorithm>
#include <limits>
#include <sstream>

#include "cli/assignments.h"
#include "cli/field_keys.h"
#include "cli/json_line.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

using nlohmann::json;

constexpr char kFields[] = "fields";

bool isInt64(const json& value) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  return value.is_number_integer() &&
         (!value.is_number_unsigned() || value.get<std::uint64_t>() <= kMax);
}

std::optional<TrackValue> valueOf(field::Type type, const json& value) {
  switch (type) {
    case field::Type::kString:
      if (value.is_string()) return value.get<std::string>();
      break;
    case field::Type::kInt64:
      if (isInt64(value)) return value.get<std::int64_t>();
      break;
    case field::Type::kDouble:
      if (value.is_number()) return value.get<double>();
      break;
    case field::Type::kBool:
      if (value.is_boolean()) return value.get<bool>();
      break;
  }
  return std::nullopt;
}

const char* whatJsonTakes(field::Type type) {
  switch (type) {
    case field::Type::kString:
      return "a string";
    case field::Type::kInt64:
      return "an integer";
    case field::Type::kDouble:
      return "a number";
    case field::Type::kBool:
      return "true or false";
  }
  return "";
}

FieldAssignment assignmentOf(const std::string& key, const json& value) {
  const field::Field& field = fieldNamed(key);
  if (value.is_null()) return {field.key, std::nullopt};
  auto parsed = valueOf(field.type, value);
  if (parsed) return {field.key, std::move(parsed)};
  throw UsageError(key + ": must be " + whatJsonTakes(field.type) + ", or null to clear it, not " +
                   value.dump());
}

FileFields fileFieldsOf(const json& object) {
  if (!object.is_object()) throw UsageError("must be an object, not " + object.dump());
  FileFields file = {fileOfJson(object), {}, {}};
  const auto fields = object.find(kFields);
  if (fields == object.end()) {
    file.problem = "the input has no \"fields\" for it";
    return file;
  }
  if (!fields->is_object()) throw UsageError("\"fields\" must be an object");
  for (const auto& [key, value] : fields->items()) {
    file.fields.push_back(assignmentOf(key, value));
  }
  checkNoneTwice(file.fields);
  std::sort(file.fields.begin(), file.fields.end(),
            [](const auto& a, const auto& b) { return field::find(a.key) < field::find(b.key); });
  return file;
}

/// What the parser of JSON says, without the identifier in front.
std::string messageOf(const json::exception& error) {
  const std::string text = error.what();
  const std::size_t end = text.find("] ");
  return end == text.npos ? text : text.substr(end + 2);
}

}  // namespace

json jsonOfFields(const FieldListing& fields) {
  json object = json::object();
  for (const auto& field : fields) {
    std::visit([&](const auto& value) { object[field.first] = value; }, field.second);
  }
  return object;
}

std::vector<FileFields> parseJsonFields(const std::string& text, const std::string& name) {
  std::vector<FileFields> files;
  std::istringstream input(text);
  while (!(input >> std::ws).eof()) {
    const std::string place = name + ": object " + std::to_string(files.size() + 1) + ": ";
    try {
      json object;
      input >> object;
      files.push_back(fileFieldsOf(object));
    } catch (const json::exception& error) {
      throw UsageError(place + messageOf(error));
    } catch (const UsageError& error) {
      throw UsageError(place + error.what());
    }
  }
  if (files.empty()) throw UsageError(name + ": is empty; it must be as 'show --json' prints it");
  return files;
}

}  // namespace tagwriter
