#include <utility>

#include "client/outcome_details.h"

namespace tagwriter {
namespace {

// Long, because it has a line for each status, of which the compiler misses none.
// NOLINTNEXTLINE(readability-function-size)
const char* textOf(Status status) {
  switch (status) {
    case Status::kWritten:
      return "written";
    case Status::kRefused:
      return "not written: the service refused the change";
    case Status::kIncomplete:
      return "not written completely";
    case Status::kNoAnswer:
      return "the service did not answer";
    case Status::kServiceUnavailable:
      return "the service is not available";
    case Status::kUnknownField:
      return "invalid field or value";
    case Status::kInvalidText:
      return "the text is not valid UTF-8 or contains a zero byte";
    case Status::kNotFound:
      return "cannot be opened";
    case Status::kNotRegularFile:
      return "not a regular file";
    case Status::kNotWritable:
      return "not writable";
    case Status::kOpenedForAppend:
      return "opened with O_APPEND";
    case Status::kFileTooLarge:
      return "the file would exceed the 4 GiB limit of its format";
    case Status::kRequestTooLarge:
      return "the request would exceed 64 MiB";
    case Status::kHasPicture:
      return "already has a picture";
    case Status::kCopyFailed:
      return "cannot make a complete copy";
    case Status::kCopyUnreadable:
      return "the edited copy is unreadable, so the file was not changed";
    case Status::kReplaceFailed:
      return "cannot replace the file with the edited copy";
    case Status::kTimesNotKept:
      return "written, but the modification time could not be restored";
    case Status::kUnreadable:
      return "cannot be read";
    case Status::kUnknownType:
      return "not a supported type of audio file";
    case Status::kOtherContent:
      return "not what its name says";
    case Status::kEmptyFile:
      return "an empty file";
    case Status::kCancelled:
      return "cancelled";
    case Status::kTimedOut:
      return "the deadline has passed";
    case Status::kFieldNotKept:
      return "files of this type do not store this field";
    case Status::kOutOfRange:
      return "out of range";
    case Status::kNeedsTrackNumber:
      return "this file keeps a number of tracks only beside a track number: set both";
    case Status::kBlockTooLarge:
      return "too large for a block of this file format";
    case Status::kNotThisType:
      return "not written: cannot be read as the type of file that its name says";
    case Status::kNothingToRemove:
      return "there is no picture to remove";
    case Status::kNoSpace:
      return "not written: there is not enough space";
  }
  return "";
}

}  // namespace

Outcome::Outcome(Status status, std::string detail) : status_(status) {
  if (!detail.empty()) details().detail = std::move(detail);
}

const Outcome::Details& Outcome::known() const {
  static const Details none;
  return details_ ? *details_ : none;
}

Outcome::Details& Outcome::details() {
  auto changed = std::make_shared<Details>(known());  // other outcomes may share the old ones
  details_ = changed;
  return *changed;
}

const std::string& Outcome::detail() const {
  return known().detail;
}

std::size_t Outcome::edit() const {
  return known().edit;
}

const std::string& Outcome::log() const {
  return known().log;
}

bool Outcome::mayHaveTouchedFile() const {
  return status_ == Status::kWritten || status_ == Status::kTimesNotKept || known().touched;
}

std::string Outcome::message() const {
  std::string text = textOf(status_);
  if (!detail().empty()) text.append(": ").append(detail());
  return text;
}

}  // namespace tagwriter
