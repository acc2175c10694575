#include <filesystem>

#include "cli/assignments.h"
#include "cli/command_options.h"
#include "cli/field_keys.h"
#include "cli/help.h"
#include "cli/input_file.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

/// Throws UsageError if one of the files is a field whose -t is missing.
void checkFieldsHaveTag(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    std::error_code ignored;
    if (findField(path.substr(0, path.find('='))) && !std::filesystem::exists(path, ignored)) {
      throw UsageError(path + ": a field needs -t before it");
    }
  }
}

class SetOptions final : public CommandOptions {
 public:
  explicit SetOptions(CLI::App& app) : CommandOptions(app, "set", "Write fields") {}

  void declare() override {
    auto* tags = addRepeatable("-t,--tag", assignments_,
                               "A field to write; @FILE as the value stands for the text in a "
                               "file, @- for standard input; repeatable")
                     ->type_name("KEY=VALUE");
    app_->add_option("--from", input_,
                     "Write the fields in INPUT, a file or - for standard input, as 'show --json' "
                     "prints them; without FILE, into the files that it names")
        ->type_name("INPUT")
        ->excludes(tags);
    addEditing(options_);
    addFiles(options_)->required(false);
    app_->footer(fieldsHelp());
  }
  Arguments arguments() const override {
    checkFieldsHaveTag(options_.paths);
    if (!input_.empty()) return fromInput();
    if (assignments_.empty()) throw UsageError("--tag or --from is required");
    if (options_.paths.empty()) throw CLI::RequiredError("FILE");
    return SetArguments{parseAssignments(assignments_), {}, options_};
  }

 private:
  SetArguments fromInput() const {
    std::vector<FileFields> files = parseJsonFields(readInput(input_), "--from " + input_);
    if (options_.paths.empty()) {
      checkNamesFiles(files);
      return {{}, std::move(files), options_};
    }
    if (files.size() > 1) {
      throw UsageError("--from " + input_ + ": has " + std::to_string(files.size()) +
                       " objects; with FILE, it must have one (without, each is written into the "
                       "file that it names)");
    }
    if (!files[0].problem.empty()) throw UsageError("--from " + input_ + ": has no \"fields\"");
    return {std::move(files[0].fields), {}, options_};
  }

  void checkNamesFiles(const std::vector<FileFields>& files) const {
    for (std::size_t i = 0; i < files.size(); ++i) {
      if (!files[i].path.empty()) continue;
      throw UsageError("--from " + input_ + ": object " + std::to_string(i + 1) +
                       ": names no \"file\"; give a FILE on the command line");
    }
  }

  std::vector<std::string> assignments_;
  std::string input_;
  EditOptions options_;
};

class ClearOptions final : public CommandOptions {
 public:
  explicit ClearOptions(CLI::App& app) : CommandOptions(app, "clear", "Clear fields") {}

  void declare() override {
    addRepeatable("-t,--tag", keys_, "The KEY of a field to clear; required, repeatable")
        ->type_name("KEY");
    addEditing(options_);
    addFiles(options_);
    app_->footer(fieldsHelp());
  }
  Arguments arguments() const override {
    checkFieldsHaveTag(options_.paths);
    if (keys_.empty()) throw UsageError("--tag is required");
    return ClearArguments{keysOf(keys_), options_};
  }

 private:
  std::vector<std::string> keys_;
  EditOptions options_;
};

}  // namespace

std::unique_ptr<CommandOptions> setOptions(CLI::App& app) {
  return std::make_unique<SetOptions>(app);
}

std::unique_ptr<CommandOptions> clearOptions(CLI::App& app) {
  return std::make_unique<ClearOptions>(app);
}

}  // namespace tagwriter
