#include "tests/formats/recording_editors.h"

#include <gtest/gtest.h>
#include <textidentificationframe.h>

#include <algorithm>
#include <typeinfo>

namespace tagwriter::test {
namespace {

void mark(TagLib::ID3v2::Tag* tag) {
  auto* frame = new TagLib::ID3v2::TextIdentificationFrame("TCOM", TagLib::String::UTF8);
  frame->setText(kMark);
  tag->removeFrames("TCOM");
  tag->addFrame(frame);
}
void mark(TagLib::ID3v1::Tag* tag) {
  tag->setComment(kMark);
}
void mark(TagLib::MP4::Tag* tag) {
  tag->setItem("\251wrt", TagLib::StringList(kMark));
}
void mark(TagLib::Ogg::XiphComment* tag) {
  tag->addField("COMPOSER", kMark, true);
}
void mark(TagLib::ASF::Tag* tag) {
  tag->setAttribute("WM/Composer", TagLib::String(kMark));
}
void mark(TagLib::APE::Tag* tag) {
  tag->addValue("Composer", kMark, true);
}

bool contains(const std::vector<Family>& families, Family family) {
  return std::find(families.begin(), families.end(), family) != families.end();
}

}  // namespace

template <typename Tag>
FieldEditor<Tag> RecordingEditors::recording(Family family) {
  return [this, family](Tag* tag) {
    ran.push_back(family);
    ASSERT_NE(tag, nullptr);
    const TagLib::Tag& object = *tag;
    EXPECT_EQ(typeid(object), typeid(Tag));
    mark(tag);
    if (afterwards) afterwards();
  };
}

RecordingEditors::RecordingEditors() {
  blocks.id3v2Block = recording<TagLib::ID3v2::Tag>(Family::kId3v2);
  blocks.id3v1Block = recording<TagLib::ID3v1::Tag>(Family::kId3v1);
  blocks.mp4Block = recording<TagLib::MP4::Tag>(Family::kMp4);
  blocks.xiphBlock = recording<TagLib::Ogg::XiphComment>(Family::kXiph);
  blocks.asfBlock = recording<TagLib::ASF::Tag>(Family::kAsf);
  blocks.apeBlock = recording<TagLib::APE::Tag>(Family::kApe);
}

void RecordingEditors::remove(const std::vector<Family>& families) {
  if (contains(families, Family::kId3v2)) blocks.id3v2Block = nullptr;
  if (contains(families, Family::kId3v1)) blocks.id3v1Block = nullptr;
  if (contains(families, Family::kMp4)) blocks.mp4Block = nullptr;
  if (contains(families, Family::kXiph)) blocks.xiphBlock = nullptr;
  if (contains(families, Family::kAsf)) blocks.asfBlock = nullptr;
  if (contains(families, Family::kApe)) blocks.apeBlock = nullptr;
}

void RecordingEditors::keepOnly(const std::vector<Family>& families) {
  for (const Family family :
       {Family::kId3v2, Family::kId3v1, Family::kMp4, Family::kXiph, Family::kAsf, Family::kApe}) {
    if (!contains(families, family)) remove({family});
  }
}

}  // namespace tagwriter::test
