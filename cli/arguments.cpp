#include "cli/arguments.h"

#include <CLI/CLI.hpp>

#include <map>

#include "cli/closest_word.h"
#include "cli/command_options.h"
#include "cli/field_keys.h"
#include "cli/help.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

constexpr char kCommands[] = "; the commands are set, clear, cover, copy and show";

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

/// The command that `word` may be meant for: what others call it, or the closest one.
std::string commandFor(const CLI::App& app, const std::string& word) {
  static const std::map<std::string, std::string> kOtherWords = {
      {"get", "show"},    {"list", "show"},    {"read", "show"}, {"print", "show"},
      {"write", "set"},   {"tag", "set"},      {"edit", "set"},  {"remove", "clear"},
      {"rm", "clear"},    {"delete", "clear"}, {"art", "cover"}, {"image", "cover"},
      {"unset", "clear"}, {"picture", "cover"}};
  const auto found = kOtherWords.find(word);
  if (found != kOtherWords.end()) return found->second;
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return closestWord(word, names);
}

std::string optionFor(const CLI::App& app, const std::string& word) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return closestWord(word, names);
}

std::string unknownText(const CLI::App& app, const std::string& word) {
  const auto given = app.get_subcommands();
  const bool beforeCommand = given.empty() || app.remaining_size() > 0;
  if (beforeCommand && !word.starts_with('-')) {
    const std::string meant = didYouMean(commandFor(app, word));
    return word + ": no such command" + (meant.empty() ? std::string(kCommands) : meant);
  }
  if (beforeCommand && !given.empty()) {
    return word + ": options come after the command, " + given.front()->get_name();
  }
  const CLI::App& command = given.empty() ? app : *given.front();
  const std::string name = word.substr(0, word.find('='));
  const std::string text = name + ": no such option";
  const field::Field* field = command.get_option_no_throw("-t") ? findField(name) : nullptr;
  if (field) return text + didYouMean("-t " + std::string(field->key));
  const std::string meant = didYouMean(optionFor(command, name));
  return meant.empty() && given.empty() ? text + " before a command" + kCommands : text + meant;
}

/// The parser's message; or our own for a missing or unknown command and an unknown option.
std::string messageFor(const CLI::App& app, const CLI::Error& error) {
  const std::vector<std::string> unknown = app.remaining(true);
  const bool isUnknown = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
  if (!isUnknown && !app.get_subcommands().empty()) return error.what();
  return unknown.empty() ? "a command is required" + std::string(kCommands)
                         : unknownText(app, unknown.front());
}

/// Leaves out what an option without a value stands for.
class HelpFormatter final : public CLI::Formatter {
 public:
  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    const std::string name = CLI::Formatter::make_option_name(option, isPositional);
    return name.substr(0, name.find('{'));
  }
};

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
  CLI::App app(kDescription, "tagwriter");
  app.formatter(std::make_shared<HelpFormatter>());
  app.require_subcommand(1);
  app.footer(kHelpFooter);
  app.get_formatter()->column_width(28);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.set_version_flag("--version", "tagwriter " TAGWRITER_VERSION_STRING, "Print the version");
  app.failure_message([&app](const CLI::App*, const CLI::Error& error) {
    const auto given = app.get_subcommands();
    const std::string command = given.empty() ? "" : given.front()->get_name() + " ";
    return "tagwriter: " + messageFor(app, error) + "\nSee 'tagwriter " + command + "--help'.\n";
  });

  const std::unique_ptr<CommandOptions> commands[] = {
      setOptions(app), clearOptions(app), coverOptions(app), copyOptions(app), showOptions(app)};

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
