#include "artwork/picture_stores.h"

#include <attachedpictureframe.h>
#include <flacpicture.h>

#include <exception>
#include <memory>

#include "base/log.h"

namespace tagwriter {
namespace {

using TagLib::ByteVector;
using TagLib::String;
using TagLib::ID3v2::AttachedPictureFrame;
using TagLib::MP4::CoverArt;
using TagLib::MP4::CoverArtList;

constexpr char kID3v2Picture[] = "APIC";
constexpr char kMP4Cover[] = "covr";
constexpr char kASFPicture[] = "WM/Picture";
constexpr char kAPEFrontCover[] = "Cover Art (Front)";
constexpr char kAPEFrontCoverToRemove[] = "Cover Art (front)";

std::unique_ptr<TagLib::FLAC::Picture> makeFrontCover(const ByteVector& image,
                                                      const String& mimeType) {
  auto picture = std::make_unique<TagLib::FLAC::Picture>();
  picture->setData(image);
  picture->setMimeType(mimeType);
  picture->setType(TagLib::FLAC::Picture::FrontCover);
  return picture;
}

}  // namespace

bool setID3v2Artwork(TagLib::ID3v2::Tag& tag, const String& mimeType, const ByteVector& image,
                     bool replace) {
  try {
    if (!tag.frameList(kID3v2Picture).isEmpty()) {
      if (!replace) return false;
      tag.removeFrames(kID3v2Picture);
    }
    auto frame = std::make_unique<AttachedPictureFrame>();
    frame->setType(AttachedPictureFrame::FrontCover);
    frame->setMimeType(mimeType);
    frame->setPicture(image);
    tag.addFrame(frame.release());
    return true;
  } catch (const std::exception&) {
    logLine("Error allocating memory for new AttachedPictureFrame");
    return false;
  }
}

bool setMP4Artwork(TagLib::MP4::Tag& tag, const ArtworkFormat& format, const ByteVector& image,
                   bool replace) {
  if (!replace && tag.contains(kMP4Cover)) return false;
  CoverArtList covers;
  covers.append(CoverArt(format.mp4Format, image));
  tag.setItem(kMP4Cover, TagLib::MP4::Item(covers));
  return true;
}

bool setFLACArtwork(TagLib::FLAC::File& file, const String& mimeType, const ByteVector& image,
                    bool replace) {
  if (!replace && !file.pictureList().isEmpty()) return false;
  file.removePictures();
  file.addPicture(makeFrontCover(image, mimeType).release());
  return true;
}

void setXiphArtwork(TagLib::Ogg::XiphComment& comment, const ByteVector& image,
                    const String& mimeType, bool replace) {
  if (!replace && !comment.pictureList().isEmpty()) return;
  comment.removeAllPictures();
  comment.addPicture(makeFrontCover(image, mimeType).release());
}

bool setASFArtwork(TagLib::ASF::Tag& tag, const ByteVector& image, bool replace) {
  if (!replace && !tag.attribute(kASFPicture).isEmpty()) return false;
  tag.setAttribute(kASFPicture, TagLib::ASF::Attribute(image));
  return true;
}

bool setAPEArtwork(TagLib::APE::Tag& tag, const ByteVector& image, std::int64_t artworkType,
                   bool replace) {
  ByteVector value;
  value.append(String(artworkFormatOf(artworkType).apeFileName).data(String::UTF8));
  value.append('\0');
  value.append(image);
  const TagLib::APE::Item item(kAPEFrontCover, value, true);
  if (item.isEmpty()) return false;
  if (!replace && tag.itemListMap().contains(kAPEFrontCover)) return false;
  tag.setItem(kAPEFrontCover, item);
  return true;
}

void removeID3v2Artwork(TagLib::ID3v2::Tag& tag) {
  tag.removeFrames(kID3v2Picture);
}

void removeArtwork(TagLib::MP4::Tag& tag) {
  if (!tag.contains(kMP4Cover)) return;
  CoverArtList covers = tag.item(kMP4Cover).toCoverArtList();
  covers.clear();
  tag.setItem(kMP4Cover, TagLib::MP4::Item(covers));
}

void removeArtwork(TagLib::Ogg::XiphComment& comment) {
  comment.removeAllPictures();
}

void removeArtwork(TagLib::ASF::Tag& tag) {
  tag.removeItem(kASFPicture);
}

void removeArtwork(TagLib::APE::Tag& tag) {
  tag.removeItem(kAPEFrontCoverToRemove);
}

}  // namespace tagwriter
