#include "cli/field_value.h"

#include <charconv>
#include <clocale>
#include <cwchar>
#include <sstream>

#include "cli/usage_error.h"

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

/// A value as the user would type it.
struct ValueText {
  std::string operator()(const std::string& text) const { return text; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(double number) const {
    std::ostringstream text;
    text << number;
    return text.str();
  }
  std::string operator()(bool flag) const { return flag ? "yes" : "no"; }
};

}  // namespace

FieldAssignment parseAssignment(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) throw UsageError(text + ": expected key=value");
  const std::string key = text.substr(0, equals);
  const field::Field* field = field::find(key);
  if (!field) throw UsageError(unknownFieldText(key));
  const std::optional<Value> value = parseValue(field->type, text.substr(equals + 1));
  if (!value) throw UsageError(key + ": must be " + whatFieldTakes(*field));
  return {key, value};
}

std::string textOf(const TrackValue& value) {
  return std::visit(ValueText(), value);
}

void checkKeys(const std::vector<std::string>& keys) {
  for (const std::string& key : keys) {
    if (!field::find(key)) throw UsageError(unknownFieldText(key));
  }
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
