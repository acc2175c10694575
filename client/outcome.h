// The result of a request to the tag writer service.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "export.h"

namespace tagwriter {

/// Result of a request. Values are never removed or reused; later versions may add some.
enum class Status {
  kWritten,             ///< the service answered true
  kRefused,             ///< the service answered false, for another reason than those below; the
                        ///< file is as it was
  kIncomplete,          ///< writes failed half way; in place, the file may be damaged
  kNoAnswer,            ///< the service died during the request; in place, the file may be damaged
  kServiceUnavailable,  ///< cannot start or reach the service; nothing was sent
  kUnknownField,        ///< no such field, or a value of the wrong type
  kInvalidText,         ///< a text is not valid UTF-8 or contains a zero byte
  kNotFound,            ///< the file cannot be opened
  kNotRegularFile,      ///< a directory, a device or a pipe
  kNotWritable,         ///< the file is not writable, or the caller's descriptor is not O_RDWR
  kOpenedForAppend,     ///< the caller's descriptor is O_APPEND: all writes would go to the end
  kFileTooLarge,        ///< the file would exceed the 4 GiB limit of its format
  kRequestTooLarge,     ///< the request would reach 64 MiB, the limit of the protocol
  kHasPicture,          ///< the file already has a picture, and `replace` is false
  kCopyFailed,          ///< safe mode: cannot make a complete copy; the file is unchanged
  kCopyUnreadable,      ///< safe mode: the edited copy is unreadable; the file is unchanged
  kReplaceFailed,       ///< safe mode: cannot replace the file with the copy; it is unchanged,
                        ///< unless the detail names the copy
  kTimesNotKept,        ///< in place: written, but the modification time could not be restored
  kUnreadable,          ///< the file, which is unchanged, could not be read; nothing was sent
  kUnknownType,         ///< tags are not written into files with this extension; see anyFile
  kOtherContent,        ///< the content is plainly something else than the name says; see anyFile
  kEmptyFile,           ///< there is nothing in the file; see anyFile
  kCancelled,           ///< stopped before it was sent; see WriteOptions::stop and ~TagWriter
  kTimedOut,            ///< the deadline has passed; see WriteOptions::deadline
  kFieldNotKept,        ///< files of this type do not store the field
  kOutOfRange,          ///< a number or a rating is outside of what the file's tag can hold
  kNeedsTrackNumber,    ///< the file keeps a number of tracks only beside a track number
  kBlockTooLarge,       ///< the text or cover does not fit into a block of the file's format
  kNotThisType,         ///< the service cannot read the file as the type that its name says
  kNothingToRemove,     ///< there is no picture to remove
  kNoSpace,  ///< no room on the disk, or within a quota or a limit; the file is as it was
};

/// The status of a request, with details.
class [[nodiscard]] TAGWRITER_API Outcome {
 public:
  /// A success.
  Outcome() = default;
  /// `detail` is the cause, for example an error of the system; may be empty.
  Outcome(Status status, std::string detail = {});  // NOLINT(google-explicit-constructor)

  /// True if the change was written.
  explicit operator bool() const { return status_ == Status::kWritten; }
  Status status() const { return status_; }
  /// The cause, for example an error of the system; may be empty.
  const std::string& detail() const;
  /// The index of the edit that failed, in the list that was to be written.
  std::size_t edit() const;
  /// Whether the file may be other than before the call. After kIncomplete, kNoAnswer and kTimedOut
  /// it may be damaged then. False in safe mode, unless the change was written.
  bool mayHaveTouchedFile() const;
  /// What the private workers of the library reported on standard error during the request, as they
  /// wrote it: lines that may contain any bytes. Usually empty.
  const std::string& log() const;
  /// A message for users: the status and the detail.
  std::string message() const;

  /// What only the library can use: what else there is to know about a request.
  struct Details;
  /// The details, to be changed.
  Details& details();

 private:
  const Details& known() const;

  Status status_ = Status::kWritten;
  // The size of an outcome is part of the binary interface: whatever is added goes in here.
  std::shared_ptr<const Details> details_;  ///< null if there are none
};

}  // namespace tagwriter
