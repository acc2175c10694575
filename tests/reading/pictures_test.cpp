// The pictures that are listed for every format.
#include "reading/pictures.h"

#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <attachedpictureframe.h>
#include <fcntl.h>
#include <flacfile.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <unistd.h>
#include <xiphcomment.h>

#include <map>

#include "artwork/write_artwork.h"
#include "protocol/value_dictionary.h"
#include "reading/contents.h"
#include "reading/image_info.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using Lines = std::vector<std::string>;

/// One line per picture: role|MIME type|size|dimensions
Lines picturesIn(const std::string& path) {
  Lines lines;
  for (const Picture& picture : readContents(openFile(path, O_RDONLY), path.c_str()).pictures) {
    std::string line =
        picture.role + "|" + picture.mimeType + "|" + std::to_string(picture.image.size()) + "|";
    if (const auto size =
            dimensionsOf(std::as_bytes(std::span(picture.image.data(), picture.image.size())))) {
      line += std::to_string(size->width) + "x" + std::to_string(size->height);
    }
    lines.push_back(line);
  }
  return lines;
}

const std::string kRedFront = "Front Cover|image/png|96|8x8";

/// Opens the file as a TagLib class, calls edit(file), saves and closes.
template <typename File, typename Edit>
void edit(const std::string& path, const Edit& edit) {
  File file(path.c_str(), false);
  edit(file);
  EXPECT_TRUE(file.save()) << path;
}

/// The files of the test data that have pictures.
const std::map<std::string, Lines> kPictures = {
    {"mp3_id3v22.mp3", {kRedFront}},
    {"mp3_id3v23.mp3", {"Back Cover|image/png|94|8x8", kRedFront}},
    {"m4a_tagged.m4a", {"|image/png|96|8x8", "|image/jpeg|207|8x8"}},
    {"flac_pictures.flac", {kRedFront, "Back Cover|image/jpeg|207|8x8"}},
    {"vorbis_tagged.ogg", {kRedFront}},
    {"opus_tagged.opus", {kRedFront}},
    {"wma_tagged.wma", {kRedFront}},
    {"ape_tagged.ape", {kRedFront}},
    {"wavpack_tagged.wv", {kRedFront}},
    {"dsf_tagged.dsf", {kRedFront}},
};

TEST(Pictures, OfEveryFile) {
  for (const std::string& name : audioFileNames()) {
    const auto expected = kPictures.find(name);
    EXPECT_EQ(picturesIn(dataFile(name)), expected == kPictures.end() ? Lines() : expected->second)
        << name;
  }
}

TEST(Pictures, AreNoneInOtherFiles) {
  const TemporaryDirectory directory;
  const LogCapture log;
  for (const std::string& bytes : {std::string(), std::string(5000, '\xff')}) {
    for (const char* extension : {"mp3", "m4a", "flac", "ogg", "wma", "aiff", "wav", "ape", "wv",
                                  "oga", "opus", "dsf", "mpc", "vgm", "xyz"}) {
      EXPECT_EQ(picturesIn(directory.write(std::string("noise.") + extension, bytes)), Lines())
          << extension;
    }
  }
}

TEST(Pictures, AreFoundInEveryFormatAfterAWrite) {
  const TemporaryDirectory directory;
  const std::string image = readFile(dataFile("cover.gif"));
  for (const char* name :
       {"mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "vorbis_plain.ogg", "wma_plain.wma",
        "aiff_plain.aiff", "wav_plain.wav", "ape_plain.ape", "vorbis.oga", "wavpack_plain.wv",
        "flac.oga", "opus_plain.opus", "dsf_plain.dsf", "mpc_plain.mpc"}) {
    const std::string path = directory.copyOf(name);
    ASSERT_TRUE(writeArtwork(openFile(path), path.c_str(), std::as_bytes(std::span(image)), 0,
                             ValueDictionary()));
    const std::string extension = std::filesystem::path(path).extension();
    const bool hasRoles = extension != ".m4a" && extension != ".wma";
    EXPECT_EQ(picturesIn(path),
              Lines{(hasRoles ? "Front Cover" : "") + std::string("|image/gif|850|8x8")})
        << name;
  }
}

TEST(Pictures, HaveTheTypeThatTheTagStates) {
  const TemporaryDirectory directory;
  const std::string path = directory.copyOf("mp3_plain.mp3");
  const std::pair<int, const char*> roles[] = {
      {0, "Other"},          {1, "File Icon"},       {2, "Other File Icon"}, {6, "Media"},
      {17, "Coloured Fish"}, {20, "Publisher Logo"}, {21, "Other"},          {255, "Other"}};
  for (const auto& [type, role] : roles) {
    edit<TagLib::MPEG::File>(path, [&](TagLib::MPEG::File& file) {
      auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
      frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(type));
      frame->setMimeType("image/x-own");
      frame->setPicture("GIF89a\x01");
      file.ID3v2Tag(true)->removeFrames("APIC");
      file.ID3v2Tag(true)->addFrame(frame);
    });
    EXPECT_EQ(picturesIn(path), Lines{std::string(role) + "|image/x-own|7|"}) << type;
  }
}

TEST(Pictures, OfUnknownFormatHaveNoType) {
  const TemporaryDirectory directory;
  const std::string path = directory.copyOf("m4a_plain.m4a");
  edit<TagLib::MP4::File>(path, [](TagLib::MP4::File& file) {
    TagLib::MP4::CoverArtList covers;
    covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, "no image"));
    covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, ""));
    file.tag()->setItem("covr", TagLib::MP4::Item(covers));
  });
  EXPECT_EQ(picturesIn(path), (Lines{"||8|", "||0|"}));
}

TEST(Pictures, OfAFLACFileAreInItsBlocksAndInItsComment) {
  const TemporaryDirectory directory;
  const std::string path = directory.copyOf("flac_pictures.flac");
  edit<TagLib::FLAC::File>(path, [](TagLib::FLAC::File& file) {
    auto* picture = new TagLib::FLAC::Picture;
    picture->setType(TagLib::FLAC::Picture::Artist);
    picture->setData("BM");
    file.xiphComment()->addPicture(picture);
  });
  Lines expected = kPictures.at("flac_pictures.flac");
  expected.emplace_back("Artist|image/bmp|2|");
  EXPECT_EQ(picturesIn(path), expected);
}

TEST(Pictures, OfAWMAMayBeBareOrStructured) {
  const TemporaryDirectory directory;
  const std::string path = directory.copyOf("wma_tagged.wma");
  edit<TagLib::ASF::File>(path, [](TagLib::ASF::File& file) {
    const std::string image = readFile(dataFile("cover.gif"));
    for (const std::string& bytes : {image, std::string("noise")}) {
      file.tag()->addAttribute(
          "WM/Picture", TagLib::ASF::Attribute(
                            TagLib::ByteVector(bytes.data(), static_cast<unsigned>(bytes.size()))));
    }
  });
  Lines lines = picturesIn(path);
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines, (Lines{kRedFront, "|image/gif|850|8x8", "||5|"}));
}

TEST(Pictures, OfAnAPETagAreItsBinaryCoverArtItems) {
  const TemporaryDirectory directory;
  const std::string path = directory.copyOf("ape_tagged.ape");
  edit<TagLib::APE::File>(path, [](TagLib::APE::File& file) {
    TagLib::APE::Tag& tag = *file.APETag(true);
    const auto add = [&](const char* key, const std::string& value) {
      const TagLib::ByteVector bytes(value.data(), static_cast<unsigned>(value.size()));
      tag.setItem(key, TagLib::APE::Item(key, bytes, true));
    };
    using namespace std::string_literals;
    add("cover art (back)", "back.bmp\0BM"s);
    add("Cover Art (Leaflet Page)", "\0GIF89a"s);
    add("Cover Art (Media)", "no zero byte"s);
    add("Cover Art (", "x\0y"s);
    add("Cover Artist", "x\0y"s);
    const TagLib::String text("text");
    tag.setItem("Cover Art (Band)", TagLib::APE::Item("Cover Art (Band)", text));
  });
  EXPECT_EQ(picturesIn(path), (Lines{" Cover||1|", "back Cover|image/bmp|2|", kRedFront,
                                     "Leaflet Page Cover|image/gif|6|"}));
}

}  // namespace
}  // namespace tagwriter::test
