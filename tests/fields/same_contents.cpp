#include <cstdio>
#include <string>

#include "tests/fields/tag_contents.h"

namespace tagwriter::test {
namespace {

/// `text` as a reader can take it in.
std::string quoted(const std::string& text) {
  constexpr std::size_t kMost = 160;
  std::string result = "\"";
  for (const unsigned char c : text.substr(0, kMost)) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, c < ' ' || c > '~' ? "\\x%02x" : "%c", c);
    result += escaped;
  }
  result += "\"";
  if (text.size() > kMost) result.append("... ").append(std::to_string(text.size())) += " bytes";
  return result;
}

std::string quoted(const TagContents& contents, const std::string& name) {
  const auto found = contents.find(name);
  if (found == contents.end()) return " is not there";
  std::string result;
  for (const std::string& value : found->second) result.append(" ").append(quoted(value));
  return result;
}

}  // namespace

testing::AssertionResult sameContents(const TagContents& actual, const TagContents& expected) {
  testing::AssertionResult differences = testing::AssertionFailure();
  TagContents all = actual;
  all.insert(expected.begin(), expected.end());
  for (const auto& [name, values] : all) {
    const auto a = actual.find(name);
    const auto e = expected.find(name);
    if (a != actual.end() && e != expected.end() && a->second == e->second) continue;
    differences << "\n"
                << quoted(name) << ":" << quoted(actual, name)
                << "\n    expected:" << quoted(expected, name);
  }
  return actual == expected ? testing::AssertionSuccess() : differences;
}

}  // namespace tagwriter::test
