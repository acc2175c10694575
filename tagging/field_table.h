// THE FIELD TABLE: one line per field, which shows how every tag family stores it. docs/FIELDS.md
// is generated from it.
//
// A name without a kind is a text under that name. A blank cell {} means that the family does not
// store the field. The kinds of cells are in text_cells.h and number_cells.h. A core field has no
// cells: TagLib chooses the names.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

#include "protocol/kept_fields.h"
#include "tagging/field_row.h"

namespace tagwriter {
namespace table {

using namespace field;  // NOLINT(google-build-using-namespace)
using namespace cell;   // NOLINT(google-build-using-namespace)

// clang-format off
// In the order of protocol/fields.h. "\251" is the copyright sign in Latin-1.
inline constexpr FieldRow kFields[] = {
// field                 ID3v2             ID3v1      MP4              Xiph comment                  ASF                            APE
  {kTitle,               core::kTitle},
  {kArtist,              core::kArtist},
  {kAlbum,               core::kAlbum},
  {kGenre,               core::kGenre},
  {kComposer,            "TCOM",           {},        "\251wrt",       "COMPOSER",                   "WM/Composer",                 "Composer"},
  {kComment,             MainComment{},    Comment{}, Comment{},       "COMMENT",                    Comment{},                     Comment{}},
  {kLyrics,              Lyrics{},         {},        "\251lyr",       "UNSYNCEDLYRICS",             "WM/Lyrics",                   "Lyrics"},
  {kAlbumArtist,         "TPE2",           {},        "aART",          "ALBUMARTIST",                "WM/AlbumArtist",              "Album Artist"},
  {kGrouping,            {"TIT1", "GRP1"}, {},        "\251grp",       {"CONTENTGROUP", "GROUPING"}, "WM/ContentGroupDescription",  "Grouping"},
  {kEncoder,             "TENC",           {},        "\251too",       "ENCODER",                    "WM/EncodedBy",                "Encoder"},
  {kPublisher,           "TPUB",           {},        ITunes{"LABEL"}, "ORGANIZATION",               "WM/Publisher",                "Publisher"},
  {kDescription,         "TIT3",           {},        "desc",          "DESCRIPTION",                "Description",                 "DESCRIPTION"},
  {kCatalogNumber,       UserText{"CATALOGNUMBER"}, {}, ITunes{"CATALOGNUMBER"}, "CATALOGNUMBER",    "WM/CatalogNo",                "CatalogNumber"},
  {kConductor,           "TPE3",           {},        ITunes{"CONDUCTOR"}, "CONDUCTOR",              "WM/Conductor",                "Conductor"},
  {kDiscSubtitle,        "TSST",           {},        ITunes{"DISCSUBTITLE"}, "DISCSUBTITLE",        "WM/SetSubTitle",              "DiscSubtitle"},
  {kCueSheet,            {},               {},        {},              CueSheet{},                   {},                            CueSheet{}, writeCue},
  {kRating,              Rating{"POPM"},   {},        Rating{"rate"},  Rating{"RATING"},             Rating{"SDB/Rating", "WM/SharedUserRating"}, Rating{"Rating"}},
  {kCompilation,         Flag{"TCMP"},     {},        Flag{"cpil"},    Flag{"COMPILATION"},          Flag{"WM/IsCompilation", "WM/Compilation"}, Flag{"Compilation"}},
  {kYear,                core::kYear},
  {kBpm,                 Number{"TBPM"},   {},        Number{"tmpo"},  Number{"TEMPO", "BPM"},       Number{"WM/BeatsPerMinute"},   Number{"BPM"}},
  {kTrackNumber,         PairNumber{"TRCK"}, Track{}, PairNumber{"trkn"}, Track{},                   Track{},                       PairNumber{"Track"}},
  {kTotalNumberOfTracks, PairTotal{"TRCK"}, {},       PairTotal{"trkn"}, Total{"TOTALTRACKS", "TRACKTOTAL"}, {},                    PairTotal{"Track"}},
  {kDisc,                Pair{"TPOS"},     {},        Pair{"disk"},    Pair{"DISCNUMBER"},           Pair{"WM/PartOfSet"},          Pair{"Disc"}},
};
// clang-format on

/// Whether protocol/kept_fields.h says the same about a row: which cells are blank.
constexpr bool agreesWithProtocol(const FieldRow& row) {
  const auto agrees = [key = row.field.key](TagFamily family, const auto& cell) {
    return cell.isBlank() == (isCore(key) || !isKept(key, family));
  };
  return agrees(TagFamily::kID3v2, row.id3v2) && agrees(TagFamily::kMP4, row.mp4) &&
         agrees(TagFamily::kXiph, row.xiph) && agrees(TagFamily::kASF, row.asf) &&
         agrees(TagFamily::kAPE, row.ape);
}
static_assert(std::all_of(std::begin(kFields), std::end(kFields), agreesWithProtocol));

}  // namespace table

/// The row of the field with exactly this key (case-sensitive); null for an unknown key.
const FieldRow* findFieldRow(std::string_view key);

}  // namespace tagwriter
