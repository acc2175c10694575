#include "tests/artwork/stored_pictures.h"

#include <apetag.h>
#include <attachedpictureframe.h>
#include <flacpicture.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::String;

constexpr const char* kOldAPEKeys[] = {"Cover Art (Front)", "Cover Art (Back)",
                                       "Cover Art (Media)"};

std::string nth(const std::string& text, int index) {
  return text + std::to_string(index);
}

/// Old pictures are back covers, leaflet pages and media.
int oldType(int index) {
  return 4 + index;
}

std::string flacLabel(const std::string& where, int type, const std::string& mimeType,
                      const std::string& description) {
  return where + " " + std::to_string(type) + " mime=" + mimeType + " description=" + description +
         " 0x0 depth 0 colors 0";
}

std::string id3v2Label(int type, const std::string& mimeType, const std::string& description) {
  return "APIC " + std::to_string(type) + " mime=" + mimeType + " description=" + description +
         " encoding 0";
}

std::string apeLabel(const std::string& key) {
  return key + " binary";
}

Pictures sorted(Pictures pictures) {
  std::sort(pictures.begin(), pictures.end());
  return pictures;
}

Pictures flacPictures(const TagLib::List<TagLib::FLAC::Picture*>& list, const std::string& where) {
  Pictures pictures;
  for (TagLib::FLAC::Picture* picture : list) {
    const std::string label =
        where + " " + std::to_string(picture->type()) +
        " mime=" + picture->mimeType().to8Bit(true) +
        " description=" + picture->description().to8Bit(true) + " " +
        std::to_string(picture->width()) + "x" + std::to_string(picture->height()) + " depth " +
        std::to_string(picture->colorDepth()) + " colors " + std::to_string(picture->numColors());
    pictures.push_back({label, textOf(picture->data())});
  }
  return pictures;
}

TagLib::FLAC::Picture* oldFLACPicture(int index) {
  auto* picture = new TagLib::FLAC::Picture;
  picture->setType(static_cast<TagLib::FLAC::Picture::Type>(oldType(index)));
  picture->setMimeType("image/x-old");
  picture->setDescription(nth("old ", index));
  picture->setData(bytesOf(nth("old picture ", index)));
  return picture;
}

void addOld(TagLib::ID3v2::Tag& tag, int count) {
  for (int i = 0; i < count; ++i) {
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
    frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(oldType(i)));
    frame->setMimeType("image/x-old");
    frame->setDescription(nth("old ", i));
    frame->setPicture(bytesOf(nth("old picture ", i)));
    tag.addFrame(frame);
  }
}

void addOld(TagLib::MP4::Tag& tag, int count) {
  TagLib::MP4::CoverArtList covers;
  for (int i = 0; i < count; ++i) {
    covers.append(
        TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, bytesOf(nth("old picture ", i))));
  }
  if (count) tag.setItem("covr", TagLib::MP4::Item(covers));
}

void addOld(TagLib::FLAC::File& file, int count) {
  for (int i = 0; i < count; ++i) file.addPicture(oldFLACPicture(i));
}

void addOld(TagLib::Ogg::XiphComment& comment, int count) {
  for (int i = 0; i < count; ++i) comment.addPicture(oldFLACPicture(i));
}

void addOld(TagLib::ASF::Tag& tag, int count) {
  TagLib::ASF::AttributeList list;
  for (int i = 0; i < count; ++i) {
    list.append(TagLib::ASF::Attribute(bytesOf(nth("old picture ", i))));
  }
  if (count) tag.setAttribute("WM/Picture", list);
}

void addOld(TagLib::APE::Tag& tag, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string value = std::string("old.png") + '\0' + nth("old picture ", i);
    tag.setItem(kOldAPEKeys[i], TagLib::APE::Item(kOldAPEKeys[i], bytesOf(value), true));
  }
}

template <typename File>
bool saveAlone(File& file) {
  return file.save();
}

/// Without the ID3v1 tag that the library would make.
bool saveAlone(TagLib::MPEG::File& file) {
  return file.save(TagLib::MPEG::File::AllTags & ~TagLib::MPEG::File::ID3v1);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Picture& picture) {
  return out << '"' << picture.label << "\" " << picture.bytes.size() << " bytes \""
             << testing::PrintToString(picture.bytes.substr(0, 40)) << '"';
}

std::string plainCopy(const TemporaryDirectory& directory, const Format& format) {
  if (format.plain) return directory.copyOf(format.plain, format.as);
  const std::string path = directory.path() / format.as;
  const std::string command = "flac --silent --force --ogg --padding=64 --tag=TITLE=Tone -o '" +
                              path + "' '" + dataFile("wav_plain.wav") + "'";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  return path;
}

std::string imageOf(std::size_t size) {
  std::string image(size, '\0');
  std::uint32_t state = 2463534242U;
  for (char& c : image) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    c = static_cast<char>(state >> 8);
  }
  return image;
}

ByteVector bytesOf(const std::string& text) {
  return ByteVector(text.data(), static_cast<unsigned>(text.size()));
}

std::string textOf(const ByteVector& bytes) {
  return bytes.isEmpty() ? std::string() : std::string(bytes.data(), bytes.size());
}

Pictures picturesOf(const TagLib::ID3v2::Tag& tag) {
  Pictures pictures;
  for (TagLib::ID3v2::Frame* frame : tag.frameList("APIC")) {
    const auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
    if (!picture) {
      pictures.push_back({"APIC that is no picture", textOf(frame->render())});
      continue;
    }
    const std::string label = "APIC " + std::to_string(picture->type()) +
                              " mime=" + picture->mimeType().to8Bit(true) +
                              " description=" + picture->description().to8Bit(true) + " encoding " +
                              std::to_string(picture->textEncoding());
    pictures.push_back({label, textOf(picture->picture())});
  }
  return sorted(pictures);
}

Pictures picturesOf(TagLib::MP4::Tag& tag) {
  Pictures pictures;
  for (const auto& cover : tag.item("covr").toCoverArtList()) {
    pictures.push_back({"covr " + std::to_string(cover.format()), textOf(cover.data())});
  }
  return sorted(pictures);
}

Pictures picturesOf(TagLib::FLAC::File& file) {
  Pictures pictures = flacPictures(file.pictureList(), "block");
  if (TagLib::Ogg::XiphComment* comment = file.xiphComment(false)) {
    const Pictures inComment = picturesOf(*comment);
    pictures.insert(pictures.end(), inComment.begin(), inComment.end());
  }
  return sorted(pictures);
}

Pictures picturesOf(TagLib::Ogg::XiphComment& comment) {
  return sorted(flacPictures(comment.pictureList(), "field"));
}

Pictures picturesOf(TagLib::ASF::Tag& tag) {
  Pictures pictures;
  for (const auto& attribute : tag.attribute("WM/Picture")) {
    pictures.push_back(
        {"WM/Picture type " + std::to_string(attribute.type()), textOf(attribute.toByteVector())});
  }
  return sorted(pictures);
}

Pictures picturesOf(TagLib::APE::Tag& tag) {
  Pictures pictures;
  for (const auto& [key, item] : tag.itemListMap()) {
    if (!key.startsWith("COVER ART")) continue;
    const std::string name = item.key().to8Bit(true);
    pictures.push_back({item.type() == TagLib::APE::Item::Binary ? apeLabel(name) : name + " text",
                        textOf(item.binaryData())});
  }
  return sorted(pictures);
}

Pictures picturesIn(Kind kind, const std::string& path) {
  Pictures pictures;
  withLibraryFile(kind, path, [&](auto& file) {
    EXPECT_TRUE(file.isValid()) << path;
    if (file.isValid()) pictures = picturesOf(pictureTag(file));
  });
  return pictures;
}

Picture frontCover(Family family, std::int64_t artworkType, const std::string& image) {
  struct Names {
    const char* mimeType;
    int mp4Format;
    const char* fileName;
  };
  static constexpr Names kNames[] = {{"", 0, "Cover Art (Front).jpg"},
                                     {"image/png", 14, "Cover Art (Front).png"},
                                     {"image/jpeg", 13, "Cover Art (Front).jpg"},
                                     {"image/tiff", 0, "Cover Art (Front).tiff"},
                                     {"image/gif", 12, "Cover Art (Front).gif"},
                                     {"image/bmp", 27, "Cover Art (Front).bmp"}};
  const Names& names = kNames[artworkType >= 1 && artworkType <= 5 ? artworkType : 0];
  switch (family) {
    case Family::kID3v2:
      return {id3v2Label(3, names.mimeType, ""), image};
    case Family::kMP4:
      return {"covr " + std::to_string(names.mp4Format), image};
    case Family::kFLAC:
      return {flacLabel("block", 3, names.mimeType, ""), image};
    case Family::kXiph:
      return {flacLabel("field", 3, names.mimeType, ""), image};
    case Family::kASF:
      return {"WM/Picture type 1", image};
    case Family::kAPE:
      break;
  }
  return {apeLabel("Cover Art (Front)"), std::string(names.fileName) + '\0' + image};
}

Pictures oldPictures(Family family, int count) {
  Pictures pictures;
  for (int i = 0; i < count; ++i) {
    const std::string bytes = nth("old picture ", i);
    const std::string description = nth("old ", i);
    switch (family) {
      case Family::kID3v2:
        pictures.push_back({id3v2Label(oldType(i), "image/x-old", description), bytes});
        break;
      case Family::kMP4:
        pictures.push_back({"covr 13", bytes});
        break;
      case Family::kFLAC:
        pictures.push_back({flacLabel("block", oldType(i), "image/x-old", description), bytes});
        break;
      case Family::kXiph:
        pictures.push_back({flacLabel("field", oldType(i), "image/x-old", description), bytes});
        break;
      case Family::kASF:
        pictures.push_back({"WM/Picture type 1", bytes});
        break;
      case Family::kAPE:
        pictures.push_back({apeLabel(kOldAPEKeys[i]), std::string("old.png") + '\0' + bytes});
        break;
    }
  }
  return sorted(pictures);
}

Pictures addOldPictures(Kind kind, const std::string& path, int count) {
  withLibraryFile(kind, path, [&](auto& file) {
    addOld(pictureTag(file), count);
    EXPECT_TRUE(saveAlone(file)) << path;
  });
  const Pictures pictures = picturesIn(kind, path);
  EXPECT_EQ(pictures, oldPictures(familyOf(kind), count)) << path;
  return pictures;
}

}  // namespace tagwriter::test
