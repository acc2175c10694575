// A file that appears under its name when it is complete.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "base/unique_fd.h"

namespace tagwriter {

/// Writes a file without a name in the directory of its path, and links it there at the end: if the
/// process ends before, nothing remains. Where the file system does not support that, the file has
/// the name of the path with ".part" behind it, and is removed with this object.
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
  bool linkAs(const std::string& name) const;
  bool renameToPath(bool replace);
  bool isSameAsPath() const;

  std::string path_;
  std::string part_;      ///< a name beside the path
  bool hasPart_ = false;  ///< whether the file is there
  UniqueFd fd_;
};

}  // namespace tagwriter
