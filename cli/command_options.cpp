#include "cli/command_options.h"

namespace tagwriter {

CommandOptions::CommandOptions(CLI::App& app, const std::string& name,
                               const std::string& description)
    : app_(app.add_subcommand(name, description)->group("Commands")) {
  app_->preparse_callback([this](std::size_t) { declare(); });
}

CLI::Option* CommandOptions::addFiles(FileOptions& options, const char* name,
                                      const char* description) {
  app_->add_flag("-r,--recursive", options.recursive, "Process the audio files in directories");
  app_->add_flag("--json", options.json, "Print one JSON object per line");
  return app_->add_option(name, options.paths, description)->required();
}

void CommandOptions::addEditing(EditOptions& options) {
  app_->add_flag("--safe", options.safe,
                 "Edit a copy, and replace the file only if everything succeeds");
  app_->add_flag("--keep-times", options.keepTimes, "Keep the modification time");
  app_->add_flag("--force", options.force, "Also write into files that are plainly not audio");
  app_->add_flag("--bus", options.bus,
                 "Use the service on the session bus instead of a private one");
  app_->add_flag("-n,--dry-run", options.dryRun,
                 "Print what would be written, without writing anything");
  app_->add_option("-j,--jobs", options.jobs, "Edit N files at the same time, at most 64")
      ->check(CLI::Range(1, 64).description(""))
      ->type_name("N");
  app_->add_flag("-q,--quiet", options.quiet, "Print only errors");
}

CLI::Option* CommandOptions::addRepeatable(const char* name, std::vector<std::string>& values,
                                           const char* description) {
  return app_->add_option(name, values, description)->allow_extra_args(false);
}

}  // namespace tagwriter
