// Every number, flag and rating in every container: what each value becomes, and that nothing else
// moves.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "tests/fields/edit.h"
#include "tests/fields/places.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using Value = std::optional<std::string>;
using namespace std::string_literals;

constexpr auto none = std::nullopt;
constexpr std::int64_t k32 = std::int64_t{1} << 32;
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

std::string trkn(int number, int total) {
  return mp4Pair("trkn", number, total);
}
std::string disk(int number, int total) {
  return mp4Pair("disk", number, total);
}
std::string year(const char* text) {
  return "\0"s + text;
}  // the library's frame is in Latin-1

/// What a number becomes: the text of the frame, the body of the atom, the field, the attribute's
/// text, the item's text.
struct NumberCase {
  const char* field;
  std::int64_t number;
  std::int64_t total;
  Value id3v2, mp4, xiph, asf, ape;
};

// In a file without a track number.
// clang-format off
const std::vector<NumberCase> kNumbers = {
    {"year", 2024, 0, year("2024"), mp4Text("2024"), "2024", "2024", "2024"},
    // The library's year setter cannot remove the attribute.
    {"year", 0, 0, none, none, none, "0", none},
    {"year", k32, 0, none, none, none, "0", none},
    {"year", kMin, 0, none, none, none, "0", none},
    {"year", k32 + 1987, 0, year("1987"), mp4Text("1987"), "1987", "1987", "1987"},
    // The library prints its unsigned year as a signed number.
    {"year", -1, 0, year("-1"), mp4Text("-1"), "-1", "-1", "-1"},
    {"year", kMax, 0, year("-1"), mp4Text("-1"), "-1", "-1", "-1"},

    {"bpm", 120, 0, id3v2Text("120"), mp4Integer("\0\x78"s), "120", "120", "120"},
    {"bpm", 0, 0, none, none, none, none, none},
    {"bpm", -7, 0, id3v2Text("-7"), mp4Integer("\xff\xf9"), "-7", "-7", "-7"},
    // The test for 0 is on all 64 bits, the number written has 32.
    {"bpm", k32, 0, id3v2Text("0"), mp4Integer("\0\0"s), "0", "0", "0"},
    {"bpm", kMin, 0, id3v2Text("0"), mp4Integer("\0\0"s), "0", "0", "0"},
    {"bpm", kMax, 0, id3v2Text("-1"), mp4Integer("\xff\xff"), "-1", "-1", "-1"},
    {"bpm", k32 + 90, 0, id3v2Text("90"), mp4Integer("\0\x5a"s), "90", "90", "90"},
    // The library keeps 16 bits in "tmpo", "trkn" and "disk".
    {"bpm", 70000, 0, id3v2Text("70000"), mp4Integer("\x11\x70"), "70000", "70000", "70000"},

    {"trackNumber", 4, 0, id3v2Text("4"), trkn(4, 0), "4", "4", "4"},
    // The library's track setter cannot remove the attribute.
    {"trackNumber", 0, 0, none, trkn(0, 0), none, "0", none},
    {"trackNumber", k32, 0, none, trkn(0, 0), none, "0", none},
    {"trackNumber", kMin, 0, none, trkn(0, 0), none, "0", none},
    {"trackNumber", -1, 0, id3v2Text("-1"), trkn(-1, 0), "-1", "-1", "-1"},
    {"trackNumber", kMax, 0, id3v2Text("-1"), trkn(-1, 0), "-1", "-1", "-1"},
    {"trackNumber", k32 + 5, 0, id3v2Text("5"), trkn(5, 0), "5", "5", "5"},
    {"trackNumber", 70000, 0, id3v2Text("70000"), trkn(70000, 0), "70000", "70000", "70000"},

    {"totalNumberOfTracks", 12, 0, none, trkn(0, 12), "12", none, none},
    {"totalNumberOfTracks", 0, 0, none, trkn(0, 0), none, none, none},
    {"totalNumberOfTracks", k32, 0, none, trkn(0, 0), none, none, none},
    {"totalNumberOfTracks", kMin, 0, none, trkn(0, 0), none, none, none},
    {"totalNumberOfTracks", -1, 0, none, trkn(0, -1), "-1", none, none},
    {"totalNumberOfTracks", kMax, 0, none, trkn(0, -1), "-1", none, none},
    {"totalNumberOfTracks", k32 + 5, 0, none, trkn(0, 5), "5", none, none},

    {"disc", 2, 3, id3v2Text("2/3"), disk(2, 3), "2/3", "2/3", "2/3"},
    {"disc", 2, 0, id3v2Text("2"), disk(2, 0), "2", "2", "2"},
    {"disc", 0, 3, id3v2Text("0/3"), disk(0, 3), "0/3", "0/3", "0/3"},
    {"disc", 0, 0, id3v2Text("0"), none, "0", "0", "0"},
    {"disc", -1, -2, id3v2Text("-1/-2"), disk(-1, -2), "-1/-2", "-1/-2", "-1/-2"},
    {"disc", k32 + 1, k32, id3v2Text("4294967297/4294967296"), disk(1, 0),
     "4294967297/4294967296", "4294967297/4294967296", "4294967297/4294967296"},
    {"disc", k32, 0, id3v2Text("4294967296"), disk(0, 0), "4294967296", "4294967296", "4294967296"},
    {"disc", kMin, kMax, id3v2Text("-9223372036854775808/9223372036854775807"), disk(0, -1),
     "-9223372036854775808/9223372036854775807", "-9223372036854775808/9223372036854775807",
     "-9223372036854775808/9223372036854775807"},
};
// clang-format on

/// What a rating becomes: the byte in the POPM frame, the text in MP4 and Xiph, both ASF
/// attributes, the APE item.
struct RatingCase {
  double rating;
  int popm;
  const char* percent;
  const char* sdb;
  const char* shared;
  const char* stars;
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const std::vector<RatingCase> kRatings = {
    {0.0, 0, "0", "0", "0", "0.000000"},
    {-0.0, 0, "0", "0", "0", "-0.000000"},
    {0.5, 13, "10", "10", "0", "0.500000"},
    {1.0, 23, "20", "20", "24", "1.000000"},
    {1.5, 54, "30", "30", "24", "1.500000"},
    {2.0, 64, "40", "40", "49", "2.000000"},
    {2.5, 118, "50", "50", "49", "2.500000"},
    {3.0, 128, "60", "60", "74", "3.000000"},
    {3.5, 186, "70", "70", "74", "3.500000"},
    {4.0, 196, "80", "80", "89", "4.000000"},
    {4.1, 242, "81", "90", "89", "4.100000"},
    {4.5, 242, "90", "90", "89", "4.500000"},
    {5.0, 255, "100", "100", "99", "5.000000"},
    {7.0, 255, "140", "0", "0", "7.000000"},
    {-1.0, 13, "-20", "10", "0", "-1.000000"},
    // Cut to what the buffers hold: 9 and 15 characters.
    {1e300, 255, "214748364", "0", "0", "100000000000000"},
    {-1e300, 13, "-21474836", "10", "0", "-10000000000000"},
    {kInfinity, 255, "214748364", "0", "0", "inf"},
    {-kInfinity, 13, "-21474836", "10", "0", "-inf"},
    {std::numeric_limits<double>::quiet_NaN(), 255, "0", "0", "0", "nan"},
};

class NumberFields : public testing::TestWithParam<Container> {
 protected:
  Family family() const { return GetParam().family; }

  /// Writes a value into a file without the field, and once more into one that has `typical`.
  void check(const char* field, const FieldChange& value, const FieldChange& typical,
             const Outcomes& outcomes) {
    checkOn(readFile(dataFile(GetParam().file)), field, value, outcomes);
    const std::string path = directory_.copyOf(GetParam().file);
    writeField(path, field, typical);
    checkOn(readFile(path), field, value, outcomes);
  }

  TemporaryDirectory directory_;

 private:
  void checkOn(const std::string& start, const char* field, const FieldChange& value,
               const Outcomes& outcomes) {
    const std::string path = directory_.write(GetParam().file, start);
    TagContents expected = readTagContents(path);
    if (field == "totalNumberOfTracks"s && family() == Family::kASF) {
      EXPECT_FALSE(writeField(path, field, value));
      EXPECT_TRUE(readFile(path) == start);
      return;
    }
    EXPECT_TRUE(writeField(path, field, value));
    putOutcomes(outcomes, expected);
    addWhatTheLibraryAdds(field, value, expected);
    EXPECT_TRUE(sameContents(readTagContents(path), expected));
  }

  void addWhatTheLibraryAdds(const char* field, const FieldChange& value, TagContents& contents) {
    const std::string file = GetParam().file;
    // Whatever is saved, a FLAC file gets a comment.
    if (file == "flac_plain.flac") contents.insert({"Xiph vendor", {""}});
    // An MP3 file gets an ID3v1 tag from a core field, unless the tag would be empty.
    if (file != "mp3_plain.mp3" || field != "year"s) return;
    const std::string year = std::to_string(static_cast<std::uint32_t>(value.number));
    for (const char* text : {"title", "artist", "album", "comment"}) {
      contents["ID3v1 "s + text] = {""};
    }
    contents["ID3v1 year"] = {year};
    contents["ID3v1 track"] = {"0"};
    contents["ID3v1 genre"] = {"255"};
    if (year != "0") return;
    std::erase_if(contents, [](const auto& entry) { return entry.first.starts_with("ID3v1"); });
  }
};

TEST_P(NumberFields, Numbers) {
  for (const NumberCase& number : kNumbers) {
    SCOPED_TRACE(testing::Message() << number.field << " " << number.number << " " << number.total);
    const auto text = [](const Value& value) { return value ? Value("text:" + *value) : none; };
    const auto body = [&] {
      switch (family()) {
        case Family::kID3v2:
          return number.id3v2;
        case Family::kMP4:
          return number.mp4;
        case Family::kXiph:
          return number.xiph;
        case Family::kASF:
          return text(number.asf);
        case Family::kAPE:
          return text(number.ape);
      }
      return Value();
    }();
    Outcomes outcomes;
    for (const std::string& name : namesOf(placesOf(number.field), family())) {
      // The second name is only removed.
      outcomes.push_back({name, outcomes.empty() ? body : none});
    }
    check(number.field, numberValue(number.number, number.total), numberValue(99, 100), outcomes);
  }
}

TEST_P(NumberFields, Flags) {
  for (const bool flag : {true, false}) {
    SCOPED_TRACE(flag);
    const Value text = flag ? Value("1") : none;
    Outcomes outcomes;
    switch (family()) {
      case Family::kID3v2:
        outcomes = {{"ID3v2 TCMP", flag ? Value(id3v2Text("1")) : none}};
        break;
      case Family::kMP4:
        outcomes = {{"MP4 cpil", mp4Integer(flag ? "\1"s : "\0"s)}};
        break;
      case Family::kXiph:
        outcomes = {{"Xiph COMPILATION", text}};
        break;
      case Family::kASF:
        outcomes = {{"ASF WM/IsCompilation", flag ? "bool:1" : "bool:0"}};
        break;
      case Family::kAPE:
        outcomes = {{"APE Compilation", flag ? Value("text:1") : none}};
        break;
    }
    check("compilation", flagValue(flag), flagValue(!flag), outcomes);
  }
}

TEST_P(NumberFields, Ratings) {
  for (const RatingCase& rating : kRatings) {
    SCOPED_TRACE(rating.rating);
    Outcomes outcomes;
    switch (family()) {
      case Family::kID3v2:
        outcomes = {
            {"ID3v2 POPM", "no@email\0"s + static_cast<char>(rating.popm) + std::string(4, '\0')}};
        break;
      case Family::kMP4:
        outcomes = {{"MP4 rate", mp4Text(rating.percent)}};
        break;
      case Family::kXiph:
        outcomes = {{"Xiph RATING", rating.percent}};
        break;
      case Family::kASF:
        outcomes = {{"ASF SDB/Rating", "text:"s + rating.sdb},
                    {"ASF WM/SharedUserRating", "dword:"s + rating.shared}};
        break;
      case Family::kAPE:
        outcomes = {{"APE Rating", "text:"s + rating.stars}};
        break;
    }
    check("rating", realValue(rating.rating), realValue(2.25), outcomes);
  }
}

INSTANTIATE_TEST_SUITE_P(, NumberFields, testing::ValuesIn(kContainers),
                         [](const auto& info) { return testName(info.param); });

}  // namespace
}  // namespace tagwriter::test
