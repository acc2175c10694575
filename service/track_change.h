// Calls the writer of the field that a request changes.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// The work item for a field change, which runs once on the serial queue.
struct TrackChangeRequest {
  /// The open audio file; run() gives it to the writer.
  UniqueFd fd;
  /// The file's path (UTF-8), or null.
  const char* path;
  /// The key of the changed field, or null.
  const char* changedKey;
  /// The track's values. Only the changed field and its companion are read.
  const Dictionary& track;
  /// The whole request, for the writer.
  const Dictionary& request;
  /// Receives the writer's result.
  bool& result;

  /// Calls the writer of the changed field. Must be called only once. If the key is unknown or
  /// null, closes the descriptor and sets the result to false, without logging.
  void run();
};

}  // namespace tagwriter
