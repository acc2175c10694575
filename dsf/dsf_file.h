// DSF files (DSD streams), for which TagLib 1 has no class. TagLib 2 has one of the same name,
// which saves differently; the inline namespace keeps the two apart.
//
// A DSF file is a sequence of chunks, with all numbers little-endian: "DSD ", which has a pointer
// to the metadata; "fmt " and "data", which DSF::Properties reads; and, from the pointer to the end
// of the file, one ID3v2 tag. Only the tag and the pointer are ever rewritten.
#pragma once

#include <id3v2tag.h>
#include <tfile.h>

#include <memory>

#include "dsf/dsf_properties.h"

namespace TagLib::DSF {
inline namespace tagwriter {

/// A DSF file and its ID3v2 tag (DSF File Format Specification, version 1.01).
class File : public TagLib::File {
 public:
  /// Opens and reads the file named `file` through TagLib's own file stream, for update if that is
  /// allowed. `readProperties` says whether to read the audio properties. `propertiesStyle` is
  /// ignored, since there is only one way to read them.
  /// On failure isOpen() or isValid() is false and tag() is null.
  explicit File(FileName file, bool readProperties = true,
                AudioProperties::ReadStyle propertiesStyle = AudioProperties::Average);

  /// As above, on a stream positioned at the start of the file. The caller keeps the stream, which
  /// must outlive this object.
  explicit File(IOStream* stream, bool readProperties = true,
                AudioProperties::ReadStyle propertiesStyle = AudioProperties::Average);

  ~File() override;

  /// The file's tag, which is empty if the file has none. Owned by this object; null if the file is
  /// not a DSF file.
  ID3v2::Tag* tag() const override;

  /// The audio properties, owned by this object; null if they were not read.
  Properties* audioProperties() const override;

  /// Writes the tag: in place of the old one, or at the end of the file, and sets the pointer.
  /// An empty tag is removed instead, and the pointer set to 0.
  /// Quirk: the file size in the DSD chunk is not updated, so that nothing but the pointer changes
  /// outside the tag.
  /// Returns false if the file is read-only or not a DSF file, and true otherwise, even if a write
  /// fails: streams do not report that.
  bool save() override;

 private:
  void read(bool readProperties);
  void removeMetadata();
  void writeMetadata();
  void writeMetadataPointer();

  class FilePrivate;
  std::unique_ptr<FilePrivate> d;
};

}  // namespace tagwriter
}  // namespace TagLib::DSF
