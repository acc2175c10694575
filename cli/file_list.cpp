#include "cli/file_list.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "protocol/file_type.h"

namespace tagwriter {
namespace {

namespace fs = std::filesystem;

void addDirectory(const fs::path& directory, std::vector<std::string>& files,
                  const PathError& report) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    entries.push_back(entry->path());
  }
  if (error) report(directory, error.message());
  std::sort(entries.begin(), entries.end());

  for (const fs::path& entry : entries) {
    const fs::file_status status = fs::symlink_status(entry, error);
    if (fs::is_directory(status)) {
      addDirectory(entry, files, report);
    } else if (isWritableFileName(entry.c_str()) && fs::is_regular_file(entry, error)) {
      files.push_back(entry);
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
