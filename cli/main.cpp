// The tagwriter command.

#include <iostream>
#include <variant>

#include "cli/arguments.h"
#include "cli/commands.h"

int main(int argc, char** argv) {
  using namespace tagwriter;
  const int code =
      std::visit([](const auto& arguments) { return run(arguments); }, parseArguments(argc, argv));
  if (std::cout.flush()) return code;
  std::cerr << "tagwriter: cannot write to standard output\n";
  return code == kExitDone ? kExitFailed : code;
}
