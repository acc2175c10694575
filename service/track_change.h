// From the name of a changed field to its writer.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// The work item of a track-field request, for one synchronous run on the serial queue.
struct TrackChangeRequest {
  /// The open audio file, which passes to the writer.
  UniqueFd fd;
  /// The file's path (UTF-8), or null.
  const char* path;
  /// The name of the field that changed, or null.
  const char* changedKey;
  /// The track's values; only the changed field's are read.
  const Dictionary& track;
  /// The request, for the writer.
  const Dictionary& request;
  /// Receives the writer's result.
  bool& result;

  /// Calls the writer of the changed field; to be called once. An unknown or absent key closes the
  /// descriptor and gives false; nothing is logged.
  void run();
};

}  // namespace tagwriter
