#include "cli/command_options.h"
#include "cli/field_keys.h"
#include "cli/help.h"

namespace tagwriter {
namespace {

class ShowOptions final : public CommandOptions {
 public:
  explicit ShowOptions(CLI::App& app) : CommandOptions(app, "show", "Print fields and pictures") {}

  void declare() override {
    auto* keys =
        addRepeatable("-t,--tag", parsed_.keys, "Print only the value of the field KEY; repeatable")
            ->type_name("KEY");
    app_->add_flag("--all", parsed_.all, "Print all tags, too, as TagLib names them")
        ->excludes(keys);
    addFiles(parsed_.options);
    app_->footer(fieldsHelp());
  }
  Arguments arguments() const override {
    ShowArguments result = parsed_;
    result.keys = keysOf(parsed_.keys);
    return result;
  }

 private:
  ShowArguments parsed_;
};

}  // namespace

std::unique_ptr<CommandOptions> showOptions(CLI::App& app) {
  return std::make_unique<ShowOptions>(app);
}

}  // namespace tagwriter
