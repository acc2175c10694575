// Which files pass for audio by their first bytes, and which do not.
#include "client/content.h"

#include <fcntl.h>
#include <unistd.h>

#include <set>

#include "protocol/file_type.h"
#include "tests/client/client_test.h"

namespace tagwriter::test {
namespace {

using namespace std::string_literals;

const char* const kExtensions[] = {"mp3", "m4a", "m4p", "flac", "ogg", "wma",  "aiff",
                                   "wav", "ape", "wv",  "oga",  "dsf", "opus", "mpc"};

class Content : public ClientTest {
 protected:
  Outcome check(const std::string& name, const std::string& content) const {
    return checkContent(openFile(directory_.write(name, content)).get(), name);
  }
};

/// One name for the types that share a container.
TagFileType containerOf(const std::string& path) {
  switch (const TagFileType type = tagFileTypeForPath(path.c_str())) {
    case kTagFileM4P:
      return kTagFileMP4;
    case kTagFileOGA:
    case kTagFileOpus:
      return kTagFileOgg;
    default:
      return type;
  }
}

TEST_F(Content, OfAudioPassesUnderItsNameAndFailsUnderAnother) {
  // TagLib finds the audio of these behind an ID3v2 tag.
  const std::set<TagFileType> behindATag = {kTagFileMP3, kTagFileFLAC,    kTagFileOgg, kTagFileMP4,
                                            kTagFileAPE, kTagFileWavPack, kTagFileMPC};
  for (const std::string& name : audioFileNames()) {
    if (!isWritableFileName(name.c_str())) continue;
    const std::string content = readFile(dataFile(name));
    EXPECT_STATUS(Status::kWritten, check(name, content)) << name;
    for (const std::string extension : kExtensions) {
      const std::string other = "song." + extension;
      const bool passes = containerOf(other) == containerOf(name) ||
                          (content.starts_with("ID3") && behindATag.contains(containerOf(other)));
      EXPECT_STATUS(passes ? Status::kWritten : Status::kOtherContent, check(other, content))
          << name;
    }
  }
}

TEST_F(Content, OfAnMP3MayStartWithAlmostAnything) {
  const std::string audio = readFile(dataFile("mp3_plain.mp3"));
  for (const std::string& start :
       {"\0"s, std::string(100'000, '\0'), "\xff"s, "\xff\xfe"s, "\xff\xd8\xfe"s, "BM"s, "MZ"s,
        "I"s, "ID3\4\0\0\0\0\0\0"s, "ID3"s, "APETAGEX\xd0\7\0\0 \0\0\0\0\0\0\0"s, "TAG"s, "RIFF"s,
        "RIFF\x24\0\0\0WAVEfmt \x1e\0\0\0\x55\0\2\0"s, "RIFF\x24\0\0\0WAVELIST"s,
        "RIFF\x24\0\0\0RMP3data"s, "ICY 200 OK\r\nicy-name: Radio\r\n\r\n"s,
        std::string(500'000, 'x')}) {
    EXPECT_STATUS(Status::kWritten, check("song.mp3", start + audio)) << start.substr(0, 50);
  }
}

TEST_F(Content, OfAnotherKindIsNamed) {
  // Each is followed by zeros.
  const std::pair<std::string, const char*> starts[] = {
      {"\xff\xd8\xff\xe0\0\x10JFIF"s, "a JPEG image"},
      {"\x89PNG\r\n\x1a\n"s, "a PNG image"},
      {"GIF87a"s, "a GIF image"},
      {"GIF89a"s, "a GIF image"},
      {"BM\x8e\1\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0"s, "a BMP image"},
      {"II*\0\x08\0\0\0"s, "a TIFF image"},
      {"MM\0*\0\0\0\x08"s, "a TIFF image"},
      {"RIFF\x24\0\0\0WEBPVP8 "s, "a WebP image"},
      {"\0\0\0\x18"
       "ftypheic"s,
       "a HEIF image"},
      {"\0\0\0\x18"
       "ftypmif1"s,
       "a HEIF image"},
      {"\0\0\0\x20"
       "ftypavif"s,
       "an AVIF image"},
      {"%PDF-1.7\n"s, "a PDF document"},
      {"PK\3\4"s, "a ZIP archive"},
      {"PK\5\6"s, "a ZIP archive"},
      {"\x1f\x8b\x08"s, "a gzip file"},
      {"7z\xbc\xaf\x27\x1c"s, "a 7z archive"},
      {"\xfd"
       "7zXZ\0"s,
       "an xz file"},
      {"BZh91AY&SY"s, "a bzip2 file"},
      {"\x28\xb5\x2f\xfd"s, "a Zstandard file"},
      {"Rar!\x1a\7\1\0"s, "a RAR archive"},
      {"\x7f"
       "ELF\2\1\1"s,
       "a program"},
      {"\xfe\xed\xfa\xce"s, "a program"},
      {"\xfe\xed\xfa\xcf"s, "a program"},
      {"\xce\xfa\xed\xfe"s, "a program"},
      {"\xcf\xfa\xed\xfe"s, "a program"},
      {"\xca\xfe\xba\xbe"s, "a program"},
      {"MZ\x90\0\3\0\0\0\4\0\0\0\xff\xff\0\0"s, "a program"},
      {"#!/bin/sh\n"s, "a script"},
      {"\x1a\x45\xdf\xa3"s, "a Matroska or WebM file"},
      {"RIFF\x24\0\0\0AVI LIST"s, "an AVI file"},
      {"\0\0\1\xba"s, "an MPEG video"},
      {"FLV\1\5"s, "an FLV file"},
      {"MThd\0\0\0\6"s, "a MIDI file"},
      {".snd\0\0\0\x18"s, "an AU file"},
      {"FRM8"s, "a DSDIFF file"},
      {"RIFX\0\0\0\x24WAVEfmt "s, "a RIFX file, which cannot be edited"},
  };
  for (const auto& [start, kind] : starts) {
    for (const std::string extension : kExtensions) {
      const Outcome outcome = check("song." + extension, start + std::string(100, '\0'));
      EXPECT_STATUS(Status::kOtherContent, outcome) << kind << ' ' << extension;
      EXPECT_EQ(outcome.detail(), kind);
    }
  }
  for (const std::string& start : {"\xff\xfa\x90\0"s, "\xff\xf3\x80\0"s, "\xff\xf2\x80\0"s}) {
    EXPECT_EQ(check("song.flac", start).detail(), "an MP3 file");
  }
  EXPECT_EQ(check("song.mp3", "MP+\7"s).detail(), "a Musepack file");
  EXPECT_EQ(check("song.flac", "RIFF\x24\0\0\0WAVELIST"s).detail(), "a WAV file");
  EXPECT_EQ(check("song.flac", "RIFF\x24\0\0\0RMP3data"s).detail(), "a RIFF file with MPEG audio");
  // An uncompressed WAV file is no MP3, whatever it is called.
  EXPECT_EQ(check("song.mp3", readFile(dataFile("wav_plain.wav"))).detail(), "a WAV file");
}

TEST_F(Content, ThatIsTextIsNotAudio) {
  for (const std::string& text :
       {"x"s, "#EXTM3U\nsong.flac\n"s, "FILE \"M\xfcnchen.wav\" WAVE\r\n\tTRACK 01 AUDIO\f\n"s,
        "\xef\xbb\xbf<?xml version=\"1.0\"?>"s, std::string(3'000'000, 'x')}) {
    for (const char* name : {"song.mp3", "song.flac", "song.wav"}) {
      const Outcome outcome = check(name, text);
      EXPECT_STATUS(Status::kOtherContent, outcome) << name;
      EXPECT_EQ(outcome.detail(), "plain text");
    }
  }
}

TEST_F(Content, IsNotLookedForInAFileThatIsEmptyOrOfAnotherType) {
  EXPECT_STATUS(Status::kEmptyFile, check("song.mp3", ""));
  const std::string audio = readFile(dataFile("mp3_id3v23.mp3"));
  for (const char* name : {"song", "mp3", "song.mp3.part", "cover.jpg", "video.mkv", "song.ac3"}) {
    EXPECT_STATUS(Status::kUnknownType, check(name, audio)) << name;
  }
}

TEST_F(Content, LeavesTheOffsetWhereItIs) {
  const UniqueFd file = openFile(dataFile("mp3_plain.mp3"), O_RDONLY);
  ASSERT_EQ(::lseek(file.get(), 7, SEEK_SET), 7);
  EXPECT_STATUS(Status::kWritten, checkContent(file.get(), "song.mp3"));
  EXPECT_EQ(::lseek(file.get(), 0, SEEK_CUR), 7);
}

TEST_F(Content, OfAnyKindIsEditedOnRequest) {
  const std::string path = directory_.write("notes.txt", "text");
  EXPECT_STATUS(Status::kUnknownType, writer_.setField(path, "composer", "C"s));
  EXPECT_STATUS(Status::kUnknownType, writer_.write(path, std::span<const Edit>()));
  EXPECT_EQ(readFile(path), "text");
  EXPECT_STATUS(Status::kWritten, writer_.setField(path, "composer", "C"s, {.anyFile = true}));
  EXPECT_TRUE(readFile(path).starts_with("ID3"));
}

}  // namespace
}  // namespace tagwriter::test
