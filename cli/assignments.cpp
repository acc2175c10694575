#include "cli/assignments.h"

#include <set>

#include "cli/field_keys.h"
#include "cli/input_file.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

constexpr char kFileMark = '@';

std::string withoutMarkAndNewline(std::string text) {
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  if (text.ends_with('\n')) text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  return text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text;
}

/// Reads the text that "@path" stands for.
std::string readText(const std::string& argument, const std::string& path) {
  if (path.empty()) throw UsageError(argument + ": a file is required after @ (@@ stands for @)");
  try {
    return withoutMarkAndNewline(readInput(path));
  } catch (const UsageError& error) {
    throw UsageError(argument + ": " + error.what() + " (@@ stands for a leading @)");
  }
}

/// Parses arguments in order.
class AssignmentParser {
 public:
  void parse(const std::string& argument) {
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos) {
      throw UsageError(argument + ": expected KEY=VALUE, such as title=Morgen");
    }
    const field::Field& field = fieldNamed(argument.substr(0, equals));
    add(field, valueIn(argument, argument.substr(equals + 1)));
  }
  std::vector<FieldAssignment> take() { return std::move(fields_); }

 private:
  std::string valueIn(const std::string& argument, const std::string& value) {
    if (!value.starts_with(kFileMark)) return value;
    std::string rest = value.substr(1);
    if (rest.starts_with(kFileMark)) return rest;
    if (rest == kStandardInput && hasReadInput_) {
      throw UsageError(argument + ": standard input is already the value of another field");
    }
    hasReadInput_ = hasReadInput_ || rest == kStandardInput;
    return readText(argument, rest);
  }

  void add(const field::Field& field, const std::string& value) {
    const field::Field* total = totalOf(field);
    const std::size_t slash = total ? value.find('/') : std::string::npos;
    fields_.push_back({field.key, parseValue(field, value.substr(0, slash))});
    if (slash == std::string::npos) return;
    fields_.push_back({total->key, parseValue(*total, value.substr(slash + 1))});
  }

  std::vector<FieldAssignment> fields_;
  bool hasReadInput_ = false;
};

}  // namespace

std::vector<FieldAssignment> parseAssignments(const std::vector<std::string>& arguments) {
  AssignmentParser parser;
  for (const std::string& argument : arguments) parser.parse(argument);
  std::vector<FieldAssignment> fields = parser.take();
  checkNoneTwice(fields);
  return fields;
}

void checkNoneTwice(const std::vector<FieldAssignment>& fields) {
  std::set<std::string> keys;
  for (const FieldAssignment& field : fields) {
    if (keys.insert(field.key).second) continue;
    throw UsageError(field.key +
                     ": is given twice, but only one value of a field can be kept; put all of them "
                     "into one text, such as 'A; B'");
  }
}

}  // namespace tagwriter
