#include "cli/arguments.h"

#include <CLI/CLI.hpp>

#include "cli/command_options.h"
#include "cli/help.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

/// The words of the command line in reverse order, as the parser expects them. It gives a special
/// meaning to some valid file names ("[2001]", "++", "%%"); these become paths.
std::vector<std::string> reversedWords(int argc, const char* const* argv) {
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) {
    std::string word = argv[i];
    const bool bracketed = word.starts_with('[') && word.ends_with(']');
    if (bracketed || word == "++" || word == "%%") word.insert(0, "./");
    words.push_back(std::move(word));
  }
  return words;
}

/// The parser's message, except for a wrong or missing command, which it does not name.
std::string messageFor(const CLI::App& app, const CLI::Error& error) {
  if (!app.get_subcommands().empty()) return error.what();
  const std::vector<std::string> unknown = app.remaining();
  if (unknown.empty()) return "a command is required";
  return unknown.front() + ": no such " + (unknown.front().starts_with('-') ? "option" : "command");
}

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
  CLI::App app(kDescription, "tagwriter");
  app.require_subcommand(1);
  app.footer(kHelpFooter);
  app.get_formatter()->column_width(28);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.set_version_flag("--version", "tagwriter " TAGWRITER_VERSION_STRING, "Print the version");
  app.failure_message([&app](const CLI::App* failed, const CLI::Error& error) {
    const auto given = app.get_subcommands();
    const std::string command = given.empty() ? "" : given.front()->get_name() + " ";
    return "tagwriter: " + messageFor(*failed, error) + "\nSee 'tagwriter " + command +
           "--help'.\n";
  });

  const std::unique_ptr<CommandOptions> commands[] = {setOptions(app), clearOptions(app),
                                                      coverOptions(app), showOptions(app)};

  try {
    app.parse(reversedWords(argc, argv));
    for (const auto& command : commands) {
      if (command->isGiven()) return command->arguments();
    }
  } catch (const CLI::ParseError& error) {
    return ExitNow{app.exit(error) == 0 ? kExitDone : kExitUsage};
  } catch (const UsageError& error) {
    app.exit(CLI::ValidationError(error.what()));
  }
  return ExitNow{kExitUsage};
}

}  // namespace tagwriter
