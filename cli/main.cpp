// tagwriter: the command line, a complete player's side.

#include <variant>

#include "cli/arguments.h"
#include "cli/commands.h"

int main(int argc, char** argv) {
  using namespace tagwriter;
  return std::visit([](const auto& arguments) { return run(arguments); },
                    parseArguments(argc, argv));
}
