// Calls an operation with a TagLib stream over a descriptor.
#pragma once

#include <utility>

#include "base/unique_fd.h"
#include "io/fd_file_stream.h"

namespace tagwriter {

/// Returns operation(stream) for a stream over `fd`, open for update if the descriptor allows it.
/// Always closes `fd`, even if it cannot be opened as a stream. `path` (UTF-8, never opened, may be
/// null) is the stream's name; `request` is borrowed. Does not catch the operation's exceptions.
template <typename Operation>
auto withStream(UniqueFd fd, const char* path, const Dictionary& request,
                const Operation& operation) {
  TagLib::FDFileStream stream(fd.get(), path, &request);
  if (stream.isOpen()) (void)fd.release();  // the stream closes it
  return operation(stream);
}

/// The same for a stream that only reads.
template <typename Operation>
auto withStreamToRead(UniqueFd fd, const char* path, const Operation& operation) {
  TagLib::FDFileStream stream(fd.get(), path, nullptr, true);
  if (stream.isOpen()) (void)fd.release();
  return operation(stream);
}

}  // namespace tagwriter
