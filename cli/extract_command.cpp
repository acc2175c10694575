#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "cli/commands.h"
#include "cli/file_contents.h"
#include "cli/file_list.h"
#include "cli/new_file.h"
#include "cli/report.h"
#include "cli/until_exit.h"

namespace tagwriter {
namespace {

/// `text` as a part of a file name: letters and digits in lower case, "-" for everything else.
std::string namePart(const std::string& text) {
  std::string part;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && std::isalnum(byte)) {
      part += static_cast<char>(std::tolower(byte));
    } else if (!part.empty() && !part.ends_with('-')) {
      part += '-';
    }
  }
  while (part.ends_with('-')) part.pop_back();
  return part;
}

std::string extensionOf(const PictureInfo& picture) {
  switch (picture.format) {
    case ImageType::kPNG:
      return ".png";
    case ImageType::kJPEG:
      return ".jpg";
    case ImageType::kTIFF:
      return ".tiff";
    case ImageType::kGIF:
      return ".gif";
    case ImageType::kBMP:
      return ".bmp";
    case ImageType::kOther:
      break;
  }
  constexpr std::string_view kImage = "image/";
  const bool isImage = picture.mimeType.starts_with(kImage);
  const std::string kind = isImage ? namePart(picture.mimeType.substr(kImage.size())) : "";
  return kind.empty() ? ".bin" : "." + kind;
}

/// The names for the pictures of one file: "front-cover.jpg", and "front-cover-2.jpg" for another.
std::vector<std::string> namesFor(const std::vector<PictureInfo>& pictures) {
  std::vector<std::string> names;
  std::set<std::string> used;
  for (const PictureInfo& picture : pictures) {
    std::string base = namePart(picture.role);
    if (base.empty()) base = "cover";
    const std::string extension = extensionOf(picture);
    std::string name = base + extension;
    for (int i = 2; !used.insert(name).second; ++i) {
      name = base;
      name.append("-").append(std::to_string(i)).append(extension);
    }
    names.push_back(std::move(name));
  }
  return names;
}

/// Extracts the pictures of one file after the other.
class Extractor {
 public:
  Extractor(const ExtractArguments& arguments, Report& report)
      : arguments_(arguments), report_(report) {}

  void extract(const std::string& path) {
    extractFrom(path);
    report_.log(path, reader_.takeLog());
  }

 private:
  void extractFrom(const std::string& path) {
    OpenedFile file;
    if (const auto problem = readFile(path, reader_, file); !problem.empty()) {
      return report_.failed(path, problem);
    }
    const auto& pictures = file.contents.pictures;
    if (pictures.empty()) report_.failed(path, "has no picture to extract");
    const std::vector<std::string> names = namesFor(pictures);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
      const std::filesystem::path target = directoryFor(path) / names[i];
      const std::string problem = write(path, file.fd.get(), i, target);
      if (problem.empty()) {
        report_.extracted(path, target, pictures[i].role);
      } else {
        report_.failed(path, target.string() + ": " + problem);
      }
    }
  }

  std::filesystem::path directoryFor(const std::string& path) const {
    if (arguments_.directory.empty()) return std::filesystem::path(path).parent_path();
    return arguments_.directory;
  }

  /// Returns why the picture at `index` could not be written to `target`; empty on success.
  std::string write(const std::string& path, int fd, std::size_t index, const std::string& target) {
    NewFile file(target);
    int error = 0;  // of the system
    const auto append = [&](std::span<const std::byte> piece) {
      if (!file.write(piece)) error = errno;
      return error == 0;
    };
    const Outcome read = reader_.readPicture(fd, path, index, append);
    if (!read) return read.message();
    if (error != 0) return std::strerror(error);
    const bool isFirst = !written_.contains(target);
    if (file.finish(arguments_.replace && isFirst)) {
      written_.insert(target);
      return "";
    }
    if (errno != EEXIST) return std::strerror(errno);
    return isFirst ? "exists and has another content (use --replace, or --extract=DIRECTORY)"
                   : "another file has another picture for it (use --extract=DIRECTORY)";
  }

  const ExtractArguments& arguments_;
  Report& report_;
  Reader& reader_ = untilExit<Reader>();
  std::set<std::string> written_;
};

}  // namespace

int run(const ExtractArguments& arguments) {
  const FileOptions& options = arguments.options;
  Report report(options.json, arguments.quiet);
  const auto files =
      listFiles(options.paths, options.recursive,
                [&](const std::string& path, const std::string& why) { report.failed(path, why); });
  std::error_code error;
  if (!arguments.directory.empty()) std::filesystem::create_directories(arguments.directory, error);
  if (error) {
    report.failed(arguments.directory, "cannot be created: " + error.message());
    return kExitFailed;
  }
  Extractor extractor(arguments, report);
  for (const std::string& path : files) extractor.extract(path);
  return report.anyFailed() ? kExitFailed : kExitDone;
}

}  // namespace tagwriter
