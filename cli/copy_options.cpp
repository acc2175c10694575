#include "cli/command_options.h"
#include "cli/field_keys.h"
#include "cli/help.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

class CopyOptions final : public CommandOptions {
 public:
  explicit CopyOptions(CLI::App& app)
      : CommandOptions(app, "copy", "Copy fields and the cover to other files") {}

  void declare() override {
    addRepeatable("-t,--tag", parsed_.keys, "Copy only the field KEY, and no cover; repeatable")
        ->type_name("KEY");
    app_->add_flag("--replace", parsed_.replace,
                   "Replace existing pictures; otherwise, a file that has one keeps it and fails");
    addEditing(parsed_.options);
    addFiles(parsed_.options, "FROM TO", "The file to copy from, and the files to copy into");
    app_->footer("tagwriter copy [-t KEY]... FROM TO...\n\n" + fieldsHelp());
  }
  Arguments arguments() const override {
    CopyArguments result = parsed_;
    result.keys = keysOf(parsed_.keys);
    std::vector<std::string>& paths = result.options.paths;
    if (paths.size() < 2) throw UsageError("FROM and at least one TO are required");
    result.from = paths.front();
    paths.erase(paths.begin());
    return result;
  }

 private:
  CopyArguments parsed_;
};

}  // namespace

std::unique_ptr<CommandOptions> copyOptions(CLI::App& app) {
  return std::make_unique<CopyOptions>(app);
}

}  // namespace tagwriter
