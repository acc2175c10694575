#include "service/request_handler.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

#include "artwork/clear_artwork.h"
#include "artwork/write_artwork.h"
#include "dsf/dsf_file_type_resolver.h"
#include "protocol/keys.h"
#include "service/serial_queue.h"
#include "service/track_change.h"

namespace tagwriter {
namespace {

/// Reading from a pipe or a device could keep the one queue waiting for ever, and a descriptor for
/// append would put every write behind the file's end.
bool isEditable(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && !(::fcntl(fd, F_GETFL) & O_APPEND);
}

/// Made once and never destroyed.
SerialQueue* workQueue = nullptr;

}  // namespace

void setUpOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    workQueue = new SerialQueue("org.tagwriter.TagWriter.taglib-queue");
    TagLib::registerDSFFileTypeResolver();
  });
}

bool handleRequest(const Dictionary& request) {
  setUpOnce();
  const char* path = request.getString(key::kPath);
  bool result = false;

  const int fd = request.duplicateDescriptor(key::kFd).release();
  // Zero counts as failure too, although it is a descriptor (kept).
  if (fd <= 0) return result;
  if (!isEditable(fd)) {
    ::close(fd);
    return result;
  }

  if (const auto artwork = request.getData(key::kArtwork)) {
    const std::int64_t type = request.getInt64(key::kArtworkType);
    workQueue->runAndWait([&] { result = writeArtwork(fd, path, artwork, type, request); });
    return result;
  }

  if (request.getBool(key::kClearArtwork)) {
    workQueue->runAndWait([&] { result = clearArtwork(fd, path, request); });
    return result;
  }

  const char* changedKey = request.getString(key::kChangedTag);
  const Dictionary* track = request.getDictionary(key::kTrack);
  if (!track) return result;  // the duplicate stays open (kept)

  const TrackChangeRequest change{fd, path, changedKey, *track, request, result};
  workQueue->runAndWait([&change] { change.run(); });
  return result;
}

}  // namespace tagwriter
