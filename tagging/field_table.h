// THE FIELD TABLE: one line a field, from which a reader sees what it becomes in every tag family.
// A blank cell {} leaves the family alone. docs/FIELDS.md is made from this table.
#pragma once

#include "protocol/fields.h"
#include "tagging/core_fields.h"
#include "tagging/field_row.h"
#include "tagging/number_cells.h"
#include "tagging/text_cells.h"

namespace tagwriter {
namespace table {

// The words of the table. NOLINTBEGIN(readability-identifier-naming)
inline constexpr cell::Library library;
inline constexpr cell::Text text;
inline constexpr cell::UserText userText;
inline constexpr cell::MainComment mainComment;
inline constexpr cell::GenericComment genericComment;
inline constexpr cell::Lyrics lyrics;
inline constexpr cell::CueSheet cueSheet;
inline constexpr cell::GenericTrack genericTrack;
inline constexpr cell::NumberOfPair numberOfPair;
inline constexpr cell::TotalOfPair totalOfPair;
inline constexpr cell::Total total;
inline constexpr cell::Pair pair;
inline constexpr cell::Number number;
inline constexpr cell::Flag flag;
inline constexpr cell::Rating rating;
// NOLINTEND(readability-identifier-naming)

// clang-format off
// In the order in which a changed key is looked up. "\251" is the copyright sign in Latin-1.
inline constexpr FieldRow kFields[] = {
// field                         road                        ID3v2                       ID3v1                        MP4                                                 Xiph comment                                 ASF                                                APE
  {field::kTitle,                road::generic<writeTitle>,  {library, "TIT2"},          {library, "title"},          {library, "\251nam"},                               {library, "TITLE"},                          {library, "Title"},                                {library, "TITLE"}},
  {field::kArtist,               road::generic<writeArtist>, {library, "TPE1"},          {library, "artist"},         {library, "\251ART"},                               {library, "ARTIST"},                         {library, "Author"},                               {library, "ARTIST"}},
  {field::kAlbum,                road::generic<writeAlbum>,  {library, "TALB"},          {library, "album"},          {library, "\251alb"},                               {library, "ALBUM"},                          {library, "WM/AlbumTitle"},                        {library, "ALBUM"}},
  {field::kGenre,                road::generic<writeGenre>,  {library, "TCON"},          {library, "genre"},          {library, "\251gen"},                               {library, "GENRE"},                          {library, "WM/Genre"},                             {library, "GENRE"}},
  {field::kComposer,             road::editors,              {text, "TCOM"},             {},                          {text, "\251wrt"},                                  {text, "COMPOSER"},                          {text, "WM/Composer"},                             {text, "Composer"}},
  {field::kComment,              road::editors,              {mainComment, "COMM"},      {genericComment, "comment"}, {genericComment, "\251cmt"},                        {text, "COMMENT"},                           {genericComment, "Description"},                   {genericComment, "COMMENT"}},
  {field::kLyrics,               road::editors,              {lyrics, "USLT"},           {},                          {text, "\251lyr"},                                  {text, "UNSYNCEDLYRICS"},                    {text, "WM/Lyrics"},                               {text, "Lyrics"}},
  {field::kAlbumArtist,          road::editors,              {text, "TPE2"},             {},                          {text, "aART"},                                     {text, "ALBUMARTIST"},                       {text, "WM/AlbumArtist"},                          {text, "Album Artist"}},
  {field::kGrouping,             road::editors,              {text, "TIT1", "GRP1"},     {},                          {text, "\251grp"},                                  {text, "CONTENTGROUP", "GROUPING"},          {text, "WM/ContentGroupDescription"},              {text, "Grouping"}},
  {field::kEncoder,              road::editors,              {text, "TENC"},             {},                          {text, "\251too"},                                  {text, "ENCODER"},                           {text, "WM/EncodedBy"},                            {text, "Encoder"}},
  {field::kPublisher,            road::editors,              {text, "TPUB"},             {},                          {text, "----:com.apple.iTunes:LABEL"},              {text, "ORGANIZATION"},                      {text, "WM/Publisher"},                            {text, "Publisher"}},
  {field::kDescription,          road::editors,              {text, "TIT3"},             {},                          {text, "desc"},                                     {text, "DESCRIPTION"},                       {text, "Description"},                             {text, "DESCRIPTION"}},
  {field::kCatalogNumber,        road::editors,              {userText, "CATALOGNUMBER"}, {},                         {text, "----:com.apple.iTunes:CATALOGNUMBER"},      {text, "CATALOGNUMBER"},                     {text, "WM/CatalogNo"},                            {text, "CatalogNumber"}},
  {field::kConductor,            road::editors,              {text, "TPE3"},             {},                          {text, "----:com.apple.iTunes:CONDUCTOR"},          {text, "CONDUCTOR"},                         {text, "WM/Conductor"},                            {text, "Conductor"}},
  {field::kDiscSubtitle,         road::editors,              {text, "TSST"},             {},                          {text, "----:com.apple.iTunes:DISCSUBTITLE"},       {text, "DISCSUBTITLE"},                      {text, "WM/SetSubTitle"},                          {text, "DiscSubtitle"}},
  {field::kCueSheet,             road::cueSheet,             {},                         {},                          {},                                                 {cueSheet, "CUESHEET"},                      {},                                                {cueSheet, "CUESHEET"}},
  {field::kRating,               road::editors,              {rating, "POPM"},           {},                          {rating, "rate"},                                   {rating, "RATING"},                          {rating, "SDB/Rating", "WM/SharedUserRating"},     {rating, "Rating"}},
  {field::kCompilation,          road::editors,              {flag, "TCMP"},             {},                          {flag, "cpil"},                                     {flag, "COMPILATION"},                       {flag, "WM/IsCompilation", Replaces{"WM/Compilation"}}, {flag, "Compilation"}},
  {field::kYear,                 road::generic<writeYear>,   {library, "TDRC"},          {library, "year"},           {library, "\251day"},                               {library, "DATE"},                           {library, "WM/Year"},                              {library, "YEAR"}},
  {field::kBpm,                  road::editors,              {number, "TBPM"},           {},                          {number, "tmpo"},                                   {number, "TEMPO", Replaces{"BPM"}},          {number, "WM/BeatsPerMinute"},                     {number, "BPM"}},
  {field::kTrackNumber,          road::editors,              {numberOfPair, "TRCK"},     {genericTrack, "track"},     {numberOfPair, "trkn"},                             {genericTrack, "TRACKNUMBER"},               {genericTrack, "WM/TrackNumber"},                  {numberOfPair, "Track"}},
  {field::kTotalNumberOfTracks,  road::editors,              {totalOfPair, "TRCK"},      {},                          {totalOfPair, "trkn"},                              {total, "TOTALTRACKS", Replaces{"TRACKTOTAL"}}, {},                                             {totalOfPair, "Track"}},
  {field::kDisc,                 road::editors,              {pair, "TPOS"},             {},                          {pair, "disk"},                                     {pair, "DISCNUMBER"},                        {pair, "WM/PartOfSet"},                            {pair, "Disc"}},
};
// clang-format on

}  // namespace table

/// The row of the field with this key (exact, case-sensitive); null for an unknown or a null key.
const FieldRow* findFieldRow(const char* key);

}  // namespace tagwriter
