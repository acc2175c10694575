// The kinds of cells that hold text.
#pragma once

#include <id3v1tag.h>

#include <optional>
#include <string>

#include "tagging/cue_sheet.h"
#include "tagging/family_text.h"
#include "tagging/field_change.h"
#include "tagging/id3v2_frames.h"
#include "tagging/strings.h"

namespace tagwriter::cell {

/// Name and description of a kind of cell, for docs/FIELDS.md.
struct KindInfo {
  const char* name;
  const char* meaning;
};

/// A text as found in a tag; nullopt if there is none.
inline std::optional<StoredField> storedText(const std::optional<TagLib::String>& text) {
  if (!text) return std::nullopt;
  return StoredField{text->to8Bit(true)};
}

/// A text under one or two names, stored as it is.
struct Text {
  static constexpr KindInfo kInfo = {"text", "the text as it is"};
  const char* name = nullptr;
  const char* second = nullptr;  ///< gets the same text; null if there is only one name

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    setText(tag, name, change.text);
    if (second) setText(tag, second, change.text);
  }
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return storedText(getText(tag, name));
  }
};

/// A freeform MP4 item in the "com.apple.iTunes" namespace, which all programs use.
struct ITunes {
  static constexpr KindInfo kInfo = Text::kInfo;
  const char* name = nullptr;  ///< without the prefix "----:com.apple.iTunes:"

  void write(TagLib::MP4::Tag& tag, const FieldChange& change) const {
    setText(tag, itemName().c_str(), change.text);
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const {
    return storedText(getText(tag, itemName().c_str()));
  }

 private:
  std::string itemName() const { return std::string("----:com.apple.iTunes:") + name; }
};

/// An ID3v2 user text (TXXX) frame, identified by its description.
struct UserText {
  static constexpr KindInfo kInfo = {
      "user text", "the first TXXX frame with this description; the frame keeps its encoding"};
  const char* description = nullptr;

  void write(TagLib::ID3v2::Tag& tag, const FieldChange& change) const {
    setID3v2UserTextFrame(tag, description, change.text);
  }
  std::optional<StoredField> read(TagLib::ID3v2::Tag& tag) const {
    return storedText(getID3v2UserText(tag, description));
  }
};

/// The comment frame that players show as the comment.
struct MainComment {
  static constexpr KindInfo kInfo = {
      "main comment",
      "of the frames whose description is empty, \"comment\" or \"Songs-DB_Custom1\": the first "
      "English one, or else the first; clearing removes all of these and no others"};

  void write(TagLib::ID3v2::Tag& tag, const FieldChange& change) const {
    setID3v2Comment(tag, change.text);
  }
  std::optional<StoredField> read(TagLib::ID3v2::Tag& tag) const {
    const TagLib::ID3v2::CommentsFrame* comment = findMainID3v2Comment(tag);
    return comment ? storedText(comment->text()) : std::nullopt;
  }
};

/// The comment of TagLib's generic tag.
struct Comment {
  static constexpr KindInfo kInfo = {
      "generic comment",
      "where TagLib's comment setter puts it; in ASF, this is the description in the Content "
      "Description object, not the attribute with that name"};

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    tag.setComment(toTagString(change.text));
  }
  std::optional<StoredField> read(TagLib::MP4::Tag& tag) const {
    return storedText(getText(tag, "\251cmt"));
  }
  std::optional<StoredField> read(TagLib::APE::Tag& tag) const {
    return storedText(getText(tag, "COMMENT"));
  }
  /// ID3v1 and ASF have it in a fixed place, where an empty text means none.
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    const TagLib::String comment = tag.comment();
    return comment.isEmpty() ? std::nullopt : storedText(comment);
  }
};

/// The unsynchronised lyrics.
struct Lyrics {
  static constexpr KindInfo kInfo = {
      "lyrics", "one English frame replaces all others; an empty text writes an empty frame"};

  void write(TagLib::ID3v2::Tag& tag, const FieldChange& change) const {
    setID3v2Lyrics(tag, change.text, change.path);
  }
  std::optional<StoredField> read(TagLib::ID3v2::Tag& tag) const {
    return storedText(getText(tag, "USLT"));
  }
};

/// The cue sheet. Files are written by writeCueSheet, not by writeTagToFile.
struct CueSheet {
  static constexpr KindInfo kInfo = {
      "cue sheet",
      "the text as it is, only if the file already has the tag; Musepack files are rejected"};

  template <typename Tag>
  void write(Tag& tag, const FieldChange& change) const {
    setCueSheet(tag, change.text);
  }
  template <typename Tag>
  std::optional<StoredField> read(Tag& tag) const {
    return storedText(getText(tag, kCueSheetName));
  }
};

}  // namespace tagwriter::cell
