#include "client/tag_writer.h"

namespace tagwriter {
namespace {

const char* sentenceOf(Status status) {
  switch (status) {
    case Status::kWritten:
      return "written";
    case Status::kRefused:
      return "not written: the file is not audio of its type, the type does not take this, or "
             "there was nothing to remove";
    case Status::kIncomplete:
      return "not written completely";
    case Status::kNoAnswer:
      return "the service did not answer";
    case Status::kServiceUnavailable:
      return "the service cannot be started";
    case Status::kUnknownField:
      return "no such field";
    case Status::kInvalidText:
      return "the text is not UTF-8, or holds a zero byte";
    case Status::kNotFound:
      return "cannot be opened";
    case Status::kNotRegularFile:
      return "not a regular file";
    case Status::kNotWritable:
      return "not writable";
    case Status::kOpenedForAppend:
      return "the descriptor is open for append, where nothing can be written in its place";
    case Status::kFileTooLarge:
      return "the file would outgrow the 32-bit sizes of its format";
    case Status::kRequestTooLarge:
      return "the request would exceed 64 MiB";
    case Status::kHasPicture:
      return "has a picture already, which was not to be replaced";
    case Status::kCopyFailed:
      return "no faithful copy can be made";
    case Status::kCopyUnreadable:
      return "the edited copy cannot be read, so the file was left as it is";
    case Status::kReplaceFailed:
      return "the edited copy cannot take the file's place";
    case Status::kTimesNotKept:
      return "written, but its modification time could not be kept";
  }
  return "";
}

}  // namespace

std::string Outcome::message() const {
  std::string text = sentenceOf(status);
  if (!detail.empty()) text.append(": ").append(detail);
  return text;
}

}  // namespace tagwriter
