// The fields of a track: their keys in "track" and the types of their values.
#pragma once

#include <string_view>

namespace tagwriter::field {

inline constexpr char kTitle[] = "title";
inline constexpr char kArtist[] = "artist";
inline constexpr char kAlbum[] = "album";
inline constexpr char kGenre[] = "genre";
inline constexpr char kComposer[] = "composer";
inline constexpr char kComment[] = "comment";
inline constexpr char kLyrics[] = "lyrics";
inline constexpr char kAlbumArtist[] = "albumArtist";
inline constexpr char kGrouping[] = "grouping";
inline constexpr char kEncoder[] = "encoder";
inline constexpr char kPublisher[] = "publisher";
inline constexpr char kDescription[] = "description";
inline constexpr char kCatalogNumber[] = "catalogNumber";
inline constexpr char kConductor[] = "conductor";
inline constexpr char kDiscSubtitle[] = "discSubtitle";
inline constexpr char kCueSheet[] = "cueSheet";
inline constexpr char kRating[] = "rating";
inline constexpr char kCompilation[] = "compilation";
inline constexpr char kYear[] = "year";
inline constexpr char kBpm[] = "bpm";
inline constexpr char kTrackNumber[] = "trackNumber";
inline constexpr char kTotalNumberOfTracks[] = "totalNumberOfTracks";
inline constexpr char kDisc[] = "disc";
inline constexpr char kTotalNumberOfDiscs[] = "totalNumberOfDiscs";

/// The type of a field's value in the "track" dictionary.
enum class Type { kString, kInt64, kDouble, kBool };

/// A key of the "track" dictionary with the type of its value.
struct Field {
  const char* key = nullptr;
  Type type = Type::kString;
  const char* companion = nullptr;  ///< the number that is always written with this one
};

/// All keys of the "track" dictionary, in the order in which find() compares them.
inline constexpr Field kAll[] = {
    {kTitle, Type::kString},
    {kArtist, Type::kString},
    {kAlbum, Type::kString},
    {kGenre, Type::kString},
    {kComposer, Type::kString},
    {kComment, Type::kString},
    {kLyrics, Type::kString},
    {kAlbumArtist, Type::kString},
    {kGrouping, Type::kString},
    {kEncoder, Type::kString},
    {kPublisher, Type::kString},
    {kDescription, Type::kString},
    {kCatalogNumber, Type::kString},
    {kConductor, Type::kString},
    {kDiscSubtitle, Type::kString},
    {kCueSheet, Type::kString},
    {kRating, Type::kDouble},
    {kCompilation, Type::kBool},
    {kYear, Type::kInt64},
    {kBpm, Type::kInt64},
    {kTrackNumber, Type::kInt64},
    {kTotalNumberOfTracks, Type::kInt64},
    {kDisc, Type::kInt64, kTotalNumberOfDiscs},
    {kTotalNumberOfDiscs, Type::kInt64},
};

/// Returns the field with exactly this key (case-sensitive), or null if there is none.
constexpr const Field* find(std::string_view key) {
  for (const Field& field : kAll) {
    if (key == field.key) return &field;
  }
  return nullptr;
}

}  // namespace tagwriter::field
