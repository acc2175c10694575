// Opens and reads a file that the user names.
#pragma once

#include <string>

#include "base/unique_fd.h"
#include "client/reader.h"

namespace tagwriter {

/// A file that is open for reading, with what is in it.
struct OpenedFile {
  UniqueFd fd;
  FileContents contents;
};

/// Reads the audio file at `path`. Returns why that is impossible; an empty text on success.
std::string readFile(const std::string& path, Reader& reader, OpenedFile& file);

}  // namespace tagwriter
