// The cells that hold text.
#pragma once

#include <id3v1tag.h>

#include "tagging/cell.h"
#include "tagging/family_editors.h"
#include "tagging/strings.h"

namespace tagwriter {

/// Sets the text under `name` in any family by that family's own editor; null removes it.
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

namespace cell {

/// The regular cell.
struct Text {
  static constexpr Form kForm = {"text", "the text as it is"};
  template <typename Tag>
  static void edit(Tag& tag, const Cell<Tag>& cell, const FieldEdit& edit) {
    setText(tag, cell.name, edit.value.text);
    if (cell.second) setText(tag, cell.second, edit.value.text);
  }
};

/// What the tag library's generic file reference writes; the name is the library's choice.
struct Library {
  static constexpr Form kForm = {"library",
                                 "written by the tag library's generic tag; an empty text or a "
                                 "year of 0 removes, but ASF keeps "
                                 "an empty attribute or a text of \"0\""};
  static constexpr bool kHasNoEditor = true;
};

/// Written by a road of its own.
struct CueSheet {
  static constexpr Form kForm = {"cue sheet", "the text as it is, into a tag that is in the file"};
  static constexpr bool kHasNoEditor = true;
};

/// The comment of the library's generic tag.
struct GenericComment {
  static constexpr Form kForm = {
      "generic comment",
      "where the tag library's own comment setter puts it; in ASF that is the description of the "
      "content, not the attribute of that name"};
  template <typename Tag>
  static void edit(Tag& tag, const Cell<Tag>&, const FieldEdit& edit) {
    tag.setComment(toTagString(edit.value.text));
  }
};

/// The comment frame that players show as the comment; the cell's name only tells its kind.
struct MainComment {
  static constexpr Form kForm = {
      "main comment",
      "the first English frame, or else the first, whose description is empty, \"comment\" or "
      "\"Songs-DB_Custom1\"; clearing removes all of these, others stay"};
  static void edit(TagLib::ID3v2::Tag& tag, const Cell<TagLib::ID3v2::Tag>&,
                   const FieldEdit& edit) {
    setID3v2Comment(tag, edit.value.text);
  }
};

/// A frame that is told from others of its kind by its description, the cell's name.
struct UserText {
  static constexpr Form kForm = {"user text",
                                 "the TXXX frame with this description, which keeps its encoding"};
  static void edit(TagLib::ID3v2::Tag& tag, const Cell<TagLib::ID3v2::Tag>& cell,
                   const FieldEdit& edit) {
    setID3v2UserTextFrame(tag, cell.name, edit.value.text);
  }
};

/// The unsynchronised lyrics; the cell's name only tells the frame's kind.
struct Lyrics {
  static constexpr Form kForm = {
      "lyrics", "one English frame in the place of all; an empty text leaves an empty frame"};
  static void edit(TagLib::ID3v2::Tag& tag, const Cell<TagLib::ID3v2::Tag>&,
                   const FieldEdit& edit) {
    setID3v2Lyrics(tag, edit.value.text, edit.path);
  }
};

}  // namespace cell
}  // namespace tagwriter
