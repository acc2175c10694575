#include "service/request_handler.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <mutex>
#include <utility>

#include "artwork/clear_artwork.h"
#include "artwork/write_artwork.h"
#include "dsf/dsf_file_type_resolver.h"
#include "protocol/keys.h"
#include "service/serial_queue.h"
#include "service/track_change.h"

namespace tagwriter {
namespace {

/// Reading from a pipe or a device could block the queue forever, and with O_APPEND every write
/// would go to the end of the file.
bool isEditable(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && !(::fcntl(fd, F_GETFL) & O_APPEND);
}

/// Created once and never destroyed.
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

  UniqueFd fd = request.duplicateDescriptor(key::kFd);
  if (fd.get() <= 0) {
    (void)fd.release();  // Quirk: 0 counts as a failure too, and is not closed
    return false;
  }
  if (!isEditable(fd.get())) return false;

  if (const auto artwork = request.getData(key::kArtwork)) {
    const std::int64_t type = request.getInt64(key::kArtworkType);
    workQueue->runAndWait(
        [&] { result = writeArtwork(std::move(fd), path, artwork, type, request); });
    return result;
  }

  if (request.getBool(key::kClearArtwork)) {
    workQueue->runAndWait([&] { result = clearArtwork(std::move(fd), path, request); });
    return result;
  }

  const char* changedKey = request.getString(key::kChangedTag);
  const Dictionary* track = request.getDictionary(key::kTrack);
  if (!track) {
    (void)fd.release();  // Quirk: it stays open
    return false;
  }

  TrackChangeRequest change{std::move(fd), path, changedKey, *track, request, result};
  workQueue->runAndWait([&change] { change.run(); });
  return result;
}

}  // namespace tagwriter
