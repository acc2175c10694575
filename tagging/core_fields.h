// The five fields that every format supports: title, artist, album, genre, year.
//
// They are written through TagLib's generic FileRef and Tag, so TagLib chooses the frame, atom or
// field for each format. It detects the format by the stream's name first and by content second: an
// MP3 named ".xyz" can get a title.
#pragma once

#include <tag.h>

#include <cstdint>
#include <optional>

#include "base/unique_fd.h"
#include "protocol/dictionary.h"
#include "tagging/field_change.h"
#include "tagging/strings.h"

namespace tagwriter {

/// How a core field is set and read.
struct CoreField {
  void (*set)(TagLib::Tag& tag, const FieldChange& change);
  std::optional<StoredField> (*get)(const TagLib::Tag& tag);  ///< nullopt for an empty text or 0
};

template <void (TagLib::Tag::*Set)(const TagLib::String&),
          TagLib::String (TagLib::Tag::*Get)() const>
inline constexpr CoreField kCoreText = {
    [](TagLib::Tag& tag, const FieldChange& change) { (tag.*Set)(toTagString(change.text)); },
    [](const TagLib::Tag& tag) -> std::optional<StoredField> {
      const TagLib::String text = (tag.*Get)();
      if (text.isEmpty()) return std::nullopt;
      return StoredField{text.to8Bit(true)};
    }};

namespace core {

using TagLib::Tag;

inline constexpr CoreField kArtist = kCoreText<&Tag::setArtist, &Tag::artist>;
inline constexpr CoreField kAlbum = kCoreText<&Tag::setAlbum, &Tag::album>;
inline constexpr CoreField kGenre = kCoreText<&Tag::setGenre, &Tag::genre>;

/// Quirk: the title is set twice; the second call changes nothing.
inline constexpr CoreField kTitle = {[](Tag& tag, const FieldChange& change) {
                                       tag.setTitle(toTagString(change.text));
                                       tag.setTitle(toTagString(change.text));
                                     },
                                     kCoreText<&Tag::setTitle, &Tag::title>.get};

/// The low 32 bits, unsigned; 0 clears.
inline constexpr CoreField kYear = {[](Tag& tag, const FieldChange& change) {
                                      tag.setYear(static_cast<std::uint32_t>(change.number));
                                    },
                                    [](const Tag& tag) -> std::optional<StoredField> {
                                      if (tag.year() == 0) return std::nullopt;
                                      return StoredField{std::int64_t{tag.year()}};
                                    }};

}  // namespace core

/// Sets `field` in the file `fd` and saves it. Always closes `fd`. `key` is the field's key, for
/// the log; `change` has the value (a null text clears) and the path (never opened); `request` is
/// borrowed. Returns the result of the save, or false, with a log line, if TagLib cannot read the
/// file. Does not catch TagLib's exceptions.
bool writeCoreField(const CoreField& field, const char* key, UniqueFd fd, const FieldChange& change,
                    const Dictionary& request);

}  // namespace tagwriter
