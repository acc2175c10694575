// The generic text editors, one a tag family, from which most cells of the field table are made.
//
// `name` is the frame's, item's, field's or attribute's, in Latin-1. `value` is UTF-8; null
// removes. An empty value removes ID3v2 text frames only; every other family is given the empty
// string as it is (kept). What the library makes of that stands: a Xiph field and an APE item with
// an empty value are not written.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <commentsframe.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

namespace tagwriter {

/// Replaces every frame called `id` by one UTF-8 text frame (ID3v2.4 frames, 4.2). A standard
/// exception is logged and the editor returns as if nothing had happened; the old frames may then
/// be gone.
void setID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const TagLib::String& text);

/// setID3v2TextFrame, or the removal of every frame called `id` when the value is null or empty.
void editID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const char* value);

/// Sets the text of the first TXXX frame with this description, which keeps its encoding, or adds a
/// UTF-8 frame (ID3v2.4 frames, 4.2.6). Null removes that first frame only.
void setID3v2UserTextFrame(TagLib::ID3v2::Tag& tag, const char* description, const char* value);

/// Sets the text of the main comment frame (ID3v2.4 frames, 4.10), or adds one in English, UTF-8,
/// without a description. Null removes every frame that could be the main one.
///
/// The main one is the first in English, or else the first, among those whose description is empty
/// or equals "comment" or "Songs-DB_Custom1" in any ASCII case. Others are never touched.
void setID3v2Comment(TagLib::ID3v2::Tag& tag, const char* value);

/// The main comment frame, owned by the tag; null when there is none.
TagLib::ID3v2::CommentsFrame* findMainID3v2Comment(const TagLib::ID3v2::Tag& tag);

/// Replaces every unsynchronised lyrics frame by one in English, UTF-8, without a description
/// (ID3v2.4 frames, 4.8); an empty value leaves an empty frame, null none. A standard exception is
/// logged with `path` and goes no further.
void setID3v2Lyrics(TagLib::ID3v2::Tag& tag, const char* value, const char* path);

/// Sets an item of the "ilst" atom to one string; null removes the item.
void setMP4TextItem(TagLib::MP4::Tag& tag, const char* name, const char* value);

/// Sets a field to one value in the place of all its values; null removes all of them (Vorbis
/// comment specification).
void setXiphTextField(TagLib::Ogg::XiphComment& comment, const char* name, const char* value);

/// Sets an attribute to one Unicode string; null removes the attribute (ASF specification, 3.10 and
/// 3.11).
void setASFTextAttribute(TagLib::ASF::Tag& tag, const char* name, const char* value);

/// Sets an item to one text; null removes the item (APEv2 specification).
void setAPETextItem(TagLib::APE::Tag& tag, const char* key, const char* value);

}  // namespace tagwriter
