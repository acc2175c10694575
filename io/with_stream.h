// From a descriptor to the stream through which TagLib reads and rewrites the file.
#pragma once

#include <utility>

#include "base/unique_fd.h"
#include "io/cpu_limit.h"
#include "io/fd_file_stream.h"
#include "io/staged_stream.h"

namespace tagwriter {

/// How much CPU time an operation may take before its process ends: some damaged files keep TagLib
/// busy for hours.
inline constexpr long kMaxPlanningSeconds = 30;

/// How much larger than before an edit may leave the file, in bytes: more than twice what `request`
/// carries, and some megabytes of padding besides, is no edit but a damaged file.
std::uint64_t maxGrowthFor(const Dictionary& request);

/// Runs operation(stream) on a stream over `fd` that keeps all changes to itself, and puts them
/// into the file when the operation returns true. Returns whether both succeeded: after false the
/// file is as it was, and so it is if the operation takes too long and the process ends. `fd` is
/// closed on every path, also when it cannot be opened as a stream. `path` (UTF-8, never opened,
/// may be null) is the stream's name; `request` is borrowed. What the operation throws passes
/// through.
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
