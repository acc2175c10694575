// Saving a file without the harm that the tag library's own save() can do.
#pragma once

#include <flacfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>

namespace tagwriter {

/// Whether everything in `file` fits the sizes of its format. The library writes a FLAC metadata
/// block of more than 16 MiB - 1 bytes with a length that overflows into the block's type (FLAC
/// format, METADATA_BLOCK_HEADER: 24 bits), and such a file is lost.
bool fitsItsFormat(TagLib::File& file);

/// Saves `file` with the library's defaults and returns the save's result.
template <typename File>
bool saveFile(File& file) {
  return file.save();
}

/// An MPEG file without an ID3v1 tag does not get one: the library's own save() would make one by
/// copying from the ID3v2 tag.
bool saveFile(TagLib::MPEG::File& file);

/// A FLAC file that does not fit its format is refused: false, and the file is untouched.
bool saveFile(TagLib::FLAC::File& file);
bool saveFile(TagLib::Ogg::FLAC::File& file);

}  // namespace tagwriter
