#include "cli/field_value.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cwchar>
#include <sstream>

#include "cli/field_keys.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

using Value = TrackValue;

/// Whether the C library's own decoder takes all of `text` as UTF-8, up to a zero byte.
bool isUtf8(const std::string& text) {
  const auto isAscii = [](unsigned char c) { return c < 0x80; };
  if (std::all_of(text.begin(), text.end(), isAscii)) return true;  // needs no locale
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

std::optional<Value> parseAs(field::Type type, const std::string& text) {
  switch (type) {
    case field::Type::kString:
      if (text.find('\0') != std::string::npos || !isUtf8(text)) return std::nullopt;
      return text;
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

TrackValue parseValue(const field::Field& field, const std::string& value) {
  const std::optional<Value> parsed = parseAs(field.type, value);
  if (parsed) return *parsed;
  std::string text = std::string(field.key) + ": must be " + whatFieldTakes(field);
  if (totalOf(field)) text += ", or number/total";
  if (field.type == field::Type::kString) {
    throw UsageError(text + ", without zero bytes (iconv converts other encodings)");
  }
  throw UsageError(text + ", not '" + value + "'");
}

std::string textOf(const TrackValue& value) {
  return std::visit(ValueText(), value);
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

}  // namespace tagwriter
