#include "tests/fields/places.h"

#include <algorithm>
#include <stdexcept>

namespace tagwriter::test {

const std::vector<Container> kContainers = {
    {"mp3_plain.mp3", Family::kID3v2},   {"aiff_plain.aiff", Family::kID3v2},
    {"wav_plain.wav", Family::kID3v2},   {"dsf_plain.dsf", Family::kID3v2},
    {"m4a_plain.m4a", Family::kMP4},     {"flac_plain.flac", Family::kXiph},
    {"vorbis_plain.ogg", Family::kXiph}, {"vorbis.oga", Family::kXiph},
    {"flac.oga", Family::kXiph},         {"opus_plain.opus", Family::kXiph},
    {"wma_plain.wma", Family::kASF},     {"ape_plain.ape", Family::kAPE},
    {"wavpack_plain.wv", Family::kAPE},  {"mpc_plain.mpc", Family::kAPE},
};

// clang-format off
const std::vector<Places> kPlaces = {
// field                  kind             ID3v2                        MP4                                          Xiph comment                     ASF                                        APE                ID3v1
  {"title",               Kind::kCore,     {"TIT2"},                    {"\251nam"},                                 {"TITLE"},                       {"(title)"},                               {"TITLE"},         "title"},
  {"artist",              Kind::kCore,     {"TPE1"},                    {"\251ART"},                                 {"ARTIST"},                      {"(author)"},                              {"ARTIST"},        "artist"},
  {"album",               Kind::kCore,     {"TALB"},                    {"\251alb"},                                 {"ALBUM"},                       {"WM/AlbumTitle"},                         {"ALBUM"},         "album"},
  {"genre",               Kind::kCore,     {"TCON"},                    {"\251gen"},                                 {"GENRE"},                       {"WM/Genre"},                              {"GENRE"},         "genre"},
  {"composer",            Kind::kText,     {"TCOM"},                    {"\251wrt"},                                 {"COMPOSER"},                    {"WM/Composer"},                           {"Composer"}},
  {"comment",             Kind::kComment,  {"COMM:eng:"},               {"\251cmt"},                                 {"COMMENT"},                     {"(description)"},                         {"COMMENT"},       "comment"},
  {"lyrics",              Kind::kLyrics,   {"USLT:eng:"},               {"\251lyr"},                                 {"UNSYNCEDLYRICS"},              {"WM/Lyrics"},                             {"Lyrics"}},
  {"albumArtist",         Kind::kText,     {"TPE2"},                    {"aART"},                                    {"ALBUMARTIST"},                 {"WM/AlbumArtist"},                        {"Album Artist"}},
  {"grouping",            Kind::kText,     {"TIT1", "GRP1"},            {"\251grp"},                                 {"CONTENTGROUP", "GROUPING"},    {"WM/ContentGroupDescription"},            {"Grouping"}},
  {"encoder",             Kind::kText,     {"TENC"},                    {"\251too"},                                 {"ENCODER"},                     {"WM/EncodedBy"},                          {"Encoder"}},
  {"publisher",           Kind::kText,     {"TPUB"},                    {"----:com.apple.iTunes:LABEL"},             {"ORGANIZATION"},                {"WM/Publisher"},                          {"Publisher"}},
  {"description",         Kind::kText,     {"TIT3"},                    {"desc"},                                    {"DESCRIPTION"},                 {"Description"},                           {"DESCRIPTION"}},
  {"catalogNumber",       Kind::kUserText, {"TXXX:CATALOGNUMBER"},      {"----:com.apple.iTunes:CATALOGNUMBER"},     {"CATALOGNUMBER"},               {"WM/CatalogNo"},                          {"CatalogNumber"}},
  {"conductor",           Kind::kText,     {"TPE3"},                    {"----:com.apple.iTunes:CONDUCTOR"},         {"CONDUCTOR"},                   {"WM/Conductor"},                          {"Conductor"}},
  {"discSubtitle",        Kind::kText,     {"TSST"},                    {"----:com.apple.iTunes:DISCSUBTITLE"},      {"DISCSUBTITLE"},                {"WM/SetSubTitle"},                        {"DiscSubtitle"}},
  {"cueSheet",            Kind::kCueSheet, {},                          {},                                          {"CUESHEET"},                    {},                                        {"CUESHEET"}},
  {"rating",              Kind::kNoText,   {"POPM"},                    {"rate"},                                    {"RATING"},                      {"SDB/Rating", "WM/SharedUserRating"},     {"Rating"}},
  {"compilation",         Kind::kNoText,   {"TCMP"},                    {"cpil"},                                    {"COMPILATION"},                 {"WM/IsCompilation", "WM/Compilation"},    {"Compilation"}},
  {"year",                Kind::kNoText,   {"TDRC"},                    {"\251day"},                                 {"DATE"},                        {"WM/Year"},                               {"YEAR"},          "year"},
  {"bpm",                 Kind::kNoText,   {"TBPM"},                    {"tmpo"},                                    {"TEMPO", "BPM"},                {"WM/BeatsPerMinute"},                     {"BPM"}},
  {"trackNumber",         Kind::kNoText,   {"TRCK"},                    {"trkn"},                                    {"TRACKNUMBER"},                 {"WM/TrackNumber"},                        {"Track"},         "track"},
  {"totalNumberOfTracks", Kind::kNoText,   {"TRCK"},                    {"trkn"},                                    {"TOTALTRACKS", "TRACKTOTAL"},   {},                                        {"Track"}},
  {"disc",                Kind::kNoText,   {"TPOS"},                    {"disk"},                                    {"DISCNUMBER"},                  {"WM/PartOfSet"},                          {"Disc"}},
};
// clang-format on

void PrintTo(const Container& container, std::ostream* out) {
  *out << container.file;
}

std::string testName(const std::string& file) {
  std::string name = file;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

std::string testName(const Container& container) {
  return testName(std::string(container.file));
}

const Places& placesOf(const std::string& field) {
  for (const Places& places : kPlaces) {
    if (field == places.field) return places;
  }
  throw std::out_of_range(field);
}

std::vector<std::string> namesOf(const Places& places, Family family) {
  struct Column {
    Family family;
    const char* prefix;
    const std::vector<std::string>& names;
  };
  const Column columns[] = {{Family::kID3v2, "ID3v2 ", places.id3v2},
                            {Family::kMP4, "MP4 ", places.mp4},
                            {Family::kXiph, "Xiph ", places.xiph},
                            {Family::kASF, "ASF ", places.asf},
                            {Family::kAPE, "APE ", places.ape}};
  std::vector<std::string> result;
  for (const Column& column : columns) {
    if (column.family != family) continue;
    for (const std::string& name : column.names) result.push_back(column.prefix + name);
  }
  return result;
}

void putOutcomes(const Outcomes& outcomes, TagContents& contents) {
  for (const Outcome& outcome : outcomes) {
    if (outcome.value) {
      contents[outcome.name] = {*outcome.value};
    } else if (outcome.name.starts_with("ASF (")) {
      contents[outcome.name] = {""};  // these have a place of their own, which can only be empty
    } else {
      contents.erase(outcome.name);
    }
  }
}

// Bodies ----------------------------------------------------------------------------------------

namespace {

std::string bigEndian(std::size_t number, int bytes) {
  std::string result;
  while (bytes-- > 0) result += static_cast<char>(number >> (8 * bytes));
  return result;
}

std::string atom(const std::string& name, const std::string& payload) {
  return bigEndian(payload.size() + 8, 4) + name + payload;
}

/// The children of a "----" atom; `name` is "----:mean:name".
std::string mp4Freeform(const std::string& name, const std::string& text) {
  const std::size_t colon = name.rfind(':');
  const std::string noFlags(4, '\0');
  return atom("mean", noFlags + name.substr(5, colon - 5)) +
         atom("name", noFlags + name.substr(colon + 1)) + mp4Text(text);
}

}  // namespace

std::string id3v2Text(const std::string& text) {
  return "\3" + text;
}

std::string mp4Data(unsigned type, const std::string& payload) {
  return atom("data", bigEndian(type, 4) + std::string(4, '\0') + payload);
}

std::string mp4Text(const std::string& text) {
  return mp4Data(1, text);
}

std::string mp4Integer(const std::string& bigEndian) {
  return mp4Data(21, bigEndian);
}

std::string mp4Pair(const std::string& name, int number, int total) {
  const auto word = [](int n) { return bigEndian(static_cast<unsigned>(n), 2); };
  const std::string end = name == "trkn" ? word(0) : "";
  return mp4Data(0, word(0) + word(number) + word(total) + end);
}

// Texts -----------------------------------------------------------------------------------------

namespace {

using Text = std::optional<std::string>;

/// Whether a text is there and not empty.
bool hasSome(const Text& text) {
  return text && !text->empty();
}

/// A new text frame of the library is in Latin-1 where that can hold the text, else in UTF-8.
std::string libraryText(const std::string& text) {
  const bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
  return std::string(1, isAscii ? '\0' : '\3') + text;
}

Text id3v2Body(Kind kind, const Text& text) {
  using namespace std::string_literals;
  switch (kind) {
    case Kind::kText:
      return hasSome(text) ? Text(id3v2Text(*text)) : std::nullopt;
    case Kind::kCore:
      return hasSome(text) ? Text(libraryText(*text)) : std::nullopt;
    case Kind::kComment:
    case Kind::kLyrics:
      return text ? Text("\3eng\0"s + *text) : std::nullopt;
    case Kind::kUserText:
      return text ? Text("\3CATALOGNUMBER\0"s + *text) : std::nullopt;
    default:
      throw std::logic_error("no ID3v2 text");
  }
}

Text mp4Body(Kind kind, const std::string& name, const Text& text) {
  const bool isTheLibrarys = kind == Kind::kCore || kind == Kind::kComment;
  if (isTheLibrarys && !hasSome(text)) return std::nullopt;
  if (!text) return std::nullopt;
  return name.starts_with("----") ? mp4Freeform(name, *text) : mp4Text(*text);
}

Text asfValue(const Places& places, const std::string& name, const Text& text) {
  if (name.starts_with("(")) return text;
  // The library's generic setters cannot remove an attribute.
  if (places.kind == Kind::kCore) return "text:" + text.value_or("");
  return text ? Text("text:" + *text) : std::nullopt;
}

}  // namespace

Outcomes outcomesOfText(const Places& places, Family family, const Text& text) {
  Outcomes outcomes;
  const std::size_t prefix =
      namesOf(places, family).empty() ? 0 : namesOf(places, family).front().find(' ') + 1;
  for (const std::string& fullName : namesOf(places, family)) {
    const std::string name = fullName.substr(prefix);
    switch (family) {
      case Family::kID3v2:
        outcomes.push_back({fullName, id3v2Body(places.kind, text)});
        break;
      case Family::kMP4:
        outcomes.push_back({fullName, mp4Body(places.kind, name, text)});
        break;
      case Family::kXiph:  // an empty value is not written
        outcomes.push_back({fullName, hasSome(text) ? text : std::nullopt});
        break;
      case Family::kASF:
        outcomes.push_back({fullName, asfValue(places, name, text)});
        break;
      case Family::kAPE:  // an empty value is not written
        outcomes.push_back({fullName, hasSome(text) ? Text("text:" + *text) : std::nullopt});
        break;
    }
  }
  return outcomes;
}

}  // namespace tagwriter::test
