// Which fields the tags of each file type store.
//
// How they are stored is in tagging/field_table.h, which needs TagLib: a client cannot include it.
// The compiler checks there that both agree.
#pragma once

#include <string_view>

#include "protocol/fields.h"
#include "protocol/file_type.h"

namespace tagwriter {

/// The tag formats that the service writes fields into.
enum class TagFamily { kNone, kID3v2, kMP4, kXiph, kASF, kAPE };

/// The family of the tag that the service edits in files of `type`; kNone if it edits none.
constexpr TagFamily tagFamilyOf(TagFileType type) {
  switch (type) {
    case kTagFileMP3:
    case kTagFileAIFF:
    case kTagFileWAV:
    case kTagFileDSF:
      return TagFamily::kID3v2;
    case kTagFileMP4:
    case kTagFileM4P:
      return TagFamily::kMP4;
    case kTagFileFLAC:
    case kTagFileOgg:
    case kTagFileOGA:
    case kTagFileOpus:
      return TagFamily::kXiph;
    case kTagFileWMA:
      return TagFamily::kASF;
    case kTagFileAPE:
    case kTagFileWavPack:
    case kTagFileMPC:
      return TagFamily::kAPE;
    default:
      return TagFamily::kNone;
  }
}

namespace field {

/// Whether TagLib's generic tag class has the field. It writes the field into any file that it can
/// read, whatever the name of the file says.
constexpr bool isCore(std::string_view key) {
  return key == kTitle || key == kArtist || key == kAlbum || key == kGenre || key == kYear;
}

/// Whether the tags of this family store the field with exactly this key.
constexpr bool isKept(std::string_view key, TagFamily family) {
  if (key == kCueSheet) return family == TagFamily::kXiph || family == TagFamily::kAPE;
  return key != kTotalNumberOfTracks || family != TagFamily::kASF;
}

/// The same for files of a type: the service writes no cue sheet into a Musepack file.
constexpr bool isKept(std::string_view key, TagFileType type) {
  return isKept(key, tagFamilyOf(type)) && (key != kCueSheet || type != kTagFileMPC);
}

}  // namespace field
}  // namespace tagwriter
