#include "cli/help.h"

#include "cli/field_keys.h"
#include "cli/field_value.h"
#include "protocol/fields.h"

namespace tagwriter {

std::string fieldsHelp() {
  constexpr std::size_t kColumn = 22;
  std::string text = "Fields:";
  for (const field::Field& field : field::kAll) {
    std::string key = field.key;
    key.resize(kColumn, ' ');
    text.append("\n  ").append(key).append(whatFieldTakes(field));
    const std::string aliases = aliasesOf(field.key);
    if (!aliases.empty()) text.append("; also: ").append(aliases);
  }
  return text + "\nKeys may be typed in upper or lower case.";
}

}  // namespace tagwriter
