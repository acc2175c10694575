#include "cli/arguments.h"

#include <CLI/CLI.hpp>

namespace tagwriter {
namespace {

void addFiles(CLI::App* command, std::vector<std::string>& files) {
  command->add_option("FILE", files, "Audio files")->required();
}

/// Parses every "key=value"; the first that is wrong is a usage error.
std::vector<FieldAssignment> parseAssignments(const std::vector<std::string>& texts) {
  std::vector<FieldAssignment> fields;
  for (const std::string& text : texts) {
    std::string error;
    const auto assignment = parseAssignment(text, error);
    if (!assignment) throw CLI::ValidationError("--tag", error);
    fields.push_back(*assignment);
  }
  return fields;
}

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
  CLI::App app("Writes tags into audio files.", "tagwriter");
  app.require_subcommand(1);

  SetArguments setting;
  std::vector<std::string> assignments;
  CLI::App* set = app.add_subcommand("set", "Write fields into files");
  set->add_option("-t,--tag", assignments, "A field and its new value, as key=value; may repeat")
      ->required()
      ->allow_extra_args(false);
  addFiles(set, setting.files);

  ShowArguments showing;
  CLI::App* show = app.add_subcommand("show", "Print the tags that are in files");
  addFiles(show, showing.files);

  try {
    app.parse(argc, argv);
    if (*show) return showing;
    setting.fields = parseAssignments(assignments);
    return setting;
  } catch (const CLI::ParseError& error) {
    return ExitNow{app.exit(error) == 0 ? kExitDone : kExitUsage};
  }
}

}  // namespace tagwriter
