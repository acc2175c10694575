// Prints a manual page, with the list of fields in the place of its line "@FIELDS@".

#include <fstream>
#include <iostream>
#include <string>

#include "protocol/fields.h"

namespace {

using namespace tagwriter;

const char* nameOf(field::Type type) {
  switch (type) {
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

void printFields() {
  std::cout << ".Bl -column \"totalNumberOfTracks\" \"a decimal number\" -compact\n";
  for (const field::Field& field : field::kAll) {
    std::cout << ".It Cm " << field.key << " Ta " << nameOf(field.type) << '\n';
  }
  std::cout << ".El\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::ifstream page(argv[1]);
  if (!page) return 1;
  for (std::string line; std::getline(page, line);) {
    if (line == "@FIELDS@") {
      printFields();
    } else {
      std::cout << line << '\n';
    }
  }
  std::cout.flush();
  return std::cout ? 0 : 1;
}
