#include <map>

#include "cli/command_options.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

class CoverOptions final : public CommandOptions {
 public:
  explicit CoverOptions(CLI::App& app)
      : CommandOptions(app, "cover", "Set the front cover, or remove or extract all pictures") {}

  void declare() override {
    auto* replace =
        app_->add_flag("--replace", parsed_.replace,
                       "Replace existing pictures; otherwise, a file that has one fails");
    auto* type = app_->add_option("--type", type_,
                                  "Format of the image, if its first bytes do not identify it")
                     ->check(CLI::IsMember(&kTypes).description(""))
                     ->type_name("png|jpeg|tiff|gif|bmp");
    auto* clear = app_->add_flag("--clear", parsed_.clear, "Remove all pictures");
    clear->excludes(replace)->excludes(type);
    extract_ = app_->add_flag("--extract{}", directory_,
                              "Write the pictures into files in DIRECTORY, or beside the audio "
                              "files; --replace replaces existing files")
                   ->type_name("[=DIRECTORY]")
                   ->excludes(clear)
                   ->excludes(type);
    addEditing(parsed_.options);
    addFiles(parsed_.options, "IMAGE FILE",
             "The cover and the audio files; no image with --clear "
             "and --extract");
    app_->footer(
        "tagwriter cover [--replace] [--type TYPE] IMAGE FILE...\n"
        "tagwriter cover --clear FILE...\n"
        "tagwriter cover --extract[=DIRECTORY] [--replace] FILE...");
  }
  Arguments arguments() const override {
    if (extract_->count() > 0) return extractArguments();
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
  Arguments extractArguments() const {
    const EditOptions& options = parsed_.options;
    if (options.safe || options.keepTimes || options.bus || options.dryRun) {
      throw UsageError(
          "--extract changes no audio file, so it cannot be combined with --safe, --keep-times, "
          "--bus or --dry-run");
    }
    const FileOptions& files = options;
    return ExtractArguments{files, directory_, parsed_.replace, options.quiet};
  }

  inline static const std::map<std::string, ImageType> kTypes = {{"png", ImageType::kPNG},
                                                                 {"jpeg", ImageType::kJPEG},
                                                                 {"tiff", ImageType::kTIFF},
                                                                 {"gif", ImageType::kGIF},
                                                                 {"bmp", ImageType::kBMP}};
  CoverArguments parsed_;
  std::string type_;
  CLI::Option* extract_ = nullptr;
  std::string directory_;
};

}  // namespace

std::unique_ptr<CommandOptions> coverOptions(CLI::App& app) {
  return std::make_unique<CoverOptions>(app);
}

}  // namespace tagwriter
