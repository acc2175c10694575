// Which type is derived from a file name.
#include "protocol/file_type.h"

#include <gtest/gtest.h>

#include <string>

namespace tagwriter::test {
namespace {

struct Row {
  const char* text;
  unsigned value;
};

/// Every known extension, with its type as a number.
constexpr Row kKnown[] = {
    {"mp3", 1},  {"m4a", 2},   {"mp4", 2},   {"m4b", 2},  {"m4v", 2},  {"m4p", 3},  {"flac", 4},
    {"ogg", 5},  {"wma", 6},   {"aiff", 7},  {"aif", 7},  {"wav", 8},  {"ape", 9},  {"wv", 10},
    {"oga", 11}, {"opus", 12}, {"dsf", 13},  {"ay", 14},  {"gbs", 14}, {"gym", 14}, {"hes", 14},
    {"kss", 14}, {"nsf", 14},  {"nsfe", 14}, {"sap", 14}, {"spc", 14}, {"vgm", 14}, {"vgz", 14},
    {"ac3", 15}, {"au", 16},   {"mpc", 17},  {"shn", 18},
};

unsigned typeOf(const std::string& path) {
  return tagFileTypeForPath(path.c_str());
}

TEST(FileType, FollowsTheWholeExtensionInAnyCase) {
  for (const auto& [text, value] : kKnown) {
    const std::string extension = text;
    std::string capitals = extension;
    for (char& c : capitals) c = static_cast<char>(std::toupper(c));
    for (const std::string& any : {extension, capitals, capitals[0] + extension.substr(1)}) {
      EXPECT_EQ(typeOf("/music/an album/01 song." + any), value) << any;
    }
    if (value == 1) continue;
    for (const std::string& other : {extension + "x", extension + " ", " " + extension,
                                     "x" + extension, extension + ".", extension + "/"}) {
      EXPECT_EQ(typeOf("song." + other), 1u) << other;
    }
    EXPECT_EQ(isWritableFileName(("song." + extension).c_str()), value < 14 || value == 17) << text;
  }
}

TEST(FileType, IsMP3ForEveryOtherName) {
  EXPECT_EQ(tagFileTypeForPath(nullptr), kTagFileMP3);
  EXPECT_FALSE(isWritableFileName(nullptr));
  for (const char* path :
       {"", ".", "..", "/", "song", "song.", "song.xyz", "song.fla", "flac", "/music/flac", "song/",
        "/music/best of.flac/song", "/music/song.flac/.", "a.b/c.d/song", "song.flac.xyz",
        "song.フラック", "song.w`v", "song.w{",
        // Letters outside ASCII whose capitals are in ASCII, or that look like ASCII.
        "song.a\u0131f", "song.kſſ", "song.mp³", "song.ｆｌａｃ"}) {
    EXPECT_EQ(typeOf(path), 1u) << path;
    EXPECT_FALSE(isWritableFileName(path)) << path;
  }
}

TEST(FileType, LooksAtTheLastExtensionOfTheLastComponent) {
  constexpr Row kPaths[] = {{"song.flac.mp3", 1},
                            {"song.mp3.flac", 4},
                            {"song..flac", 4},
                            {"/music/best of.flac/song.wv", 10},
                            {"../song.ogg", 5},
                            {"C:\\best of.flac\\song.oga", 11},
                            {".flac", 4},
                            {"/music/.flac", 4},
                            {".hidden.ape", 9},
                            {"/Musik/Žluťoučký kůň 🎵.flac", 4},
                            {"/Musik/caf\xe9.flac", 4}};
  for (const auto& [path, value] : kPaths) EXPECT_EQ(typeOf(path), value) << path;
}

}  // namespace
}  // namespace tagwriter::test
