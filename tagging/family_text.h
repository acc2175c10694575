// Writes and reads one text under one name, in each tag family.
//
// `name`, `id` or `key` is the name of the frame, item, field or attribute, in Latin-1.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <tstring.h>
#include <xiphcomment.h>

#include <optional>

namespace tagwriter {

// Writing. `value` is UTF-8; null removes.
//
// Quirk: an empty value removes ID3v2 text frames only. In the other families the empty string is
// set, and players rely on what TagLib does with it: a Xiph field or an APE item with an empty
// value is not saved.

/// Replaces every frame called `id` by one UTF-8 text frame (ID3v2.4 frames, 4.2). A standard
/// exception is caught and logged; the old frames may already have been removed.
void setID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const TagLib::String& text);

/// Calls setID3v2TextFrame, or removes every frame called `id` if the value is null or empty.
void editID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const char* value);

/// Sets an item of the "ilst" atom to one string; null removes the item.
void setMP4TextItem(TagLib::MP4::Tag& tag, const char* name, const char* value);

/// Replaces all values of a field by one; null removes the field (Vorbis comment specification).
void setXiphTextField(TagLib::Ogg::XiphComment& comment, const char* name, const char* value);

/// Sets an attribute to one Unicode string; null removes the attribute (ASF specification, 3.10 and
/// 3.11).
void setASFTextAttribute(TagLib::ASF::Tag& tag, const char* name, const char* value);

/// Sets an item to one text; null removes the item (APEv2 specification).
void setAPETextItem(TagLib::APE::Tag& tag, const char* key, const char* value);

// Overloads for all families.

inline void setText(TagLib::ID3v2::Tag& tag, const char* name, const char* value) {
  editID3v2TextFrame(tag, name, value);
}
inline void setText(TagLib::MP4::Tag& tag, const char* name, const char* value) {
  setMP4TextItem(tag, name, value);
}
inline void setText(TagLib::Ogg::XiphComment& comment, const char* name, const char* value) {
  setXiphTextField(comment, name, value);
}
inline void setText(TagLib::ASF::Tag& tag, const char* name, const char* value) {
  setASFTextAttribute(tag, name, value);
}
inline void setText(TagLib::APE::Tag& tag, const char* name, const char* value) {
  setAPETextItem(tag, name, value);
}

// Reading. Several values are joined with spaces, but only the first of several ID3v2 frames or ASF
// attributes is used. Returns nullopt if there is nothing under that name.

std::optional<TagLib::String> getText(const TagLib::ID3v2::Tag& tag, const char* id);
std::optional<TagLib::String> getText(const TagLib::MP4::Tag& tag, const char* name);
std::optional<TagLib::String> getText(const TagLib::Ogg::XiphComment& comment, const char* name);
std::optional<TagLib::String> getText(const TagLib::ASF::Tag& tag, const char* name);
std::optional<TagLib::String> getText(const TagLib::APE::Tag& tag, const char* key);

/// The text of the first frame called `frameId`, or an empty string if there is none.
TagLib::String readID3v2FrameText(const TagLib::ID3v2::Tag& tag, const char* frameId);

/// The values of the item called `key`, joined with spaces, or an empty string if there is none.
TagLib::String readAPEItemText(const TagLib::APE::Tag& tag, const char* key);

}  // namespace tagwriter
