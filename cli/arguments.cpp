#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <map>

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
  CLI::Option* addFiles(std::vector<std::string>& files, const char* name = "FILE",
                        const char* what = "Audio files") {
    return command->add_option(name, files, what)->required();
  }
  CLI::Option* addRepeated(const char* name, std::vector<std::string>& values, const char* what) {
    return command->add_option(name, values, what)->required()->allow_extra_args(false);
  }

  CLI::App* command;
};

class SetVerb final : public Verb {
 public:
  explicit SetVerb(CLI::App& app) : Verb(app, "set", "Write fields into files") {
    addRepeated("-t,--tag", assignments_, "A field and its new value, as KEY=VALUE; may repeat");
    addFiles(files_);
  }
  Arguments arguments() const override {
    SetArguments result{{}, files_};
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
  std::vector<std::string> files_;
};

class ClearVerb final : public Verb {
 public:
  explicit ClearVerb(CLI::App& app) : Verb(app, "clear", "Remove fields from files") {
    addRepeated("-t,--tag", keys_, "The KEY of a field to remove; may repeat");
    addFiles(files_);
  }
  Arguments arguments() const override {
    for (const std::string& key : keys_) {
      if (!field::find(key)) throw CLI::ValidationError(unknownFieldText(key));
    }
    return ClearArguments{keys_, files_};
  }

 private:
  std::vector<std::string> keys_;
  std::vector<std::string> files_;
};

class CoverVerb final : public Verb {
 public:
  explicit CoverVerb(CLI::App& app)
      : Verb(app, "cover", "Store an image as the front cover of files, or remove all pictures") {
    command->footer(
        "tagwriter cover [--replace] [--type TYPE] IMAGE FILE...\n"
        "tagwriter cover --clear FILE...");
    auto* replace = command->add_flag("--replace", parsed_.replace,
                                      "Replace the pictures that are there; without it they are "
                                      "kept and the new one is refused");
    auto* type = command
                     ->add_option("--type", parsed_.type,
                                  "The image's format, when its first bytes do not tell")
                     ->transform(CLI::CheckedTransformer(kTypes).description(""))
                     ->type_name("png|jpeg|tiff|gif|bmp");
    auto* clear = command->add_flag("--clear", parsed_.clear, "Remove all pictures");
    clear->excludes(replace)->excludes(type);
    addFiles(names_, "NAMES", "The image and the audio files; with --clear only audio files");
  }
  Arguments arguments() const override {
    CoverArguments result = parsed_;
    result.files = names_;
    if (result.clear) return result;
    if (names_.size() < 2)
      throw CLI::ValidationError("cover: IMAGE and at least one FILE are needed");
    result.image = names_.front();
    result.files.erase(result.files.begin());
    return result;
  }

 private:
  inline static const std::map<std::string, ImageType> kTypes = {{"png", ImageType::kPNG},
                                                                 {"jpeg", ImageType::kJPEG},
                                                                 {"tiff", ImageType::kTIFF},
                                                                 {"gif", ImageType::kGIF},
                                                                 {"bmp", ImageType::kBMP}};
  CoverArguments parsed_;
  std::vector<std::string> names_;
};

class ShowVerb final : public Verb {
 public:
  explicit ShowVerb(CLI::App& app)
      : Verb(app, "show", "Print the tags and pictures that are in files") {
    addFiles(files_);
  }
  Arguments arguments() const override { return ShowArguments{files_}; }

 private:
  std::vector<std::string> files_;
};

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
  CLI::App app("Writes tags into audio files.", "tagwriter");
  app.require_subcommand(1);
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return std::string("tagwriter: ") + error.what() + "\nRun with --help for more information.\n";
  });

  const SetVerb set(app);
  const ClearVerb clear(app);
  const CoverVerb cover(app);
  const ShowVerb show(app);
  const Verb* const verbs[] = {&set, &clear, &cover, &show};

  try {
    app.parse(argc, argv);
    for (const Verb* verb : verbs) {
      if (verb->chosen()) return verb->arguments();
    }
  } catch (const CLI::ParseError& error) {
    return ExitNow{app.exit(error) == 0 ? kExitDone : kExitUsage};
  }
  return ExitNow{kExitUsage};
}

}  // namespace tagwriter
