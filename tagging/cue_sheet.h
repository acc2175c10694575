// The cue sheet. It is stored only in Xiph comments and APE tags, and only if the file already has
// one. That is why it has a separate writer.
#pragma once

#include <apetag.h>
#include <xiphcomment.h>

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// The name of the Xiph field and the APE item.
inline constexpr char kCueSheetName[] = "CUESHEET";

/// Replaces all values of "CUESHEET" by `text`. Does nothing if `comment` is null.
void addXiphCueSheet(TagLib::Ogg::XiphComment* comment, const TagLib::String& text);

/// The same for an APE tag.
void addAPECueSheet(TagLib::APE::Tag* tag, const TagLib::String& text);

/// Sets the cue sheet (UTF-8) of a tag, or removes it if null.
void setCueSheet(TagLib::Ogg::XiphComment& comment, const char* cueSheet);
void setCueSheet(TagLib::APE::Tag& tag, const char* cueSheet);

/// Writes the cue sheet (UTF-8), or removes it if null. Always closes `fd`. `path` (UTF-8, never
/// opened, may be null) determines the format; `request` is borrowed.
/// Returns the result of the save; false for formats without cue sheets, for an invalid file, and
/// for a Monkey's Audio or WavPack file without an APE tag. A FLAC file without a comment is saved
/// without the cue sheet. Does not catch TagLib's exceptions.
bool writeCueSheet(UniqueFd fd, const char* path, const char* cueSheet, const Dictionary& request);

}  // namespace tagwriter
