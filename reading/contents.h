// Everything that is read from a file.
#pragma once

#include <string>

#include "base/unique_fd.h"
#include "reading/fields.h"
#include "reading/pictures.h"
#include "reading/tags.h"

namespace tagwriter {

/// The tags, fields and pictures of one file.
struct Contents {
  bool isReadable = false;  ///< whether TagLib reads the file, whatever its type; if not, no tags
  bool isAudio = false;     ///< whether it also reads the file as the type that the name says
  bool isTagged = false;    ///< whether it has the tag that the service edits in files of that type
  TagListing tags;
  StoredFields fields;
  StoredFields info;  ///< those in the INFO list of a WAV file; see docs/FAILURES.md
  Pictures pictures;
};

/// Reads the regular file `fd`, which is always closed. `path` (never opened, may be null) is its
/// name. Registers the DSF file type with TagLib for the life of the process. Does not catch
/// TagLib's exceptions. A file that keeps TagLib busy for too long ends the process
/// (io/cpu_limit.h).
Contents readContents(UniqueFd fd, const char* path);

}  // namespace tagwriter
