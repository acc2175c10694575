#include "service/request_handler.h"

#include <mutex>

#include "protocol/keys.h"
#include "service/serial_queue.h"
#include "service/track_change.h"

namespace tagwriter {
namespace {

/// Made once and never destroyed.
SerialQueue* workQueue = nullptr;

}  // namespace

void setUpOnce() {
  static std::once_flag once;
  std::call_once(once, [] { workQueue = new SerialQueue("org.tagwriter.TagWriter.taglib-queue"); });
}

bool handleRequest(const Dictionary& request) {
  setUpOnce();
  const char* path = request.getString(key::kPath);
  bool result = false;

  const int fd = request.duplicateDescriptor(key::kFd);
  // Zero counts as failure too, although it is a descriptor (kept).
  if (fd <= 0) return result;

  const char* changedKey = request.getString(key::kChangedTag);
  const Dictionary* track = request.getDictionary(key::kTrack);
  if (!track) return result;  // the duplicate stays open (kept)

  const TrackChangeRequest change{fd, path, changedKey, *track, request, result};
  workQueue->runAndWait([&change] { change.run(); });
  return result;
}

}  // namespace tagwriter
