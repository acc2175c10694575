#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <map>

#include "cli/help.h"
#include "protocol/fields.h"

namespace tagwriter {
namespace {

/// A command: declares its options and turns them into arguments.
class Command {
 public:
  Command(CLI::App& app, const std::string& name, const std::string& description)
      : app_(app.add_subcommand(name, description)->group("Commands")) {}
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  bool isGiven() const { return app_->parsed(); }
  /// Throws CLI::ValidationError if the options contradict each other.
  virtual Arguments arguments() const = 0;

 protected:
  void addFiles(FileOptions& options, const char* name = "FILE",
                const char* description = "Audio files") {
    app_->add_option(name, options.paths, description)->required();
    app_->add_flag("-r,--recursive", options.recursive, "Process the audio files in directories");
    app_->add_flag("--json", options.json, "Print one JSON object per line");
  }
  void addEditing(EditOptions& options) {
    app_->add_flag("--safe", options.safe,
                   "Edit a copy, and replace the file only if everything succeeds");
    app_->add_flag("--keep-times", options.keepTimes, "Keep the modification time");
    app_->add_flag("--bus", options.bus,
                   "Use the service on the session bus instead of a private one");
    app_->add_flag("-n,--dry-run", options.dryRun,
                   "Print what would be written, without writing anything");
    app_->add_flag("-q,--quiet", options.quiet, "Print only errors");
  }
  void addRepeatable(const char* name, std::vector<std::string>& values, const char* description) {
    app_->add_option(name, values, description)->required()->allow_extra_args(false);
  }

  CLI::App* app_;
};

class SetCommand final : public Command {
 public:
  explicit SetCommand(CLI::App& app) : Command(app, "set", "Write fields") {
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

class ClearCommand final : public Command {
 public:
  explicit ClearCommand(CLI::App& app) : Command(app, "clear", "Clear fields") {
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

class CoverCommand final : public Command {
 public:
  explicit CoverCommand(CLI::App& app)
      : Command(app, "cover", "Set the front cover, or remove all pictures") {
    auto* replace =
        app_->add_flag("--replace", parsed_.replace,
                       "Replace existing pictures; otherwise, a file that has one fails");
    auto* type = app_->add_option("--type", type_,
                                  "Format of the image, if its first bytes do not identify it")
                     ->check(CLI::IsMember(&kTypes).description(""))
                     ->type_name("png|jpeg|tiff|gif|bmp");
    auto* clear = app_->add_flag("--clear", parsed_.clear, "Remove all pictures");
    clear->excludes(replace)->excludes(type);
    addEditing(parsed_.options);
    addFiles(parsed_.options, "IMAGE FILE", "The cover and the audio files; no image with --clear");
    app_->footer(
        "tagwriter cover [--replace] [--type TYPE] IMAGE FILE...\n"
        "tagwriter cover --clear FILE...");
  }
  Arguments arguments() const override {
    CoverArguments result = parsed_;
    if (result.clear) return result;
    if (!type_.empty()) result.type = kTypes.at(type_);
    std::vector<std::string>& paths = result.options.paths;
    if (paths.size() < 2) throw CLI::ValidationError("IMAGE and at least one FILE are required");
    result.cover = paths.front();
    paths.erase(paths.begin());
    return result;
  }

 private:
  inline static const std::map<std::string, ImageType> kTypes = {{"png", ImageType::kPNG},
                                                                 {"jpeg", ImageType::kJPEG},
                                                                 {"tiff", ImageType::kTIFF},
                                                                 {"gif", ImageType::kGIF},
                                                                 {"bmp", ImageType::kBMP}};
  CoverArguments parsed_;
  std::string type_;
};

class ShowCommand final : public Command {
 public:
  explicit ShowCommand(CLI::App& app) : Command(app, "show", "Print tags and pictures") {
    addFiles(options_);
  }
  Arguments arguments() const override { return ShowArguments{options_}; }

 private:
  FileOptions options_;
};

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
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return "tagwriter: " + messageFor(*failed, error) + "\nSee 'tagwriter --help'.\n";
  });

  const SetCommand set(app);
  const ClearCommand clear(app);
  const CoverCommand cover(app);
  const ShowCommand show(app);
  const Command* const commands[] = {&set, &clear, &cover, &show};

  try {
    app.parse(reversedWords(argc, argv));
    for (const Command* command : commands) {
      if (command->isGiven()) return command->arguments();
    }
  } catch (const CLI::ParseError& error) {
    return ExitNow{app.exit(error) == 0 ? kExitDone : kExitUsage};
  }
  return ExitNow{kExitUsage};
}

}  // namespace tagwriter
