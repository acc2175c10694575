// The copy that is edited in safe mode.
#pragma once

#include <sys/stat.h>

#include <string>

#include "base/unique_fd.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// A complete copy of a file in the same directory: content, owner, mode and extended attributes.
/// It is unnamed where the file system supports that, so that nothing is left behind if the process
/// is killed; elsewhere it is a hidden file, removed with this object.
class SafeCopy {
 public:
  SafeCopy() = default;
  ~SafeCopy();
  SafeCopy(const SafeCopy&) = delete;
  SafeCopy& operator=(const SafeCopy&) = delete;

  /// Copies the open file `original` (borrowed), whose path is `path`; a symbolic link is followed.
  /// The content is shared with the original (a reflink) where the file system supports it. Fails
  /// with kCopyFailed if anything cannot be copied, or if `path` and `original` are different
  /// files.
  Outcome make(int original, const std::string& path);

  /// Whether make() can create the copy, as far as can be seen without creating it: with the same
  /// failures.
  Outcome check(int original, const std::string& path);

  /// The copy, open for reading and writing; owned here.
  int fd() const { return copy_.get(); }

  /// Restores the attributes that the copy has lost by being written to, flushes it to disk and
  /// atomically renames it over the original. Fails with kReplaceFailed if any of that fails, or if
  /// the original has changed in any way since the copy was made. If a failed rename has lost the
  /// original, the copy stays, and the detail names it.
  Outcome replaceOriginal(int original);

 private:
  Outcome find(int original, const std::string& path);
  Outcome create();
  Outcome copyContent(int original);
  Outcome copyAttributes(int original, Status onFailure);
  bool isOriginalUnchanged() const;
  Outcome rename() const;
  bool isNameFree() const;
  std::string newName() const;

  UniqueFd copy_;
  UniqueFd directory_;     ///< the original's, opened with O_PATH
  std::string name_;       ///< the original's name in the directory
  std::string temporary_;  ///< the copy's name in the directory, while it has one
  struct stat before_ {};
};

}  // namespace tagwriter
