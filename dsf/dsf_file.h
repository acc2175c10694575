// DSF files (DSD streams) for the tag library, which has no class of its own for them.
//
// A DSF file is a row of chunks, all numbers little-endian: "DSD ", which holds a pointer to the
// metadata; "fmt " and "data", which DSF::Properties reads; and, from the pointer to the end of the
// file, one ID3v2 tag. Only the tag and the pointer are ever rewritten.
#pragma once

#include <id3v2tag.h>
#include <tfile.h>

#include <memory>

#include "dsf/dsf_properties.h"

namespace TagLib::DSF {

/// A DSF file and its ID3v2 tag (DSF File Format Specification, version 1.01).
class File : public TagLib::File {
 public:
  /// Opens the file called `file` through the library's own file stream, for update when that is
  /// allowed, and reads it. The properties are read when `readProperties` is set, always with style
  /// Average: `propertiesStyle` is not passed on (kept).
  /// On failure isOpen() or isValid() is false and tag() is null.
  explicit File(FileName file, bool readProperties = true,
                AudioProperties::ReadStyle propertiesStyle = AudioProperties::Average);

  /// As above, on a stream that stands at the file's start. The stream stays the caller's and has
  /// to outlive this object.
  explicit File(IOStream* stream, bool readProperties = true,
                AudioProperties::ReadStyle propertiesStyle = AudioProperties::Average);

  ~File() override;

  /// The file's tag, which is empty when the file has none. Owned by this object; null when the
  /// file is not a DSF file.
  ID3v2::Tag* tag() const override;

  /// The audio properties, owned by this object; null when they were not read.
  Properties* audioProperties() const override;

  /// Puts the tag into the file: in the place of the old one, or at the file's end together with
  /// the pointer to it. An empty tag is taken out instead, and the pointer becomes 0. The file size
  /// that the DSD chunk states is left as it was (kept). Returns false for a file that is read-only
  /// or not a DSF file. Otherwise returns true, whatever becomes of the writes: the stream reports
  /// none of it.
  bool save() override;

 private:
  void read(bool readProperties);
  void removeMetadata();
  void writeMetadata();
  void writeMetadataPointer();

  class FilePrivate;
  std::unique_ptr<FilePrivate> d;
};

}  // namespace TagLib::DSF
