#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>

#include "cli/completion.h"
#include "cli/help.h"
#include "protocol/fields.h"

namespace tagwriter {
namespace {

/// A verb: declares its options, and turns what was given into arguments.
class Verb {
 public:
  Verb(CLI::App& app, const std::string& name, const std::string& what)
      : command(app.add_subcommand(name, what)) {}
  virtual ~Verb() = default;
  Verb(const Verb&) = delete;
  Verb& operator=(const Verb&) = delete;

  bool chosen() const { return command->parsed(); }
  /// Throws CLI::ValidationError when the options do not fit together.
  virtual Arguments arguments() const = 0;

 protected:
  void addFiles(FileOptions& options, const char* name = "FILE", const char* what = "Audio files") {
    command->add_option(name, options.paths, what)->required();
    command->add_flag("-r,--recursive", options.recursive, "Go into directories, for audio files");
    command->add_flag("--json", options.json, "Print one JSON object a line");
  }
  void addEditing(EditOptions& options) {
    command->add_flag("--safe", options.safe,
                      "Edit a copy, which takes the file's place only when all has gone well");
    command->add_flag("--keep-times", options.keepTimes, "Leave the modification time as it was");
    command->add_flag("--bus", options.bus,
                      "Use the service on the session bus, not one started for this command");
    command->add_flag("-n,--dry-run", options.dryRun,
                      "Say what would be written, and write nothing");
    command->add_flag("-q,--quiet", options.quiet, "Print nothing but errors");
  }
  void addRepeated(const char* name, std::vector<std::string>& values, const char* what) {
    command->add_option(name, values, what)->required()->allow_extra_args(false);
  }

  CLI::App* command;
};

class SetVerb final : public Verb {
 public:
  explicit SetVerb(CLI::App& app) : Verb(app, "set", "Write fields into files") {
    addRepeated("-t,--tag", assignments_, "A field and its new value, as KEY=VALUE; may repeat");
    addEditing(options_);
    addFiles(options_);
    command->footer(fieldsHelp());
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

class ClearVerb final : public Verb {
 public:
  explicit ClearVerb(CLI::App& app) : Verb(app, "clear", "Remove fields from files") {
    addRepeated("-t,--tag", keys_, "The KEY of a field to remove; may repeat");
    addEditing(options_);
    addFiles(options_);
    command->footer(fieldsHelp());
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

class CoverVerb final : public Verb {
 public:
  explicit CoverVerb(CLI::App& app)
      : Verb(app, "cover", "Store an image as the front cover of files, or remove all pictures") {
    auto* replace = command->add_flag("--replace", parsed_.replace,
                                      "Replace the pictures that are there; without it a file "
                                      "that has one is left alone and fails");
    auto* type =
        command->add_option("--type", type_, "The image's format, when its first bytes do not tell")
            ->check(CLI::IsMember(&kTypes).description(""))
            ->type_name("png|jpeg|tiff|gif|bmp");
    auto* clear = command->add_flag("--clear", parsed_.clear, "Remove all pictures");
    clear->excludes(replace)->excludes(type);
    addEditing(parsed_.options);
    addFiles(parsed_.options, "IMAGE FILE", "The image and the audio files; with --clear no image");
    command->footer(
        "tagwriter cover [--replace] [--type TYPE] IMAGE FILE...\n"
        "tagwriter cover --clear FILE...");
  }
  Arguments arguments() const override {
    CoverArguments result = parsed_;
    if (result.clear) return result;
    if (!type_.empty()) result.type = kTypes.at(type_);
    std::vector<std::string>& paths = result.options.paths;
    if (paths.size() < 2) {
      throw CLI::ValidationError("cover: IMAGE and at least one FILE are needed");
    }
    result.image = paths.front();
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

class ShowVerb final : public Verb {
 public:
  explicit ShowVerb(CLI::App& app)
      : Verb(app, "show", "Print the tags and pictures that are in files") {
    addFiles(options_);
  }
  Arguments arguments() const override { return ShowArguments{options_}; }

 private:
  FileOptions options_;
};

class CompletionVerb final : public Verb {
 public:
  explicit CompletionVerb(CLI::App& app)
      : Verb(app, "completion", "Print the completions for a shell"), app_(app) {
    command->add_option("SHELL", shell_, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}).description(""));
  }
  Arguments arguments() const override {
    std::cout << completionFor(shell_, app_);
    return ExitNow{kExitDone};
  }

 private:
  CLI::App& app_;
  std::string shell_;
};

/// The words of the command line, last one first, as the parser takes them. It has a meaning of its
/// own for a few that are names of files here ("[2001]", "++", "%%"): these get a path.
std::vector<std::string> wordsOf(int argc, const char* const* argv) {
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) {
    std::string word = argv[i];
    const bool bracketed = word.starts_with('[') && word.ends_with(']');
    if (bracketed || word == "++" || word == "%%") word.insert(0, "./");
    words.push_back(std::move(word));
  }
  return words;
}

/// What is wrong; the parser does not name a verb that it does not know.
std::string textOf(const CLI::App& app, const CLI::Error& error) {
  const std::vector<std::string> unknown = app.remaining();
  if (!app.get_subcommands().empty() || unknown.empty()) return error.what();
  return unknown.front() + ": no such " + (unknown.front().starts_with('-') ? "option" : "verb");
}

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
  CLI::App app(kDescription, "tagwriter");
  app.require_subcommand(1);
  app.footer(kHelpFooter);
  app.get_formatter()->column_width(28);
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return "tagwriter: " + textOf(*failed, error) + "\nRun with --help for more information.\n";
  });

  const SetVerb set(app);
  const ClearVerb clear(app);
  const CoverVerb cover(app);
  const ShowVerb show(app);
  const CompletionVerb completion(app);
  const Verb* const verbs[] = {&set, &clear, &cover, &show, &completion};

  try {
    app.parse(wordsOf(argc, argv));
    for (const Verb* verb : verbs) {
      if (verb->chosen()) return verb->arguments();
    }
  } catch (const CLI::ParseError& error) {
    return ExitNow{app.exit(error) == 0 ? kExitDone : kExitUsage};
  }
  return ExitNow{kExitUsage};
}

}  // namespace tagwriter
