// tagwriter: the command line, a complete player's side.

#include "cli/arguments.h"
#include "cli/commands.h"

int main(int argc, char** argv) {
  using namespace tagwriter;
  const Arguments arguments = parseArguments(argc, argv);
  if (const auto* set = std::get_if<SetArguments>(&arguments)) return runSet(*set);
  if (const auto* show = std::get_if<ShowArguments>(&arguments)) return runShow(*show);
  return std::get<ExitNow>(arguments).code;
}
