// Saving a file without the harm that the tag library's own save() can do.
#pragma once

#include <asffile.h>
#include <fileref.h>
#include <flacfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>

namespace tagwriter {

/// Saves `file` with the library's defaults and returns the save's result.
template <typename File>
bool saveFile(File& file) {
  return file.save();
}

/// An MPEG file without an ID3v1 tag does not get one: the library's own save() would make one by
/// copying from the ID3v2 tag.
bool saveFile(TagLib::MPEG::File& file);

/// A FLAC file with a metadata block above 16 MiB - 1 bytes is refused: false, and the file is
/// untouched. The library would write the block with a length that overflows into the block's type,
/// and the file would be lost (FLAC format, METADATA_BLOCK_HEADER).
bool saveFile(TagLib::FLAC::File& file);

/// The same for the comment of an Ogg FLAC file, which is refused as well when it has none: the
/// library would put it in the place of the stream's header. Where the comment is the last metadata
/// block it stays marked as the last; the library drops the mark, and takes the file for damaged
/// from then on.
bool saveFile(TagLib::Ogg::FLAC::File& file);

/// A WMA file whose title, artist, copyright, comment or rating does not fit 16 bits is refused:
/// the library would write a length that is too short, and what follows would be lost (ASF
/// specification, 3.10).
bool saveFile(TagLib::ASF::File& file);

/// FileRef::save() with the refusals and the repair for FLAC, Ogg FLAC and WMA files.
bool saveReference(TagLib::FileRef& reference);

}  // namespace tagwriter
