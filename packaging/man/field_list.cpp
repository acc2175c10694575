// Prints a manual page, with its line "@FIELDS@" replaced by the list of fields.

#include <fstream>
#include <iostream>
#include <string>

#include "cli/field_keys.h"
#include "cli/field_value.h"
#include "protocol/fields.h"

namespace {

using namespace tagwriter;

void printFields() {
  std::cout << ".Bl -column \"totalNumberOfTracks\" \"a decimal number\" "
               "\"aliases\" -compact\n";
  for (const field::Field& field : field::kAll) {
    std::cout << ".It Cm " << field.key << " Ta " << whatFieldTakes(field) << " Ta "
              << aliasesOf(field.key) << '\n';
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
