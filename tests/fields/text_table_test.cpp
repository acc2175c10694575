// Every text field in every container: what each value becomes, and that nothing else moves.
#include <gtest/gtest.h>

#include <iterator>
#include <optional>
#include <string>

#include "tagging/field_table.h"
#include "tests/fields/edit.h"
#include "tests/fields/places.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using Text = std::optional<std::string>;

constexpr char kTypical[] = "A typical value";
constexpr char kNonASCII[] = "Žluťoučký kůň, 日本語, e\xcc\x81, 🎵𝄞";

/// 64 KiB, with a character beyond the 16-bit ones in every 16 bytes.
std::string longText() {
  std::string text;
  while (text.size() < 65536) text += "a long text 🎵";
  return text.substr(0, 65536);
}

/// Whether the service takes the edit. A cue sheet goes into a Xiph comment, or into an APE tag
/// that is there, and the files of this table have none. Three texts of a WMA file have 16-bit
/// lengths.
bool isTaken(const Places& places, Family family, const Text& text) {
  if (places.kind == Kind::kCueSheet) return family == Family::kXiph;
  const bool hasShortLength = family == Family::kASF && places.asf.front().starts_with("(");
  return !hasShortLength || !text || text->size() < 65536;
}

/// The library's: whatever is saved, a FLAC file gets a comment.
void addFLACComment(TagContents& contents) {
  contents.insert({"Xiph vendor", {""}});
}

/// The library's: an MP3 file that its generic file reference saves has an ID3v1 tag with what fits
/// into one (here the ASCII texts) and none when all fields would be empty.
void addID3v1(const Places& places, const Text& text, TagContents& contents) {
  static const TagContents kEmpty = {{"ID3v1 title", {""}},   {"ID3v1 artist", {""}},
                                     {"ID3v1 album", {""}},   {"ID3v1 year", {"0"}},
                                     {"ID3v1 track", {"0"}},  {"ID3v1 comment", {""}},
                                     {"ID3v1 genre", {"255"}}};
  for (const auto& [name, values] : kEmpty) contents.erase(name);
  const bool isGenreWithoutANumber = std::string(places.field) == "genre";
  if (isGenreWithoutANumber || !text || text->empty()) return;
  contents.insert(kEmpty.begin(), kEmpty.end());
  if (*text == kTypical) contents["ID3v1 " + std::string(places.id3v1)] = {kTypical};
}

class TextFields : public testing::TestWithParam<Container> {
 protected:
  /// Writes the text into a copy of `start`, checks the whole file and returns its path.
  std::string check(const Places& places, const Text& text, const std::string& start) {
    SCOPED_TRACE(places.field);
    const std::string path = directory_.write(GetParam().file, readFile(start));
    const TagContents before = readTagContents(path);

    const bool taken = isTaken(places, GetParam().family, text);
    EXPECT_EQ(writeField(path, places.field, textValue(text ? text->c_str() : nullptr)), taken);
    if (!taken) {
      EXPECT_TRUE(readFile(path) == readFile(start));
      return path;
    }
    TagContents expected = before;
    const bool isNew = places.kind == Kind::kCueSheet && !before.contains("Xiph vendor");
    if (!isNew) putOutcomes(outcomesOfText(places, GetParam().family, text), expected);
    if (path.ends_with(".flac")) addFLACComment(expected);
    if (path.ends_with(".mp3") && places.kind == Kind::kCore) addID3v1(places, text, expected);
    EXPECT_TRUE(sameContents(readTagContents(path), expected));
    return path;
  }

  /// Writes the text into a file without the field and into one that has it.
  void checkAll(const Text& text) {
    for (const Places& places : kPlaces) {
      if (places.kind == Kind::kNoText) continue;
      const std::string untagged = dataFile(GetParam().file);
      check(places, text, untagged);
      const std::string typical = readFile(check(places, kTypical, untagged));
      check(places, text, directory_.write("with a typical value", typical));
    }
  }

  TemporaryDirectory directory_;
};

TEST(FieldTable, HasTheseFieldsAndNoOthers) {
  EXPECT_EQ(kPlaces.size(), 23u);
  EXPECT_EQ(std::size(table::kFields), kPlaces.size());
  for (const Places& places : kPlaces) {
    const FieldRow* row = findFieldRow(places.field);
    ASSERT_TRUE(row) << places.field;
    EXPECT_STREQ(row->field.key, places.field);
  }
  for (const char* key : {"", "Title", "TITLE", "title ", "totalNumberOfDiscs", "disC"}) {
    EXPECT_FALSE(findFieldRow(key)) << key;
  }
  EXPECT_FALSE(findFieldRow(nullptr));
}

TEST_P(TextFields, Typical) {
  checkAll(kTypical);
}
TEST_P(TextFields, Absent) {
  checkAll(std::nullopt);
}
TEST_P(TextFields, Empty) {
  checkAll("");
}
TEST_P(TextFields, NonASCII) {
  checkAll(kNonASCII);
}
TEST_P(TextFields, SixtyFourKiB) {
  checkAll(longText());
}

INSTANTIATE_TEST_SUITE_P(, TextFields, testing::ValuesIn(kContainers),
                         [](const auto& info) { return testName(info.param); });

}  // namespace
}  // namespace tagwriter::test
