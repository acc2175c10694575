// Saves a file, and prevents damage that TagLib's save() can do.
#pragma once

#include <asffile.h>
#include <fileref.h>
#include <flacfile.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <oggflacfile.h>

namespace tagwriter {

/// Saves `file` with TagLib's defaults and returns the result.
template <typename File>
bool saveFile(File& file) {
  return file.save();
}

/// An MPEG file without an ID3v1 tag does not get one: TagLib's save() would create one with values
/// copied from the ID3v2 tag.
bool saveFile(TagLib::MPEG::File& file);

/// Returns false, and leaves the file unchanged, if a metadata block would exceed 16 MiB - 1 bytes.
/// TagLib would write a length that overflows into the block's type and destroy the file (FLAC
/// format, METADATA_BLOCK_HEADER).
bool saveFile(TagLib::FLAC::File& file);

/// The same for the comment of an Ogg FLAC file. Also rejects a file without a comment: TagLib
/// would overwrite the stream's header with a new one. If the comment is the last metadata block,
/// keeps the last-block flag, which TagLib clears; without it, TagLib considers the file
/// damaged.
bool saveFile(TagLib::Ogg::FLAC::File& file);

/// Rejects a WMA file if its title, artist, copyright, comment or rating is too long for a 16-bit
/// length: TagLib would truncate the length, and the data after the text would be lost (ASF
/// specification, 3.10).
bool saveFile(TagLib::ASF::File& file);

/// Keeps the fragments of an MP4 file playable (io/mp4_fragments.h).
bool saveFile(TagLib::MP4::File& file);

/// Calls FileRef::save(), with the same checks and repairs for FLAC, Ogg FLAC, WMA and MP4 files.
bool saveReference(TagLib::FileRef& reference);

}  // namespace tagwriter
