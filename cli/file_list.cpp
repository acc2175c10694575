#include "cli/file_list.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "protocol/file_type.h"

namespace tagwriter {
namespace {

namespace fs = std::filesystem;

/// Adds the audio files in a directory and in those below it, in the order of their names.
void addDirectory(const fs::path& directory, std::vector<std::string>& files,
                  const PathError& report) {
  std::vector<fs::directory_entry> entries;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    entries.push_back(*entry);
  }
  if (error) report(directory, error.message());
  // In one directory, the texts have the same order as the paths, and are compared faster.
  std::sort(entries.begin(), entries.end(), [](const auto& left, const auto& right) {
    return left.path().native() < right.path().native();
  });

  for (const fs::directory_entry& entry : entries) {
    if (!entry.is_symlink(error) && entry.is_directory(error)) {
      addDirectory(entry, files, report);
    } else if (isWritableFileName(entry.path().c_str()) && entry.is_regular_file(error)) {
      files.push_back(entry.path());
    }
  }
}

}  // namespace

std::vector<std::string> listFiles(const std::vector<std::string>& paths, bool recursive,
                                   const PathError& report) {
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    bool hasFailed = false;  // which says enough
    const PathError counted = [&](const std::string& failed, const std::string& reason) {
      hasFailed = true;
      report(failed, reason);
    };
    std::error_code error;
    if (!fs::is_directory(path, error)) {
      files.push_back(path);
    } else if (recursive) {
      const std::size_t before = files.size();
      addDirectory(path, files, counted);
      if (files.size() == before && !hasFailed) report(path, "has no audio files");
    } else {
      report(path, "is a directory (use --recursive)");
    }
  }
  return files;
}

}  // namespace tagwriter
