#include "cli/command_options.h"

namespace tagwriter {
namespace {

class ShowOptions final : public CommandOptions {
 public:
  explicit ShowOptions(CLI::App& app) : CommandOptions(app, "show", "Print tags and pictures") {
    addFiles(options_);
  }
  Arguments arguments() const override { return ShowArguments{options_}; }

 private:
  FileOptions options_;
};

}  // namespace

std::unique_ptr<CommandOptions> showOptions(CLI::App& app) {
  return std::make_unique<ShowOptions>(app);
}

}  // namespace tagwriter
