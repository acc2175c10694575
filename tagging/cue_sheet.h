// The cue sheet, which goes into Xiph comments and APE tags only and is never the reason to give a
// file a tag. So it has a writer of its own.
#pragma once

#include <apetag.h>
#include <xiphcomment.h>

#include "base/unique_fd.h"
#include "protocol/dictionary.h"

namespace tagwriter {

/// The Xiph field and the APE item.
inline constexpr char kCueSheetName[] = "CUESHEET";

/// Replaces all values of "CUESHEET" by `text`; does nothing when `comment` is null.
void addXiphCueSheet(TagLib::Ogg::XiphComment* comment, const TagLib::String& text);

/// The same for an APE tag.
void addAPECueSheet(TagLib::APE::Tag* tag, const TagLib::String& text);

/// Sets the cue sheet (UTF-8) of a tag, or removes it when null.
void setCueSheet(TagLib::Ogg::XiphComment& comment, const char* cueSheet);
void setCueSheet(TagLib::APE::Tag& tag, const char* cueSheet);

/// Writes the cue sheet (UTF-8), or removes it when null. `fd` is closed on every path; `path`
/// (UTF-8, never opened, may be null) picks the format; `request` is borrowed.
/// Returns the save's result; false for formats that take no cue sheet, for a file that is not
/// valid, and for a Monkey's Audio or WavPack file without an APE tag. A FLAC file without a
/// comment is saved without the cue sheet. Exceptions of TagLib pass through.
bool writeCueSheet(UniqueFd fd, const char* path, const char* cueSheet, const Dictionary& request);

}  // namespace tagwriter
