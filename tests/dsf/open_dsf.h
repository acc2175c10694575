// A DSF file, opened the way the service opens it.
#pragma once

#include <fcntl.h>
#include <id3v2tag.h>

#include <string>

#include "dsf/dsf_file.h"
#include "io/fd_file_stream.h"

namespace tagwriter::test {

/// A DSF file over a descriptor stream. What it writes is on disk when it is gone.
struct OpenDsf {
  explicit OpenDsf(const std::string& path, int flags = O_RDWR);

  /// Takes every frame out of the tag.
  void emptyTag();

  TagLib::FDFileStream stream;
  TagLib::DSF::File file;
};

/// Opens `path`, sets the title, saves and closes. Returns what save() did; a test failure when the
/// file has no tag.
bool editTitle(const std::string& path, const std::string& title);

/// Opens `path`, takes every frame out of the tag, saves and closes. Returns what save() did.
bool saveEmptied(const std::string& path);

/// The title that another program finds, or what it says instead.
std::string titleByMutagen(const std::string& path);

}  // namespace tagwriter::test
