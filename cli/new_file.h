// A file that appears under its name when it is complete.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "base/unique_fd.h"

namespace tagwriter {

/// Writes a file beside its final path, with ".part" after the name, and renames it at the end. It
/// is removed with this object unless it was renamed.
class NewFile {
 public:
  explicit NewFile(std::string path);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Appends bytes. Returns false, with errno set, if the file could not be created or written.
  bool write(std::span<const std::byte> bytes);

  /// Gives the file its name. A file that exists there is replaced if `replace` is true; otherwise,
  /// if its content is the same, that is a success, too. Returns false, with errno set, if not:
  /// EEXIST for a file with another content.
  bool finish(bool replace);

 private:
  bool renameToPath(bool replace);
  bool isSameAsPath() const;

  std::string path_;
  std::string part_;
  UniqueFd fd_;
};

}  // namespace tagwriter
