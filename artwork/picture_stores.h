// Where each tag family keeps its pictures: storing one front cover, removing all pictures.
//
// `replace` says what happens to existing pictures: true removes them all, false refuses the new
// one. `mimeType` is the image's, null when it is not known.
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

/// Adds a METADATA_BLOCK_PICTURE field, or does nothing when pictures are there to stay.
void setXiphArtwork(TagLib::Ogg::XiphComment& comment, const TagLib::ByteVector& image,
                    const TagLib::String& mimeType, bool replace);

/// Sets the attribute "WM/Picture" to the image's bytes as they are. Returns whether it was set.
/// Quirk: without the structure that the format describes for it (ASF specification, WM/Picture);
/// players rely on the bare bytes.
bool setASFArtwork(TagLib::ASF::Tag& tag, const TagLib::ByteVector& image, bool replace);

/// Sets the binary item "Cover Art (Front)": a file name for `artworkType`, a zero byte, the image.
/// Returns whether it was set.
///
/// Quirk: an existing item is looked up by the key as it is spelled, while TagLib keeps its items
/// by their keys in upper case. So it is never found, and the new picture replaces it in any case.
bool setAPEArtwork(TagLib::APE::Tag& tag, const TagLib::ByteVector& image, std::int64_t artworkType,
                   bool replace);

/// Removes every APIC frame, whatever its picture type.
void removeID3v2Artwork(TagLib::ID3v2::Tag& tag);

// The same in any family.

inline void removeArtwork(TagLib::ID3v2::Tag& tag) {
  removeID3v2Artwork(tag);
}
/// Quirk: empties the "covr" item, which stays. Nothing when there is none.
void removeArtwork(TagLib::MP4::Tag& tag);
void removeArtwork(TagLib::Ogg::XiphComment& comment);
void removeArtwork(TagLib::ASF::Tag& tag);
/// Removes the front cover item. TagLib looks keys up in upper case, so the item that setAPEArtwork
/// writes is found although the key is spelled differently here.
void removeArtwork(TagLib::APE::Tag& tag);

}  // namespace tagwriter
