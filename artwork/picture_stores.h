// Stores one front cover, or removes all pictures, in each tag family.
//
// If `replace` is true, existing pictures are removed; otherwise they are kept and the new one is
// rejected. `mimeType` is the type of the image, the null string if unknown.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

#include "artwork/artwork_format.h"

namespace tagwriter {

/// Adds an APIC frame (ID3v2.4 frames, 4.14). Returns whether it was added. A standard exception is
/// logged, and false is returned.
bool setID3v2Artwork(TagLib::ID3v2::Tag& tag, const TagLib::String& mimeType,
                     const TagLib::ByteVector& image, bool replace);

/// Sets the "covr" item to this image only. Returns whether it was set.
bool setMP4Artwork(TagLib::MP4::Tag& tag, const ArtworkFormat& format,
                   const TagLib::ByteVector& image, bool replace);

/// Adds a PICTURE metadata block (FLAC format, METADATA_BLOCK_PICTURE). Returns whether it was
/// added.
bool setFLACArtwork(TagLib::FLAC::File& file, const TagLib::String& mimeType,
                    const TagLib::ByteVector& image, bool replace);

/// Adds a METADATA_BLOCK_PICTURE field. Does nothing if existing pictures must be kept.
void setXiphArtwork(TagLib::Ogg::XiphComment& comment, const TagLib::ByteVector& image,
                    const TagLib::String& mimeType, bool replace);

/// Sets the attribute "WM/Picture" to the bytes of the image. Returns whether it was set.
/// Quirk: the format wants them in a structure (ASF specification, WM/Picture), but players rely on
/// the bare bytes.
bool setASFArtwork(TagLib::ASF::Tag& tag, const TagLib::ByteVector& image, bool replace);

/// Sets the binary item "Cover Art (Front)": a file name for `artworkType`, a zero byte, the image.
/// Returns whether it was set.
///
/// Quirk: the check for an existing item uses the key as it is spelled, but TagLib's map has the
/// keys in upper case. So the item is never found, and the new picture always replaces it.
bool setAPEArtwork(TagLib::APE::Tag& tag, const TagLib::ByteVector& image, std::int64_t artworkType,
                   bool replace);

/// Removes every APIC frame, whatever its picture type.
void removeID3v2Artwork(TagLib::ID3v2::Tag& tag);

// Removes all pictures, in each family.

inline void removeArtwork(TagLib::ID3v2::Tag& tag) {
  removeID3v2Artwork(tag);
}
/// Quirk: empties the "covr" item but keeps it. Does nothing if there is none.
void removeArtwork(TagLib::MP4::Tag& tag);
void removeArtwork(TagLib::Ogg::XiphComment& comment);
void removeArtwork(TagLib::ASF::Tag& tag);
/// Removes only the front cover item. TagLib converts the key to upper case, so this finds the item
/// that setAPEArtwork writes, although the key is spelled differently.
void removeArtwork(TagLib::APE::Tag& tag);

}  // namespace tagwriter
