// Saving a file without the damage that TagLib's own save() can do.
#pragma once

#include <asffile.h>
#include <fileref.h>
#include <flacfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>

namespace tagwriter {

/// Saves `file` with TagLib's defaults and returns the save's result.
template <typename File>
bool saveFile(File& file) {
  return file.save();
}

/// An MPEG file without an ID3v1 tag does not get one: TagLib's save() would create one with values
/// copied from the ID3v2 tag.
bool saveFile(TagLib::MPEG::File& file);

/// A FLAC file with a metadata block above 16 MiB - 1 bytes is refused: false, and the file is
/// untouched. TagLib would write the block with a length that overflows into the block's type and
/// so destroy the file (FLAC format, METADATA_BLOCK_HEADER).
bool saveFile(TagLib::FLAC::File& file);

/// The same for the comment of an Ogg FLAC file. A file without a comment is refused as well:
/// TagLib would overwrite the stream's header with the new one. Where the comment is the last
/// metadata block it stays marked as the last; TagLib clears the mark, and then takes the file for
/// damaged.
bool saveFile(TagLib::Ogg::FLAC::File& file);

/// A WMA file whose title, artist, copyright, comment or rating does not fit 16 bits is refused:
/// TagLib would write a length that is too short, and what follows would be lost (ASF
/// specification, 3.10).
bool saveFile(TagLib::ASF::File& file);

/// FileRef::save() with the refusals and the repair for FLAC, Ogg FLAC and WMA files.
bool saveReference(TagLib::FileRef& reference);

}  // namespace tagwriter
