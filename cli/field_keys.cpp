#include "cli/field_keys.h"

#include <cctype>

#include "cli/closest_word.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

std::string simplified(std::string_view name) {
  std::string simple;
  for (const char c : name) {
    if (c == ' ' || c == '_' || c == '-') continue;
    simple += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return simple;
}

std::string unknownFieldText(std::string_view name) {
  std::vector<std::string> known;
  std::string keys;
  for (const field::Field& field : field::kAll) {
    known.emplace_back(field.key);
    keys += (keys.empty() ? " " : ", ") + known.back();
  }
  for (const FieldAlias& alias : kFieldAliases) known.emplace_back(alias.name);
  const std::string text = std::string(name) + ": no such field";
  const std::string closest = closestWord(std::string(name), known);
  if (closest.empty()) return text + "; the fields are" + keys;
  return text + didYouMean(findField(closest)->key);
}

}  // namespace

const field::Field* findField(std::string_view name) {
  const std::string simple = simplified(name);
  for (const field::Field& field : field::kAll) {
    if (simplified(field.key) == simple) return &field;
  }
  for (const FieldAlias& alias : kFieldAliases) {
    if (alias.name == simple) return field::find(alias.key);
  }
  return nullptr;
}

const field::Field& fieldNamed(std::string_view name) {
  const field::Field* field = findField(name);
  if (!field) throw UsageError(unknownFieldText(name));
  return *field;
}

std::vector<std::string> keysOf(const std::vector<std::string>& names) {
  std::vector<std::string> keys;
  keys.reserve(names.size());
  for (const std::string& name : names) keys.emplace_back(fieldNamed(name).key);
  return keys;
}

const field::Field* totalOf(const field::Field& field) {
  const std::string_view key = field.key;
  if (key == field::kTrackNumber) return field::find(field::kTotalNumberOfTracks);
  return key == field::kDisc ? field::find(field::kTotalNumberOfDiscs) : nullptr;
}

std::string aliasesOf(std::string_view key) {
  std::string names;
  for (const FieldAlias& alias : kFieldAliases) {
    if (key == alias.key) names += (names.empty() ? "" : ", ") + std::string(alias.name);
  }
  return names;
}

}  // namespace tagwriter
