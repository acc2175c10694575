// The keys of the fields as a user types them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "protocol/fields.h"

namespace tagwriter {

/// Another name of a field.
struct FieldAlias {
  const char* name;
  const char* key;
};

/// The names that other programs, TagLib among them, have for our fields. In lower case and without
/// separators, because fieldNamed looks at neither.
inline constexpr FieldAlias kFieldAliases[] = {
    {"comments", field::kComment},
    {"unsyncedlyrics", field::kLyrics},
    {"contentgroup", field::kGrouping},
    {"encodedby", field::kEncoder},
    {"label", field::kPublisher},
    {"organization", field::kPublisher},
    {"subtitle", field::kDescription},
    {"catalog", field::kCatalogNumber},
    {"catalogno", field::kCatalogNumber},
    {"setsubtitle", field::kDiscSubtitle},
    {"cue", field::kCueSheet},
    {"date", field::kYear},
    {"tempo", field::kBpm},
    {"track", field::kTrackNumber},
    {"tracktotal", field::kTotalNumberOfTracks},
    {"totaltracks", field::kTotalNumberOfTracks},
    {"discnumber", field::kDisc},
    {"disk", field::kDisc},
    {"disctotal", field::kTotalNumberOfDiscs},
    {"totaldiscs", field::kTotalNumberOfDiscs},
};

/// The field with the key or alias `name`, regardless of ASCII case, spaces, "_" and "-"; null if
/// there is none.
const field::Field* findField(std::string_view name);

/// As findField, but throws UsageError for any other name, with the one that may be meant.
const field::Field& fieldNamed(std::string_view name);

/// The keys of the fields with these names.
std::vector<std::string> keysOf(const std::vector<std::string>& names);

/// The field with the total of `field`, a track or disc number; null for other fields.
const field::Field* totalOf(const field::Field& field);

/// The aliases of the field with this key, separated by ", ".
std::string aliasesOf(std::string_view key);

}  // namespace tagwriter
