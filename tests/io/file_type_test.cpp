// Which type a name stands for.
#include "io/file_type.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace tagwriter::test {
namespace {

struct Extension {
  const char* text;
  unsigned value;
};

/// Every extension that is known, with its value as a number.
constexpr Extension kKnown[] = {
    {"mp3", 1},  {"m4a", 2},   {"mp4", 2},   {"m4b", 2},  {"m4v", 2},  {"m4p", 3},  {"flac", 4},
    {"ogg", 5},  {"wma", 6},   {"aiff", 7},  {"aif", 7},  {"wav", 8},  {"ape", 9},  {"wv", 10},
    {"oga", 11}, {"opus", 12}, {"dsf", 13},  {"ay", 14},  {"gbs", 14}, {"gym", 14}, {"hes", 14},
    {"kss", 14}, {"nsf", 14},  {"nsfe", 14}, {"sap", 14}, {"spc", 14}, {"vgm", 14}, {"vgz", 14},
    {"ac3", 15}, {"au", 16},   {"mpc", 17},  {"shn", 18},
};

unsigned typeOf(const std::string& path) {
  return tagFileTypeForPath(path.c_str());
}

char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

TEST(FileType, HasTheValues1To18) {
  static_assert(std::is_same_v<std::underlying_type_t<TagFileType>, unsigned>);
  EXPECT_EQ(kTagFileMP3, 1u);
  EXPECT_EQ(kTagFileMP4, 2u);
  EXPECT_EQ(kTagFileM4P, 3u);
  EXPECT_EQ(kTagFileFLAC, 4u);
  EXPECT_EQ(kTagFileOgg, 5u);
  EXPECT_EQ(kTagFileWMA, 6u);
  EXPECT_EQ(kTagFileAIFF, 7u);
  EXPECT_EQ(kTagFileWAV, 8u);
  EXPECT_EQ(kTagFileAPE, 9u);
  EXPECT_EQ(kTagFileWavPack, 10u);
  EXPECT_EQ(kTagFileOGA, 11u);
  EXPECT_EQ(kTagFileOpus, 12u);
  EXPECT_EQ(kTagFileDSF, 13u);
  EXPECT_EQ(kTagFileGameMusic, 14u);
  EXPECT_EQ(kTagFileAC3, 15u);
  EXPECT_EQ(kTagFileAU, 16u);
  EXPECT_EQ(kTagFileMPC, 17u);
  EXPECT_EQ(kTagFileSHN, 18u);
}

TEST(FileType, FollowsTheExtension) {
  for (const auto& [text, value] : kKnown) {
    EXPECT_EQ(typeOf(std::string("song.") + text), value) << text;
    EXPECT_EQ(typeOf(std::string("/music/an album/01 song.") + text), value) << text;
  }
}

TEST(FileType, DoesNotMindTheCaseOfTheExtension) {
  for (const auto& [text, value] : kKnown) {
    std::string capitals = text;
    for (char& c : capitals) c = upper(c);
    EXPECT_EQ(typeOf("song." + capitals), value) << capitals;

    std::string mixed = text;
    mixed[0] = upper(mixed[0]);
    EXPECT_EQ(typeOf("song." + mixed), value) << mixed;
  }
  EXPECT_EQ(typeOf("song.fLaC"), 4u);
  EXPECT_EQ(typeOf("song.mP4"), 2u);
}

TEST(FileType, ComparesTheWholeExtension) {
  for (const auto& [text, value] : kKnown) {
    if (value == 1) continue;
    const std::string name = std::string("song.") + text;
    EXPECT_EQ(typeOf(name + "x"), 1u) << name;
    EXPECT_EQ(typeOf(name + " "), 1u) << name << " with a space behind it";
    EXPECT_EQ(typeOf("song. " + std::string(text)), 1u) << name << " with a space before it";
    EXPECT_EQ(typeOf("song.x" + std::string(text)), 1u) << name;
  }
  EXPECT_EQ(typeOf("song.fla"), 1u);
  EXPECT_EQ(typeOf("song.aifc"), 1u);
  EXPECT_EQ(typeOf("song.w"), 1u);
}

TEST(FileType, IsMP3WithoutAKnownExtension) {
  EXPECT_EQ(tagFileTypeForPath(nullptr), kTagFileMP3);
  for (const char* path : {"", ".", "..", "/", "song", "song.", "song.flac.", "song.xyz", "flac",
                           "/music/flac", "song/", "song.flac/", "/music/song.flac/."}) {
    EXPECT_EQ(typeOf(path), 1u) << path;
  }
}

TEST(FileType, LooksAtTheLastExtensionOnly) {
  EXPECT_EQ(typeOf("backup.tar.mp3"), 1u);
  EXPECT_EQ(typeOf("song.flac.mp3"), 1u);
  EXPECT_EQ(typeOf("song.mp3.flac"), 4u);
  EXPECT_EQ(typeOf("song.flac.xyz"), 1u);
  EXPECT_EQ(typeOf("song..flac"), 4u);
}

TEST(FileType, LooksAtTheLastComponentOnly) {
  EXPECT_EQ(typeOf("/music/best of.flac/song"), 1u);
  EXPECT_EQ(typeOf("/music/best of.flac/song.wv"), 10u);
  EXPECT_EQ(typeOf("a.b/c.d/song"), 1u);
  EXPECT_EQ(typeOf("../song.ogg"), 5u);
  EXPECT_EQ(typeOf("./song"), 1u);
  EXPECT_EQ(typeOf("C:\\best of.flac\\song.oga"), 11u);
}

TEST(FileType, TakesAHiddenFilesNameForAnExtension) {
  EXPECT_EQ(typeOf(".flac"), 4u);
  EXPECT_EQ(typeOf("/music/.flac"), 4u);
  EXPECT_EQ(typeOf(".hidden.ape"), 9u);
}

TEST(FileType, TakesNamesInAnyScript) {
  EXPECT_EQ(typeOf("/Musik/Žluťoučký kůň 🎵.flac"), 4u);
  EXPECT_EQ(typeOf("/Musik/caf\xe9.flac"), 4u) << "not UTF-8";
  EXPECT_EQ(typeOf("song.フラック"), 1u);
}

TEST(FileType, RaisesOnlyTheLettersOfAscii) {
  EXPECT_EQ(typeOf("song.a\xc4\xb1"
                   "f"),
            1u)
      << "dotless i, whose capital is I";
  EXPECT_EQ(typeOf("song.mp\xc2\xb3"), 1u) << "superscript three";
  EXPECT_EQ(typeOf("song.\xef\xbd\x86\xef\xbd\x8c\xef\xbd\x81\xef\xbd\x83"), 1u) << "wide letters";
  EXPECT_EQ(typeOf("song.k\xc5\xbf\xc5\xbf"), 1u) << "long s, whose capital is S";
  // What stands before the letters must not become one of them.
  EXPECT_EQ(typeOf("song.\x57\x41\x56"), 8u);
  EXPECT_EQ(typeOf("song.w`v"), 1u);
  EXPECT_EQ(typeOf("song.w{"), 1u);
}

TEST(FileType, IsWritableByNameIfItsExtensionStandsForATypeWithAWriter) {
  for (const auto& [text, value] : kKnown) {
    const bool writable = value < 14 || value == 17;
    EXPECT_EQ(isWritableFileName((std::string("/music/song.") + text).c_str()), writable) << text;
  }
  EXPECT_TRUE(isWritableFileName("song.FLAC"));
  EXPECT_FALSE(isWritableFileName("song.Shn"));
  for (const char* path : {"", ".", "song", "song.", "song.xyz", "best of.mp3/song", "mp3"}) {
    EXPECT_FALSE(isWritableFileName(path)) << path;
  }
}

}  // namespace
}  // namespace tagwriter::test
