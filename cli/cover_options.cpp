#include "cli/command_options.h"

#include <map>

namespace tagwriter {
namespace {

class CoverOptions final : public CommandOptions {
 public:
  explicit CoverOptions(CLI::App& app)
      : CommandOptions(app, "cover", "Set the front cover, or remove all pictures") {
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

}  // namespace

std::unique_ptr<CommandOptions> coverOptions(CLI::App& app) {
  return std::make_unique<CoverOptions>(app);
}

}  // namespace tagwriter
