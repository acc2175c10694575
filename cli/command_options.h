// The options of each command on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "cli/arguments.h"

namespace tagwriter {

/// A command: declares its options if it is the one on the command line, as this takes longer than
/// reading them, and turns them into arguments.
class CommandOptions {
 public:
  CommandOptions(CLI::App& app, const std::string& name, const std::string& description);
  virtual ~CommandOptions() = default;
  CommandOptions(const CommandOptions&) = delete;
  CommandOptions& operator=(const CommandOptions&) = delete;

  bool isGiven() const { return app_->parsed(); }
  /// Throws UsageError or CLI::ValidationError if a value is wrong or the options contradict each
  /// other.
  virtual Arguments arguments() const = 0;

 protected:
  /// Adds the options to `app_`.
  virtual void declare() = 0;

  CLI::Option* addFiles(FileOptions& options, const char* name = "FILE",
                        const char* description = "Audio files");
  void addEditing(EditOptions& options);
  CLI::Option* addRepeatable(const char* name, std::vector<std::string>& values,
                             const char* description);

  CLI::App* app_;
};

// The commands. Each adds itself to `app`, which must outlive it.
std::unique_ptr<CommandOptions> setOptions(CLI::App& app);
std::unique_ptr<CommandOptions> clearOptions(CLI::App& app);
std::unique_ptr<CommandOptions> coverOptions(CLI::App& app);
std::unique_ptr<CommandOptions> copyOptions(CLI::App& app);
std::unique_ptr<CommandOptions> showOptions(CLI::App& app);

}  // namespace tagwriter
