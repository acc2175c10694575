#include "tests/fields/tag_contents.h"

#include <aifffile.h>
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <commentsframe.h>
#include <flacfile.h>
#include <id3v1tag.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <mp4atom.h>
#include <mp4file.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <opusfile.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>
#include <xiphcomment.h>

#include <filesystem>
#include <functional>

#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using TagLib::ByteVector;
using TagLib::String;

std::string bytes(const ByteVector& data) {
  return {data.data(), data.size()};
}

std::string utf8(const String& text) {
  return text.to8Bit(true);
}

std::string join(const char* first, const std::string& second) {
  return std::string(first).append(second);
}

// ID3v2 and ID3v1 -------------------------------------------------------------------------------

std::string nameOf(const TagLib::ID3v2::Frame& frame) {
  std::string name = join("ID3v2 ", bytes(frame.frameID()));
  if (auto* comment = dynamic_cast<const TagLib::ID3v2::CommentsFrame*>(&frame)) {
    name += join(":", bytes(comment->language())) + join(":", utf8(comment->description()));
  } else if (auto* lyrics = dynamic_cast<const TagLib::ID3v2::UnsynchronizedLyricsFrame*>(&frame)) {
    name += join(":", bytes(lyrics->language())) + join(":", utf8(lyrics->description()));
  } else if (auto* user = dynamic_cast<const TagLib::ID3v2::UserTextIdentificationFrame*>(&frame)) {
    name += join(":", utf8(user->description()));
  }
  return name;
}

void add(TagContents& contents, const TagLib::ID3v2::Tag& tag) {
  constexpr unsigned kHeaderSize = 10;
  for (const TagLib::ID3v2::Frame* frame : tag.frameList()) {
    contents[nameOf(*frame)].push_back(bytes(frame->render().mid(kHeaderSize)));
  }
}

void add(TagContents& contents, const TagLib::ID3v1::Tag& tag) {
  contents["ID3v1 title"] = {utf8(tag.title())};
  contents["ID3v1 artist"] = {utf8(tag.artist())};
  contents["ID3v1 album"] = {utf8(tag.album())};
  contents["ID3v1 year"] = {std::to_string(tag.year())};
  contents["ID3v1 comment"] = {utf8(tag.comment())};
  contents["ID3v1 track"] = {std::to_string(tag.track())};
  contents["ID3v1 genre"] = {std::to_string(tag.genreNumber())};
}

// The other families ----------------------------------------------------------------------------

void add(TagContents& contents, const TagLib::Ogg::XiphComment& comment) {
  contents["Xiph vendor"] = {utf8(comment.vendorID())};
  for (const auto& [name, values] : comment.fieldListMap()) {
    for (const String& value : values) contents[join("Xiph ", utf8(name))].push_back(utf8(value));
  }
  // The library takes these fields out of the list.
  for (const auto* picture : const_cast<TagLib::Ogg::XiphComment&>(comment).pictureList()) {
    contents["Xiph METADATA_BLOCK_PICTURE"].push_back(bytes(picture->render()));
  }
}

void add(TagContents& contents, TagLib::APE::Tag& tag) {
  static const char* const kTypes[] = {"text:", "binary:", "locator:"};
  for (const auto& [upperCaseKey, item] : tag.itemListMap()) {
    const std::string value = item.type() == TagLib::APE::Item::Binary
                                  ? bytes(item.binaryData())
                                  : utf8(item.values().toString(String(std::string(1, '\0'))));
    contents[join("APE ", utf8(item.key()))].push_back(kTypes[item.type()] + value);
  }
}

std::string valueOf(const TagLib::ASF::Attribute& attribute) {
  using TagLib::ASF::Attribute;
  switch (attribute.type()) {
    case Attribute::UnicodeType:
      return join("text:", utf8(attribute.toString()));
    case Attribute::BytesType:
      return join("bytes:", bytes(attribute.toByteVector()));
    case Attribute::BoolType:
      return join("bool:", std::to_string(attribute.toBool()));
    case Attribute::DWordType:
      return join("dword:", std::to_string(attribute.toUInt()));
    case Attribute::QWordType:
      return join("qword:", std::to_string(attribute.toULongLong()));
    case Attribute::WordType:
      return join("word:", std::to_string(attribute.toUShort()));
    case Attribute::GuidType:
      return join("guid:", bytes(attribute.toByteVector()));
  }
  return "unknown";
}

void add(TagContents& contents, TagLib::ASF::Tag& tag) {
  // The five texts of the content description object, which are no attributes.
  contents["ASF (title)"] = {utf8(tag.title())};
  contents["ASF (author)"] = {utf8(tag.artist())};
  contents["ASF (copyright)"] = {utf8(tag.copyright())};
  contents["ASF (description)"] = {utf8(tag.comment())};
  contents["ASF (rating)"] = {utf8(tag.rating())};
  for (const auto& [name, attributes] : tag.attributeListMap()) {
    for (const auto& attribute : attributes) {
      contents[join("ASF ", utf8(name))].push_back(valueOf(attribute));
    }
  }
}

void add(TagContents& contents, const TagLib::RIFF::Info::Tag& tag) {
  for (const auto& [name, value] : tag.fieldListMap()) {
    contents[join("INFO ", bytes(name))].push_back(utf8(value));
  }
}

/// The name of a freeform item, "----:mean:name", from its atom's body.
std::string freeformName(const ByteVector& body) {
  std::string name = "----";
  unsigned offset = 0;
  for (int child = 0; child < 2; ++child) {
    const unsigned size = body.toUInt(offset);
    name += join(":", bytes(body.mid(offset + 12, size - 12)));
    offset += size;
  }
  return name;
}

void addMP4(TagContents& contents, const std::string& path) {
  TagLib::MP4::File file(path.c_str(), false);
  TagLib::MP4::Atoms atoms(&file);
  const TagLib::MP4::Atom* list = atoms.find("moov", "udta", "meta", "ilst");
  if (!list) return;
  for (const TagLib::MP4::Atom* item : list->children) {
    constexpr long kHeaderSize = 8;
    file.seek(item->offset + kHeaderSize);
    const ByteVector body = file.readBlock(item->length - kHeaderSize);
    const std::string name = item->name == "----" ? freeformName(body) : bytes(item->name);
    contents["MP4 " + name].push_back(bytes(body));
  }
}

/// The metadata blocks of a FLAC file that stand behind the marker at `offset`.
void addFLACBlocks(TagContents& contents, const std::string& file, std::size_t offset) {
  enum : unsigned char { kPadding = 1, kComment = 4, kLast = 0x80 };
  for (bool last = false; !last;) {
    const auto byte = [&](std::size_t i) {
      return static_cast<unsigned char>(file.at(offset + i));
    };
    const unsigned type = byte(0) & ~kLast;
    const std::size_t size = byte(1) << 16 | byte(2) << 8 | byte(3);
    if (type != kPadding && type != kComment) {
      contents[join("FLAC block ", std::to_string(type))].push_back(file.substr(offset + 4, size));
    }
    last = byte(0) & kLast;
    offset += 4 + size;
  }
}

// The formats -----------------------------------------------------------------------------------

void addMPEG(TagContents& contents, const std::string& path) {
  TagLib::MPEG::File file(path.c_str(), false);
  if (file.hasID3v2Tag()) add(contents, *file.ID3v2Tag());
  if (file.hasID3v1Tag()) add(contents, *file.ID3v1Tag());
  if (file.hasAPETag()) add(contents, *file.APETag());
}

void addFLAC(TagContents& contents, const std::string& path) {
  TagLib::FLAC::File file(path.c_str(), false);
  if (file.hasXiphComment()) add(contents, *file.xiphComment());
  if (file.hasID3v2Tag()) add(contents, *file.ID3v2Tag());
  if (file.hasID3v1Tag()) add(contents, *file.ID3v1Tag());
  const std::string all = readFile(path);
  addFLACBlocks(contents, all, all.find("fLaC") + 4);
}

template <typename File>
void addOgg(TagContents& contents, const std::string& path) {
  File file(path.c_str(), false);
  if (file.isValid()) {
    add(contents, *file.tag());
  } else {
    ADD_FAILURE() << path << " cannot be read any more";
  }
}

void addOga(TagContents& contents, const std::string& path) {
  const bool isFLAC = readFile(path).substr(28, 5) ==
                      "\x7f"
                      "FLAC";
  isFLAC ? addOgg<TagLib::Ogg::FLAC::File>(contents, path)
         : addOgg<TagLib::Vorbis::File>(contents, path);
}

void addASF(TagContents& contents, const std::string& path) {
  add(contents, *TagLib::ASF::File(path.c_str(), false).tag());
}

void addAIFF(TagContents& contents, const std::string& path) {
  TagLib::RIFF::AIFF::File file(path.c_str(), false);
  if (file.hasID3v2Tag()) add(contents, *file.tag());
}

void addWAV(TagContents& contents, const std::string& path) {
  TagLib::RIFF::WAV::File file(path.c_str(), false);
  if (file.hasID3v2Tag()) add(contents, *file.ID3v2Tag());
  if (file.hasInfoTag()) add(contents, *file.InfoTag());
}

template <typename File>
void addAPE(TagContents& contents, const std::string& path) {
  File file(path.c_str(), false);
  if (file.hasAPETag()) add(contents, *file.APETag());
  if (file.hasID3v1Tag()) add(contents, *file.ID3v1Tag());
}

/// A DSF file to this library: bytes, with a tag where the header says.
class BytesFile : public TagLib::File {
 public:
  explicit BytesFile(const char* path) : File(path) {}
  TagLib::Tag* tag() const override { return nullptr; }
  TagLib::AudioProperties* audioProperties() const override { return nullptr; }
  bool save() override { return false; }
};

void addDSF(TagContents& contents, const std::string& path) {
  constexpr long kTagOffsetAt = 20;
  BytesFile file(path.c_str());
  file.seek(kTagOffsetAt);
  const long tagOffset = static_cast<long>(file.readBlock(8).toLongLong(false));
  if (tagOffset != 0) add(contents, TagLib::ID3v2::Tag(&file, tagOffset));
}

}  // namespace

TagContents readTagContents(const std::string& path) {
  static const std::map<std::string, std::function<void(TagContents&, const std::string&)>>
      kReaders = {
          {".mp3", addMPEG},
          {".m4a", addMP4},
          {".flac", addFLAC},
          {".ogg", addOgg<TagLib::Vorbis::File>},
          {".oga", addOga},
          {".opus", addOgg<TagLib::Ogg::Opus::File>},
          {".wma", addASF},
          {".aif", addAIFF},
          {".aiff", addAIFF},
          {".wav", addWAV},
          {".ape", addAPE<TagLib::APE::File>},
          {".wv", addAPE<TagLib::WavPack::File>},
          {".mpc", addAPE<TagLib::MPC::File>},
          {".dsf", addDSF},
      };
  TagContents contents;
  kReaders.at(std::filesystem::path(path).extension())(contents, path);
  return contents;
}

}  // namespace tagwriter::test
