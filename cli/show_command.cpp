#include <unistd.h>

#include <iostream>
#include <string_view>

#include "cli/commands.h"
#include "cli/file_contents.h"
#include "cli/file_list.h"
#include "cli/json_fields.h"
#include "cli/json_line.h"
#include "cli/printable.h"
#include "cli/report.h"
#include "cli/until_exit.h"

namespace tagwriter {
namespace {

constexpr char kIndent[] = "  ";

void printText(const std::string& indent, const std::string& name, const std::string& value) {
  std::cout << indent << printable(name) << ": ";
  const std::string text = printable(value, true);
  for (const char c : std::string_view(text).substr(0, text.find_last_not_of('\n') + 1)) {
    std::cout << c;
    if (c == '\n') std::cout << indent << kIndent;
  }
  std::cout << '\n';
}

void printText(const PictureInfo& picture) {
  std::cout << kIndent << "picture: " << (picture.role.empty() ? "Cover" : printable(picture.role))
            << ", " << (picture.mimeType.empty() ? "unknown format" : printable(picture.mimeType));
  if (picture.width != 0) std::cout << ", " << picture.width << "x" << picture.height;
  std::cout << ", " << picture.size << " bytes\n";
}

void printText(const std::string& path, const FileContents& contents, bool all) {
  std::cout << printable(path) << '\n';
  for (const auto& [key, value] : contents.fields) printText(kIndent, key, textOf(value));
  for (const PictureInfo& picture : contents.pictures) printText(picture);
  if (all && !contents.tags.empty()) {
    std::cout << kIndent << "all tags, as TagLib names them:\n";
    for (const auto& [name, value] : contents.tags) {
      printText(std::string(kIndent) + kIndent, name, value);
    }
  }
  if (!contents.fields.empty() || !contents.pictures.empty()) return;
  if (contents.tags.empty()) {
    std::cout << kIndent << "(no tags)\n";
  } else if (!all) {
    std::cout << kIndent << "(no field that has a key; use --all)\n";
  }
}

nlohmann::json toJson(const PictureInfo& picture) {
  nlohmann::json object = {
      {"role", picture.role}, {"mimeType", picture.mimeType}, {"size", picture.size}};
  if (picture.width != 0) {
    object["width"] = picture.width;
    object["height"] = picture.height;
  }
  return object;
}

nlohmann::json toJson(const std::string& path, const FileContents& contents) {
  nlohmann::json object = jsonOfFile(path);
  object["fields"] = jsonOfFields(contents.fields);
  object["pictures"] = nlohmann::json::array();
  for (const PictureInfo& picture : contents.pictures)
    object["pictures"].push_back(toJson(picture));
  return object;
}

void addTags(const TagListing& tags, nlohmann::json& object) {
  object["tags"] = nlohmann::json::object();
  for (const auto& [name, value] : tags) object["tags"][name].push_back(value);
}

/// Prints the values alone, one after the other; an empty line for a field that is not in the file.
void printValues(const FieldListing& fields) {
  static const bool onTerminal = ::isatty(STDOUT_FILENO);
  for (const auto& [key, value] : fields) {
    const std::string text = textOf(value);
    std::cout << (onTerminal ? printable(text, true) : text) << '\n';
  }
}

/// Shows one file after the other.
class FileViewer {
 public:
  FileViewer(const ShowArguments& arguments, Report& report)
      : arguments_(arguments), report_(report) {}

  void show(const std::string& path) {
    showFile(path);
    report_.log(path, reader_.takeLog());
  }

 private:
  void showFile(const std::string& path) {
    OpenedFile file;
    const std::string problem = readFile(path, reader_, file);
    if (!problem.empty()) return report_.failed(path, problem);
    if (arguments_.keys.empty()) {
      showAll(path, file.contents);
    } else {
      showKeys(path, file);
    }
  }

  void showAll(const std::string& path, const FileContents& contents) {
    if (arguments_.options.json) {
      nlohmann::json object = toJson(path, contents);
      if (arguments_.all) addTags(contents.tags, object);
      printJson(object);
    } else {
      printText(path, contents, arguments_.all);
    }
    if (!contents.isComplete) report_.failed(path, "some of its tags are too large to be shown");
  }

  void showKeys(const std::string& path, const OpenedFile& file) {
    FieldListing fields;
    for (const std::string& key : arguments_.keys) {
      std::optional<TrackValue> value;
      const Outcome found = valueOf(key, path, file, value);
      if (!found) return report_.failed(path, found.message());
      if (value || !arguments_.options.json) fields.emplace_back(key, value.value_or(""));
    }
    if (!arguments_.options.json) return printValues(fields);
    nlohmann::json object = jsonOfFile(path);
    object["fields"] = jsonOfFields(fields);
    printJson(object);
  }

  Outcome valueOf(const std::string& key, const std::string& path, const OpenedFile& file,
                  std::optional<TrackValue>& value) {
    if (const TrackValue* stored = findValue(file.contents.fields, key)) value = *stored;
    // One that is too large for the message with everything comes alone.
    if (value || file.contents.isComplete) return {};
    return reader_.readField(file.fd.get(), path, key, value);
  }

  const ShowArguments& arguments_;
  Report& report_;
  Reader& reader_ = untilExit<Reader>();
};

}  // namespace

int run(const ShowArguments& arguments) {
  const FileOptions& options = arguments.options;
  Report report(options.json, false);
  const auto files =
      listFiles(options.paths, options.recursive,
                [&](const std::string& path, const std::string& why) { report.failed(path, why); });
  FileViewer viewer(arguments, report);
  for (const std::string& path : files) viewer.show(path);
  return report.anyFailed() ? kExitFailed : kExitDone;
}

}  // namespace tagwriter
