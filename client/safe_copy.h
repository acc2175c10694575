// The copy on which an edit happens in safe mode.
#pragma once

#include <sys/stat.h>

#include <string>

#include "base/unique_fd.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// A faithful copy of a file in the same directory: content, owner, mode and extended attributes.
/// It has no name where the file system allows that, so that nothing is left behind when the
/// process is killed; elsewhere it is a hidden file that goes away with this object.
class SafeCopy {
 public:
  SafeCopy() = default;
  ~SafeCopy();
  SafeCopy(const SafeCopy&) = delete;
  SafeCopy& operator=(const SafeCopy&) = delete;

  /// Copies the file behind `original` (lent), whose path is `path`; a symbolic link is followed.
  /// The content is shared with the original where the file system can. Fails with kCopyFailed when
  /// anything of the file cannot be kept, and when `path` is another file than `original`.
  Outcome make(int original, const std::string& path);

  /// The copy, open for reading and writing; owned here.
  int fd() const { return copy_.get(); }

  /// Gives the copy again what of the original's attributes it has lost by being written to,
  /// flushes it to disk and puts it in the original's place, atomically. Fails with kReplaceFailed
  /// when that does not work or anything of the original has changed since the copy was made.
  Outcome replaceOriginal(int original);

 private:
  Outcome find(int original, const std::string& path);
  Outcome create();
  Outcome copyContent(int original);
  Outcome copyAttributes(int original, Status otherwise);
  bool isOriginalUnchanged() const;
  std::string newName() const;

  UniqueFd copy_;
  UniqueFd directory_;     ///< the original's, for names only
  std::string name_;       ///< the original's in the directory
  std::string temporary_;  ///< the copy's name in the directory while it has one
  struct stat before_ {};
};

}  // namespace tagwriter
