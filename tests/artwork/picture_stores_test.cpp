// Pictures in and out of tags that belong to no file.
#include "artwork/picture_stores.h"

#include <attachedpictureframe.h>
#include <gtest/gtest.h>
#include <textidentificationframe.h>

#include "tests/artwork/stored_pictures.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::String;
using TagLib::ID3v2::AttachedPictureFrame;

constexpr bool kKeep = false;
constexpr bool kReplace = true;
const std::string kImage = imageOf(100);

void addFrame(TagLib::ID3v2::Tag& tag, AttachedPictureFrame::Type type) {
  auto* frame = new AttachedPictureFrame;
  frame->setType(type);
  frame->setPicture("old");
  tag.addFrame(frame);
}

TEST(ID3v2Artwork, GoesIntoAnEmptyTag) {
  for (const bool replace : {kKeep, kReplace}) {
    TagLib::ID3v2::Tag tag;
    EXPECT_TRUE(setID3v2Artwork(tag, "image/png", bytesOf(kImage), replace));
    EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kID3v2, 1, kImage)});
    EXPECT_EQ(tag.frameList().size(), 1U);
  }
}

TEST(ID3v2Artwork, IsRefusedBesideAPictureOfAnyType) {
  for (int type = 0; type <= 20; ++type) {
    TagLib::ID3v2::Tag tag;
    addFrame(tag, static_cast<AttachedPictureFrame::Type>(type));
    const Pictures before = picturesOf(tag);
    EXPECT_FALSE(setID3v2Artwork(tag, "image/png", bytesOf(kImage), kKeep)) << type;
    EXPECT_EQ(picturesOf(tag), before);
  }
}

TEST(ID3v2Artwork, ReplacesPicturesOfAnyTypeAndNothingElse) {
  TagLib::ID3v2::Tag tag;
  tag.setTitle("Title");
  for (int type = 0; type <= 20; ++type) {
    addFrame(tag, static_cast<AttachedPictureFrame::Type>(type));
  }
  EXPECT_TRUE(setID3v2Artwork(tag, "image/gif", bytesOf(kImage), kReplace));
  EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kID3v2, 4, kImage)});
  EXPECT_EQ(tag.title(), "Title");
  EXPECT_EQ(tag.frameList().size(), 2U);
}

TEST(ID3v2Artwork, IsRemovedWhateverItsType) {
  TagLib::ID3v2::Tag tag;
  tag.setTitle("Title");
  addFrame(tag, AttachedPictureFrame::FrontCover);
  addFrame(tag, AttachedPictureFrame::Illustration);
  addFrame(tag, AttachedPictureFrame::Other);
  removeID3v2Artwork(tag);
  EXPECT_EQ(picturesOf(tag), Pictures());
  EXPECT_EQ(tag.title(), "Title");
  removeID3v2Artwork(tag);
  EXPECT_EQ(tag.frameList().size(), 1U);
}

TEST(XiphArtwork, GoesIntoAnEmptyComment) {
  for (const bool replace : {kKeep, kReplace}) {
    TagLib::Ogg::XiphComment comment;
    setXiphArtwork(comment, bytesOf(kImage), "image/bmp", replace);
    EXPECT_EQ(picturesOf(comment), Pictures{frontCover(Family::kXiph, 5, kImage)});
  }
}

TEST(XiphArtwork, IsKeptOrReplaced) {
  TagLib::Ogg::XiphComment comment;
  comment.setTitle("Title");
  setXiphArtwork(comment, "old", "image/png", kReplace);
  setXiphArtwork(comment, bytesOf(kImage), "image/bmp", kKeep);
  EXPECT_EQ(picturesOf(comment), Pictures{frontCover(Family::kXiph, 1, "old")});
  auto* second = new TagLib::FLAC::Picture;
  second->setData("second");
  comment.addPicture(second);
  setXiphArtwork(comment, bytesOf(kImage), "image/bmp", kReplace);
  EXPECT_EQ(picturesOf(comment), Pictures{frontCover(Family::kXiph, 5, kImage)});
  EXPECT_EQ(comment.title(), "Title");
}

TEST(MP4Artwork, IsTheOnlyCover) {
  TagLib::MP4::Tag tag;
  TagLib::MP4::CoverArtList covers;
  covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, "one"));
  covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, "two"));
  tag.setItem("covr", TagLib::MP4::Item(covers));
  tag.setTitle("Title");
  EXPECT_FALSE(setMP4Artwork(tag, artworkFormatOf(2), bytesOf(kImage), kKeep));
  EXPECT_EQ(picturesOf(tag).size(), 2U);
  EXPECT_TRUE(setMP4Artwork(tag, artworkFormatOf(2), bytesOf(kImage), kReplace));
  EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kMP4, 2, kImage)});
  EXPECT_EQ(tag.title(), "Title");
}

TEST(MP4Artwork, IsRefusedBesideAnItemWithoutCovers) {
  TagLib::MP4::Tag tag;
  tag.setItem("covr", TagLib::MP4::Item(TagLib::MP4::CoverArtList()));
  EXPECT_FALSE(setMP4Artwork(tag, artworkFormatOf(1), bytesOf(kImage), kKeep));
  EXPECT_EQ(picturesOf(tag), Pictures());
  EXPECT_TRUE(setMP4Artwork(tag, artworkFormatOf(1), bytesOf(kImage), kReplace));
  EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kMP4, 1, kImage)});
}

TEST(MP4Artwork, LeavesAnEmptyItemWhenRemoved) {
  TagLib::MP4::Tag tag;
  EXPECT_TRUE(setMP4Artwork(tag, artworkFormatOf(1), bytesOf(kImage), kKeep));
  removeArtwork(tag);
  EXPECT_TRUE(tag.contains("covr"));
  EXPECT_TRUE(tag.item("covr").isValid());
  EXPECT_TRUE(tag.item("covr").toCoverArtList().isEmpty());
}

TEST(MP4Artwork, LeavesNoItemWhereThereWasNone) {
  TagLib::MP4::Tag tag;
  tag.setTitle("Title");
  removeArtwork(tag);
  EXPECT_FALSE(tag.contains("covr"));
  EXPECT_EQ(tag.title(), "Title");
}

TEST(ASFArtwork, IsTheBytesAlone) {
  TagLib::ASF::Tag tag;
  tag.setTitle("Title");
  EXPECT_TRUE(setASFArtwork(tag, "old", kKeep));
  tag.addAttribute("WM/Picture", TagLib::ASF::Attribute(ByteVector("second")));
  EXPECT_FALSE(setASFArtwork(tag, bytesOf(kImage), kKeep));
  EXPECT_EQ(picturesOf(tag).size(), 2U);
  EXPECT_TRUE(setASFArtwork(tag, bytesOf(kImage), kReplace));
  EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kASF, 1, kImage)});
  EXPECT_EQ(tag.title(), "Title");
}

TEST(APEArtwork, IsAFileNameAZeroByteAndTheImage) {
  const std::pair<std::int64_t, std::string> names[] = {
      {1, ".png"}, {2, ".jpg"}, {3, ".tiff"}, {4, ".gif"}, {5, ".bmp"}, {0, ".jpg"}, {9, ".jpg"}};
  for (const auto& [type, extension] : names) {
    TagLib::APE::Tag tag;
    EXPECT_TRUE(setAPEArtwork(tag, bytesOf(kImage), type, kKeep));
    const TagLib::APE::Item item = tag.itemListMap()["COVER ART (FRONT)"];
    EXPECT_EQ(item.key(), "Cover Art (Front)");
    EXPECT_EQ(item.type(), TagLib::APE::Item::Binary);
    EXPECT_EQ(textOf(item.binaryData()), "Cover Art (Front)" + extension + '\0' + kImage);
    EXPECT_EQ(tag.itemListMap().size(), 1U);
  }
}

TEST(APEArtwork, OfNoBytesIsStillAnItem) {
  TagLib::APE::Tag tag;
  EXPECT_TRUE(setAPEArtwork(tag, ByteVector(), 1, kReplace));
  EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kAPE, 1, "")});
}

/// The library keeps its items under upper-cased keys, and the lookup is for the key as it is
/// spelled: a front cover that is there is never found.
TEST(APEArtwork, IsNeverKept) {
  for (const char* key : {"Cover Art (Front)", "Cover Art (front)", "COVER ART (FRONT)"}) {
    TagLib::APE::Tag tag;
    tag.setItem(key, TagLib::APE::Item(key, ByteVector("old"), true));
    EXPECT_TRUE(setAPEArtwork(tag, bytesOf(kImage), 1, kKeep)) << key;
    EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kAPE, 1, kImage)}) << key;
  }
}

TEST(APEArtwork, LeavesOtherPicturesAndItemsAlone) {
  TagLib::APE::Tag tag;
  tag.setTitle("Title");
  tag.setItem("Cover Art (Back)",
              TagLib::APE::Item("Cover Art (Back)", ByteVector("back.png\0x", 10), true));
  EXPECT_TRUE(setAPEArtwork(tag, bytesOf(kImage), 1, kReplace));
  EXPECT_EQ(tag.itemListMap().size(), 3U);
  removeArtwork(tag);
  EXPECT_EQ(tag.itemListMap().size(), 2U);
  EXPECT_TRUE(tag.itemListMap().contains("COVER ART (BACK)"));
  EXPECT_EQ(tag.title(), "Title");
}

/// Removal looks the key up in upper case, so the spelling in the tag does not matter.
TEST(APEArtwork, IsRemovedInAnySpelling) {
  for (const char* key : {"Cover Art (Front)", "Cover Art (front)", "cover art (front)"}) {
    TagLib::APE::Tag tag;
    tag.setItem(key, TagLib::APE::Item(key, ByteVector("old"), true));
    removeArtwork(tag);
    EXPECT_TRUE(tag.itemListMap().isEmpty()) << key;
  }
}

}  // namespace
}  // namespace tagwriter::test
