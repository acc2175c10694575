#include "cli/field_value.h"

#include <charconv>
#include <clocale>
#include <cwchar>

namespace tagwriter {
namespace {

using Value = TrackValue;

/// Whether the C library's own decoder takes all of `text` as UTF-8.
bool isUtf8(const std::string& text) {
  static const locale_t kUtf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (!kUtf8) return true;  // cannot check here; the service rejects it
  const locale_t previous = ::uselocale(kUtf8);
  const char* position = text.c_str();
  std::mbstate_t state{};
  const bool valid = std::mbsrtowcs(nullptr, &position, 0, &state) != static_cast<std::size_t>(-1);
  ::uselocale(previous);
  return valid;
}

template <typename Number>
std::optional<Value> parseNumber(const std::string& text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<Value> parseFlag(const std::string& text) {
  for (const char* yes : {"yes", "true", "1", "on"}) {
    if (text == yes) return true;
  }
  for (const char* no : {"no", "false", "0", "off"}) {
    if (text == no) return false;
  }
  return std::nullopt;
}

std::optional<Value> parseValue(field::Type type, const std::string& text) {
  switch (type) {
    case field::Type::kString:
      return isUtf8(text) ? std::optional<Value>(text) : std::nullopt;
    case field::Type::kInt64:
      return parseNumber<std::int64_t>(text);
    case field::Type::kDouble:
      return parseNumber<double>(text);
    case field::Type::kBool:
      return parseFlag(text);
  }
  return std::nullopt;
}

}  // namespace

std::optional<FieldAssignment> parseAssignment(const std::string& text, std::string& error) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) {
    error = text + ": expected key=value";
    return std::nullopt;
  }
  const std::string key = text.substr(0, equals);
  const field::Field* field = field::find(key);
  if (!field) {
    error = unknownFieldText(key);
    return std::nullopt;
  }
  const std::optional<Value> value = parseValue(field->type, text.substr(equals + 1));
  if (!value) {
    error = key + ": must be " + whatFieldTakes(*field);
    return std::nullopt;
  }
  return FieldAssignment{key, *value};
}

std::string whatFieldTakes(const field::Field& field) {
  switch (field.type) {
    case field::Type::kString:
      return "text in UTF-8";
    case field::Type::kInt64:
      return "a whole number";
    case field::Type::kDouble:
      return "a decimal number";
    case field::Type::kBool:
      return "yes or no";
  }
  return "";
}

std::string unknownFieldText(const std::string& key) {
  std::string text = key + ": no such field; the fields are";
  const char* separator = " ";
  for (const field::Field& field : field::kAll) {
    text += separator + std::string(field.key);
    separator = ", ";
  }
  return text;
}

}  // namespace tagwriter
