// An edit of one field leaves everything else in a file's tags as it is, byte for byte. What the
// tag library does on its own whenever it saves such a file is named here, value by value.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "tests/fields/edit.h"
#include "tests/fields/places.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using namespace std::string_literals;

struct TaggedFile {
  const char* name;
  Family family;
  bool takesCueSheet;
};

const std::vector<TaggedFile> kTaggedFiles = {
    {"mp3_id3v22.mp3", Family::kID3v2, false},
    {"mp3_id3v23.mp3", Family::kID3v2, false},
    {"mp3_id3v24_id3v1.mp3", Family::kID3v2, false},
    {"mp3_id3v1.mp3", Family::kID3v2, false},
    {"mp3_id3v2_ape.mp3", Family::kID3v2, false},
    {"aiff_id3.aif", Family::kID3v2, false},
    {"wav_info.wav", Family::kID3v2, false},
    {"wav_id3.wav", Family::kID3v2, false},
    {"wav_info_id3.wav", Family::kID3v2, false},
    {"dsf_tagged.dsf", Family::kID3v2, false},
    {"m4a_tagged.m4a", Family::kMP4, false},
    {"m4a_mdat_first.m4a", Family::kMP4, false},
    {"flac_comment.flac", Family::kXiph, true},
    {"flac_pictures.flac", Family::kXiph, true},
    {"flac_id3.flac", Family::kXiph, true},
    {"vorbis_tagged.ogg", Family::kXiph, true},
    {"vorbis.oga", Family::kXiph, true},
    {"flac.oga", Family::kXiph, true},
    {"opus_tagged.opus", Family::kXiph, true},
    {"wma_tagged.wma", Family::kASF, false},
    {"ape_tagged.ape", Family::kAPE, true},
    {"ape_id3v1.ape", Family::kAPE, true},
    {"wavpack_tagged.wv", Family::kAPE, true},
    {"mpc_tagged.mpc", Family::kAPE, false},
};

void PrintTo(const TaggedFile& file, std::ostream* out) {
  *out << file.name;
}

/// The fields that go through the library's generic tag.
bool isCore(const Places& places) {
  return places.kind == Kind::kCore || places.field == "year"s;
}

/// The library's: saving an MP3 file that has an ID3v1 tag copies its values into the ID3v2 fields
/// that are empty.
const std::map<std::string, TagContents> kCopiedFromID3v1 = {
    {"mp3_id3v24_id3v1.mp3",
     {{"ID3v2 COMM:XXX:", {"\0XXX\0a comment of 28 characters.."s}}, {"ID3v2 TCON", {"\0Rock"s}}}},
    {"mp3_id3v1.mp3",
     {{"ID3v2 TIT2", {"\0Rising Tone"s}},
      {"ID3v2 TPE1", {"\0Zo\xeb M\xfcller"s}},
      {"ID3v2 TALB", {"\0Test Tones"s}},
      {"ID3v2 TDRC", {"\0001999"s}},
      {"ID3v2 TRCK", {"\0007"s}},
      {"ID3v2 TCON", {"\0Rock"s}},
      {"ID3v2 COMM:XXX:", {"\0XXX\0a comment of 28 characters.."s}}}},
};

/// The library's: an MP3 file that its generic file reference saves gets an ID3v1 tag with what the
/// ID3v2 tag says.
const std::map<std::string, TagContents> kCopiedIntoNewID3v1 = {
    {"mp3_id3v22.mp3",
     {{"ID3v1 title", {"Rising Tone"}},
      {"ID3v1 artist", {"The Artist"}},
      {"ID3v1 album", {"Test Tones"}},
      {"ID3v1 year", {"0"}},
      {"ID3v1 comment", {"a comment"}},
      {"ID3v1 track", {"1"}},
      {"ID3v1 genre", {"255"}}}},
    {"mp3_id3v23.mp3",
     {{"ID3v1 title", {"Rising Tone"}},
      {"ID3v1 artist", {"Zoë Müller"}},
      {"ID3v1 album", {"Test Tones"}},
      {"ID3v1 year", {"1999"}},
      {"ID3v1 comment", {"a comment"}},
      {"ID3v1 track", {"1"}},
      {"ID3v1 genre", {"255"}}}},
    {"mp3_id3v2_ape.mp3",
     {{"ID3v1 title", {"Rising Tone"}},
      {"ID3v1 artist", {"Zoë Müller"}},
      {"ID3v1 album", {"Test Tones"}},
      {"ID3v1 year", {"1999"}},
      {"ID3v1 comment", {""}},
      {"ID3v1 track", {"7"}},
      {"ID3v1 genre", {"255"}}}},
};

/// The library's: it puts those copies behind the service's new frame. When the same edit comes
/// again, the frame is removed and added once more, and now stands behind the copies; from then on
/// nothing moves. These are the fields whose frames are replaced, and not changed in their place.
const std::set<std::string> kReplacedByAValue = {"composer",     "lyrics",
                                                 "albumArtist",  "grouping",
                                                 "encoder",      "publisher",
                                                 "description",  "conductor",
                                                 "discSubtitle", "rating",
                                                 "compilation",  "bpm",
                                                 "trackNumber",  "totalNumberOfTracks",
                                                 "disc"};
const std::set<std::string> kReplacedByAnAbsentValue = {"rating", "disc"};

std::string upperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

class Untouched : public testing::TestWithParam<TaggedFile> {
 protected:
  /// Whether the edit is about this name.
  static bool isEdited(const Places& places, const std::string& name) {
    std::set<std::string> names;
    for (const std::string& edited : namesOf(places, GetParam().family)) names.insert(edited);
    // The track number and the comment go into the ID3v1 tag of an MP3 file as well.
    const bool isMP3 = std::strstr(GetParam().name, ".mp3") != nullptr;
    if (places.id3v1 && isMP3) names.insert("ID3v1 "s + places.id3v1);
    // A comment is there now, or none any more in the ID3v1 tag.
    if (places.kind == Kind::kComment) names.insert("ID3v2 COMM:XXX:");
    // All lyrics make room for one text.
    if (places.kind == Kind::kLyrics && name.starts_with("ID3v2 USLT:")) return true;
    // The library's generic tag of MP3, FLAC and Monkey's Audio files stands for all tags in them.
    if (isCore(places)) {
      names.insert("ID3v1 "s + places.id3v1);
      for (const Family family : {Family::kID3v2, Family::kAPE}) {
        for (const std::string& edited : namesOf(places, family)) names.insert(edited);
      }
    }
    // The case of an APE key may change: it means the same.
    if (name.starts_with("APE ")) {
      return std::any_of(names.begin(), names.end(), [&](const std::string& edited) {
        return upperCase(edited) == upperCase(name);
      });
    }
    return names.contains(name);
  }

  static TagContents withoutEdited(const Places& places, TagContents contents) {
    std::erase_if(contents, [&](const auto& entry) { return isEdited(places, entry.first); });
    return contents;
  }

  static void addCopies(const std::map<std::string, TagContents>& rule, TagContents& contents) {
    const auto copied = rule.find(GetParam().name);
    if (copied == rule.end()) return;
    for (const auto& entry : copied->second) EXPECT_TRUE(contents.insert(entry).second);
  }

  static bool isTaken(const Places& places) {
    if (places.kind == Kind::kCueSheet) return GetParam().takesCueSheet;
    return places.field != "totalNumberOfTracks"s || GetParam().family != Family::kASF;
  }

  void checkAll(const FieldChange& value, const std::set<std::string>& replaced) {
    for (const Places& places : kPlaces) {
      SCOPED_TRACE(places.field);
      const std::string path = directory_.copyOf(GetParam().name);
      TagContents expected = readTagContents(path);

      const bool taken = isTaken(places);
      EXPECT_EQ(writeField(path, places.field, value), taken);
      if (!taken) {
        EXPECT_TRUE(readFile(path) == readFile(dataFile(GetParam().name)));
        continue;
      }
      addCopies(kCopiedFromID3v1, expected);
      if (isCore(places)) addCopies(kCopiedIntoNewID3v1, expected);
      EXPECT_TRUE(sameContents(withoutEdited(places, readTagContents(path)),
                               withoutEdited(places, expected)));
      const bool moves =
          kCopiedFromID3v1.contains(GetParam().name) && replaced.contains(places.field);
      checkAgain(path, places, value, moves);
    }
  }

  /// The same edit once more leaves every byte where it is, or `moves` something one last time.
  static void checkAgain(const std::string& path, const Places& places, const FieldChange& value,
                         bool moves) {
    TagContents contents = readTagContents(path);
    // A total needs a number before it, which is there only when the first save has copied it.
    const bool hadNoNumber = GetParam().name == "mp3_id3v1.mp3"s &&
                             places.field == "totalNumberOfTracks"s && value.number != 0;
    if (hadNoNumber) contents["ID3v2 TRCK"] = {id3v2Text("7/4")};
    for (const bool moved : {moves, false}) {
      const std::string before = readFile(path);
      EXPECT_TRUE(writeField(path, places.field, value));
      EXPECT_EQ(readFile(path) != before, moved);
      EXPECT_TRUE(sameContents(readTagContents(path), contents));
    }
  }

  TemporaryDirectory directory_;
};

TEST_P(Untouched, ByAValue) {
  FieldChange value;
  value.text = "A typical value";
  value.number = 4;
  value.total = 12;
  value.real = 3.5;
  value.flag = true;
  checkAll(value, kReplacedByAValue);
}

TEST_P(Untouched, ByAnAbsentValue) {
  checkAll(FieldChange(), kReplacedByAnAbsentValue);
}

INSTANTIATE_TEST_SUITE_P(, Untouched, testing::ValuesIn(kTaggedFiles),
                         [](const auto& info) { return testName(std::string(info.param.name)); });

}  // namespace
}  // namespace tagwriter::test
