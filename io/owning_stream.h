// A descriptor stream that owns its descriptor whatever happens.
#pragma once

#include <unistd.h>

#include "io/fd_file_stream.h"

namespace tagwriter {

/// An FDFileStream that closes its descriptor at its end also when that could not be opened as a
/// stream, as one for writing only cannot.
class OwningStream final : public TagLib::FDFileStream {
 public:
  /// Takes `fd` over; the other parameters are FDFileStream's.
  OwningStream(int fd, const char* path, const Dictionary* request, bool openReadOnly = false)
      : FDFileStream(fd, path, request, openReadOnly), fd_(fd) {}
  OwningStream(const OwningStream&) = delete;
  OwningStream& operator=(const OwningStream&) = delete;
  ~OwningStream() override {
    if (!isOpen()) ::close(fd_);
  }

 private:
  int fd_;
};

}  // namespace tagwriter
