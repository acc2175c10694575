// The ID3v2 frames that hold more than one text.
//
// `value` is UTF-8. The getters return nullopt if there is no such frame.
#pragma once

#include <commentsframe.h>
#include <id3v2tag.h>

#include <optional>

namespace tagwriter {

/// Sets the text of the first TXXX frame with this description, which keeps its encoding, or adds a
/// UTF-8 frame (ID3v2.4 frames, 4.2.6). Null removes that first frame only.
void setID3v2UserTextFrame(TagLib::ID3v2::Tag& tag, const char* description, const char* value);
/// The text of that frame; nullopt if it has only a description.
std::optional<TagLib::String> getID3v2UserText(TagLib::ID3v2::Tag& tag, const char* description);

/// Sets the text of the main comment frame (ID3v2.4 frames, 4.10), or adds one in English, UTF-8,
/// without a description. Null removes every frame that could be the main one.
///
/// The main one is the first in English, or else the first, among those whose description is empty
/// or equals "comment" or "Songs-DB_Custom1" in any ASCII case. Others are never touched.
void setID3v2Comment(TagLib::ID3v2::Tag& tag, const char* value);
/// The main comment frame, owned by the tag; null if there is none.
TagLib::ID3v2::CommentsFrame* findMainID3v2Comment(const TagLib::ID3v2::Tag& tag);

/// Replaces every unsynchronised lyrics frame by one in English, UTF-8, without a description
/// (ID3v2.4 frames, 4.8). An empty value writes an empty frame; null only removes. A standard
/// exception is caught and logged with `path` (may be null).
void setID3v2Lyrics(TagLib::ID3v2::Tag& tag, const char* value, const char* path);

/// Replaces every popularimeter frame (ID3v2.4 frames, 4.17) by one with the byte for `stars`. A
/// standard exception is caught and logged with `path` (may be null).
void setID3v2Rating(TagLib::ID3v2::Tag& tag, const char* id, double stars, const char* path);
/// The stars of the first popularimeter frame.
std::optional<double> getID3v2Rating(const TagLib::ID3v2::Tag& tag, const char* id);

}  // namespace tagwriter
