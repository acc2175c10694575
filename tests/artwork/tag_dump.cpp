#include "tests/artwork/tag_dump.h"

#include <gtest/gtest.h>
#include <id3v1tag.h>
#include <id3v2frame.h>
#include <infotag.h>
#include <tpropertymap.h>

#include <algorithm>

namespace tagwriter::test {
namespace {

using Lines = std::vector<std::string>;

std::string inHex(const TagLib::ByteVector& bytes) {
  const TagLib::ByteVector hex = bytes.toHex();
  return std::string(hex.data(), hex.size());
}

std::string text(const TagLib::String& string) {
  return string.to8Bit(true);
}

/// The five core fields, the track and the year, as far as they are there.
void addCore(Lines& lines, const std::string& where, const TagLib::Tag& tag) {
  lines.push_back(where + " " + text(tag.title()) + "|" + text(tag.artist()) + "|" +
                  text(tag.album()) + "|" + text(tag.comment()) + "|" + text(tag.genre()) + "|" +
                  std::to_string(tag.year()) + "|" + std::to_string(tag.track()));
}

void add(Lines& lines, const TagLib::ID3v2::Tag* tag) {
  if (!tag) return;
  for (TagLib::ID3v2::Frame* frame : tag->frameList()) {
    const TagLib::ByteVector id = frame->frameID();
    // The header, which says a little less in older versions, is left out.
    if (id != "APIC") lines.push_back(inHex(id) + " " + inHex(frame->render().mid(10)));
  }
}

void add(Lines& lines, const TagLib::MP4::Tag* tag) {
  if (!tag) return;
  for (const auto& [name, item] : tag->itemMap()) {
    if (name != "covr") lines.push_back(text(name));
  }
  for (const auto& [name, values] : tag->properties()) {
    lines.push_back(text(name) + "=" + text(values.toString("|")));
  }
}

void add(Lines& lines, const TagLib::Ogg::XiphComment* comment) {
  if (!comment) return;
  // The library gives every FLAC file a comment when it saves, be it an empty one.
  if (!comment->vendorID().isEmpty()) lines.push_back("vendor " + text(comment->vendorID()));
  for (const auto& [name, values] : comment->fieldListMap()) {
    for (const auto& value : values) lines.push_back(text(name) + "=" + text(value));
  }
}

void add(Lines& lines, const TagLib::ASF::Tag* tag) {
  if (!tag) return;
  addCore(lines, "description", *tag);
  lines.push_back(text(tag->copyright()) + "|" + text(tag->rating()));
  for (const auto& [name, attributes] : tag->attributeListMap()) {
    if (name == "WM/Picture") continue;
    for (const auto& attribute : attributes) {
      lines.push_back(text(name) + " " + std::to_string(attribute.type()) + " " +
                      text(attribute.toString()));
    }
  }
}

void add(Lines& lines, const TagLib::APE::Tag* tag) {
  if (!tag) return;
  for (const auto& [key, item] : tag->itemListMap()) {
    if (key == "COVER ART (FRONT)") continue;
    lines.push_back(text(item.key()) + " " + std::to_string(item.type()) + " " +
                    text(item.toStringList().toString("|")) + inHex(item.binaryData()));
  }
}

Lines dump(TagLib::MPEG::File& f) {
  Lines lines;
  if (f.hasID3v2Tag()) add(lines, f.ID3v2Tag(false));
  if (f.hasAPETag()) add(lines, f.APETag(false));
  if (f.hasID3v1Tag()) addCore(lines, "ID3v1", *f.ID3v1Tag(false));
  return lines;
}

Lines dump(TagLib::FLAC::File& f) {
  Lines lines;
  if (f.hasXiphComment()) add(lines, f.xiphComment(false));
  if (f.hasID3v2Tag()) add(lines, f.ID3v2Tag(false));
  if (f.hasID3v1Tag()) addCore(lines, "ID3v1", *f.ID3v1Tag(false));
  return lines;
}

Lines dump(TagLib::RIFF::WAV::File& f) {
  Lines lines;
  if (f.hasID3v2Tag()) add(lines, f.ID3v2Tag());
  if (f.hasInfoTag()) {
    for (const auto& [name, value] : f.InfoTag()->fieldListMap()) {
      lines.push_back(inHex(name) + " " + text(value));
    }
  }
  return lines;
}

template <typename File>
Lines dumpAPE(File& f) {
  Lines lines;
  if (f.hasAPETag()) add(lines, f.APETag(false));
  if (f.hasID3v1Tag()) addCore(lines, "ID3v1", *f.ID3v1Tag(false));
  return lines;
}

Lines dump(TagLib::APE::File& f) {
  return dumpAPE(f);
}
Lines dump(TagLib::WavPack::File& f) {
  return dumpAPE(f);
}
Lines dump(TagLib::MPC::File& f) {
  return dumpAPE(f);
}

/// The classes that have one tag, which is always there.
template <typename File>
Lines dump(File& f) {
  Lines lines;
  add(lines, f.tag());
  return lines;
}

}  // namespace

std::vector<std::string> tagDump(Kind kind, const std::string& path) {
  Lines lines;
  withLibraryFile(kind, path, [&](auto& file) {
    EXPECT_TRUE(file.isValid()) << path;
    if (file.isValid()) lines = dump(file);
  });
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace tagwriter::test
