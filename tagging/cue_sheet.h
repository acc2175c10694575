// The cue sheet, which goes into Xiph comments and APE tags only, and by a road of its own: it is
// never the reason to give a file a tag.
#pragma once

#include <apetag.h>
#include <xiphcomment.h>

#include "protocol/dictionary.h"

namespace tagwriter {

/// Puts `text` under "CUESHEET" in the place of all its values; nothing when `comment` is null.
void addXiphCueSheet(TagLib::Ogg::XiphComment* comment, const TagLib::String& text);

/// The same for an APE tag.
void addAPECueSheet(TagLib::APE::Tag* tag, const TagLib::String& text);

/// Writes the cue sheet (UTF-8), or removes it when null. `fd` is taken over and closed on every
/// path; `path` (UTF-8, never opened, may be null) picks the format; `request` is borrowed.
/// Returns the save's result; false for formats that take no cue sheet, for a file that is not
/// valid, and for a Monkey's Audio or WavPack file without an APE tag. A FLAC file without a
/// comment is saved without the cue sheet. Exceptions of the library pass through.
bool writeCueSheet(int fd, const char* path, const char* cueSheet, const Dictionary& request);

}  // namespace tagwriter
