// Opens a descriptor as the stream through which TagLib reads and edits the file.
#pragma once

#include <utility>

#include "base/unique_fd.h"
#include "io/cpu_limit.h"
#include "io/fd_file_stream.h"
#include "io/staged_stream.h"

namespace tagwriter {

/// How much CPU time planning an edit may take before the process is ended: some damaged files keep
/// TagLib busy for hours.
inline constexpr long kMaxPlanningSeconds = 30;

/// How many bytes an edit may add to the file: twice the size of the cover and the new text in
/// `request`, plus some megabytes for padding. If TagLib adds more, the file is damaged.
std::uint64_t maxGrowthFor(const Dictionary& request);

/// Runs operation(stream) on a stream over `fd` that keeps all changes in memory, and writes them
/// to the file if the operation returns true. Returns whether both succeeded (for the second part
/// see StagedStream::commit()). After false the file is as it was, and also if the operation takes
/// too long and the process ends. `fd` is closed in any case, even if it cannot be opened as a
/// stream. `path` (UTF-8, never opened, may be null) is the stream's name; `request` is borrowed.
/// Exceptions of the operation pass through.
template <typename Operation>
bool withStream(UniqueFd fd, const char* path, const Dictionary& request,
                const Operation& operation) {
  TagLib::FDFileStream file(fd.get(), path, &request);
  if (file.isOpen()) (void)fd.release();  // the stream closes it
  TagLib::StagedStream stream(file, maxGrowthFor(request));
  const bool isPlanned = [&] {
    const CpuLimit limit(kMaxPlanningSeconds);
    return operation(stream);
  }();
  return isPlanned && stream.commit();
}

/// Returns operation(stream) for a stream over `fd` that only reads. Parameters as above.
template <typename Operation>
auto withStreamToRead(UniqueFd fd, const char* path, const Operation& operation) {
  TagLib::FDFileStream file(fd.get(), path, nullptr, true);
  if (file.isOpen()) (void)fd.release();
  TagLib::StagedStream stream(file, 0);
  return operation(stream);
}

}  // namespace tagwriter
