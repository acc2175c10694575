// Lets TagLib::FileRef open ".dsf" files as this directory's class.
#pragma once

#include <fileref.h>

namespace TagLib {

/// Opens every file whose name ends in ".dsf" as a DSF::File. FileRef::addFileTypeResolver keeps
/// the resolver for the life of the process, so it must never be destroyed.
///
/// It is a stream resolver because a FileRef over a stream calls a plain resolver with the stream's
/// name, which would open the path.
// TagLib's base class has no virtual destructor. NOLINTNEXTLINE(*-virtual-class-destructor)
class DSFFileTypeResolver final : public FileRef::StreamTypeResolver {
 public:
  /// Opens `fileName` as a DSF file if it ends in ".dsf", in any case, after at least one other
  /// character. The caller owns the new object, which may be invalid. Returns null for other names.
  File* createFile(
      FileName fileName, bool readAudioProperties = true,
      AudioProperties::ReadStyle audioPropertiesStyle = AudioProperties::Average) const override;

  /// The same for `stream`, going by its name; nothing is opened. The caller keeps the stream,
  /// which must outlive the new object.
  File* createFileFromStream(
      IOStream* stream, bool readAudioProperties = true,
      AudioProperties::ReadStyle audioPropertiesStyle = AudioProperties::Average) const override;
};

/// Registers a resolver with TagLib::FileRef. Only the first call in the process has an effect.
/// Thread-safe.
void registerDSFFileTypeResolver();

}  // namespace TagLib
