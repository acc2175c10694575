// Recognises files that are plainly not the audio file that their name says, by their first bytes.
//
// The service believes the name, and takes an unknown extension for an MP3: it would put a tag in
// front of an image or a program. So the library looks first. It compares bytes and parses nothing.
#pragma once

#include <string>

#include "client/tag_writer.h"

namespace tagwriter {

/// Whether tags may be written into the open file `fd` (borrowed, readable; its offset stays) with
/// the name `path`. If not:
/// - kUnknownType: tags are not written into files with this extension.
/// - kEmptyFile: there is nothing in it.
/// - kOtherContent: it is plainly something else than its name says. The detail says what. A file
///   that is not recognised passes, because an MP3 may start with junk.
/// - kUnreadable: its first bytes cannot be read.
Outcome checkContent(int fd, const std::string& path);

}  // namespace tagwriter
