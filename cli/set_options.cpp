#include "cli/command_options.h"
#include "cli/help.h"
#include "protocol/fields.h"

namespace tagwriter {
namespace {

class SetOptions final : public CommandOptions {
 public:
  explicit SetOptions(CLI::App& app) : CommandOptions(app, "set", "Write fields") {
    addRepeatable("-t,--tag", assignments_, "A field to write, as KEY=VALUE; repeatable");
    addEditing(options_);
    addFiles(options_);
    app_->footer(fieldsHelp());
  }
  Arguments arguments() const override {
    SetArguments result{{}, options_};
    for (const std::string& text : assignments_) {
      std::string error;
      const auto assignment = parseAssignment(text, error);
      if (!assignment) throw CLI::ValidationError(error);
      result.fields.push_back(*assignment);
    }
    return result;
  }

 private:
  std::vector<std::string> assignments_;
  EditOptions options_;
};

class ClearOptions final : public CommandOptions {
 public:
  explicit ClearOptions(CLI::App& app) : CommandOptions(app, "clear", "Clear fields") {
    addRepeatable("-t,--tag", keys_, "The KEY of a field to clear; repeatable");
    addEditing(options_);
    addFiles(options_);
    app_->footer(fieldsHelp());
  }
  Arguments arguments() const override {
    for (const std::string& key : keys_) {
      if (!field::find(key)) throw CLI::ValidationError(unknownFieldText(key));
    }
    return ClearArguments{keys_, options_};
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
