// Lets the library's generic file reference open ".dsf" files, which it does not know.
#pragma once

#include <fileref.h>

namespace TagLib {

/// Makes a DSF::File of every file whose name ends in ".dsf". One object is handed to
/// FileRef::addFileTypeResolver, which never takes it out again, so it must not go away.
///
/// A stream resolver, because a file reference over a stream would call a plain one with the
/// stream's name, and that would open the path.
// The library's class has no virtual destructor. NOLINTNEXTLINE(*-virtual-class-destructor)
class DSFFileTypeResolver final : public FileRef::StreamTypeResolver {
 public:
  /// Opens `fileName` as a DSF file if it ends in ".dsf", whatever the case of the letters, and has
  /// at least one character before that. The new object is the caller's, and may be invalid.
  /// Returns null for any other name.
  File* createFile(
      FileName fileName, bool readAudioProperties = true,
      AudioProperties::ReadStyle audioPropertiesStyle = AudioProperties::Average) const override;

  /// The same, over `stream` and by its name; nothing is opened. The stream stays the caller's and
  /// has to outlive the new object.
  File* createFileFromStream(
      IOStream* stream, bool readAudioProperties = true,
      AudioProperties::ReadStyle audioPropertiesStyle = AudioProperties::Average) const override;
};

/// Hands a resolver to the library's generic file reference, once in the process; later calls do
/// nothing. May be called from several threads.
void registerDSFFileTypeResolver();

}  // namespace TagLib
