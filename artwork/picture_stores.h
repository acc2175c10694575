// Where each tag family keeps its pictures, and how one front cover gets in or all get out.
//
// `replace` says what becomes of pictures that are there: true removes them all, false refuses the
// new one.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

#include "artwork/artwork_type.h"

namespace tagwriter {

/// Adds an APIC frame (ID3v2.4 frames, 4.14). Returns whether it was added; a standard exception is
/// logged and gives false.
bool setID3v2Artwork(TagLib::ID3v2::Tag& tag, const TagLib::String& mimeType,
                     const TagLib::ByteVector& image, bool replace);

/// Makes the image the only one of the "covr" item. Returns whether it was set.
bool setMP4Artwork(TagLib::MP4::Tag& tag, const ArtworkFormat& format,
                   const TagLib::ByteVector& image, bool replace);

/// Adds a PICTURE metadata block (FLAC format, METADATA_BLOCK_PICTURE). Returns whether it was
/// added.
bool setFLACArtwork(TagLib::FLAC::File& file, const TagLib::String& mimeType,
                    const TagLib::ByteVector& image, bool replace);

/// Adds a METADATA_BLOCK_PICTURE field, or does nothing when that is refused.
void setXiphArtwork(TagLib::Ogg::XiphComment& comment, const TagLib::ByteVector& image,
                    const TagLib::String& mimeType, bool replace);

/// Sets the attribute "WM/Picture" to the image's bytes as they are, without the structure that the
/// format describes for it (kept). Returns whether it was set.
bool setASFArtwork(TagLib::ASF::Tag& tag, const TagLib::ByteVector& image, bool replace);

/// Sets the binary item "Cover Art (Front)": a file name, a zero byte, the image. Returns whether
/// it was set.
///
/// Whether there is one already is asked with the key as it is spelled, while the library keeps its
/// items by their keys in upper case: it is never found, and the new picture replaces it (kept).
bool setAPEArtwork(TagLib::APE::Tag& tag, const TagLib::ByteVector& image,
                   const ArtworkFormat& format, bool replace);

/// Removes every APIC frame, whatever its picture type.
void removeID3v2Artwork(TagLib::ID3v2::Tag& tag);

/// Empties the "covr" item, which stays (kept). Nothing when there is none.
void removeMP4Artwork(TagLib::MP4::Tag& tag);

/// Removes the front cover item. The library looks keys up in upper case, so the one that
/// setAPEArtwork writes is found although this one is spelled differently (kept).
void removeAPEArtwork(TagLib::APE::Tag& tag);

}  // namespace tagwriter
