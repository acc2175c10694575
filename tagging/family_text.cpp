#include "tagging/family_text.h"

#include <textidentificationframe.h>

#include <exception>
#include <memory>

#include "base/log.h"
#include "tagging/strings.h"

namespace tagwriter {

using TagLib::String;
using TagLib::StringList;
using TagLib::ID3v2::TextIdentificationFrame;

void setID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const String& text) {
  try {
    const TagLib::ByteVector frameId(id);
    auto frame = std::make_unique<TextIdentificationFrame>(frameId, String::UTF8);
    frame->setText(text);
    tag.removeFrames(frameId);
    tag.addFrame(frame.release());
  } catch (const std::exception& error) {
    logLine("%s", error.what());
  }
}

void editID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const char* value) {
  const String text = toTagString(value);
  if (text.isEmpty()) {
    tag.removeFrames(id);
  } else {
    setID3v2TextFrame(tag, id, text);
  }
}

void setMP4TextItem(TagLib::MP4::Tag& tag, const char* name, const char* value) {
  if (value) {
    tag.setItem(name, TagLib::MP4::Item(StringList(toTagString(value))));
  } else {
    tag.removeItem(name);
  }
}

void setXiphTextField(TagLib::Ogg::XiphComment& comment, const char* name, const char* value) {
  if (value) {
    comment.addField(name, toTagString(value), true);
  } else {
    comment.removeFields(name);
  }
}

void setASFTextAttribute(TagLib::ASF::Tag& tag, const char* name, const char* value) {
  if (value) {
    tag.setAttribute(name, TagLib::ASF::Attribute(toTagString(value)));
  } else {
    tag.removeItem(name);
  }
}

void setAPETextItem(TagLib::APE::Tag& tag, const char* key, const char* value) {
  if (value) {
    tag.setItem(key, TagLib::APE::Item(key, toTagString(value)));
  } else {
    tag.removeItem(key);
  }
}

std::optional<String> getText(const TagLib::ID3v2::Tag& tag, const char* id) {
  const TagLib::ID3v2::FrameList& frames = tag.frameList(id);
  if (frames.isEmpty()) return std::nullopt;
  return frames.front()->toString();
}

std::optional<String> getText(const TagLib::MP4::Tag& tag, const char* name) {
  if (!tag.contains(name)) return std::nullopt;
  return tag.item(name).toStringList().toString(" ");
}

std::optional<String> getText(const TagLib::Ogg::XiphComment& comment, const char* name) {
  const auto& fields = comment.fieldListMap();
  const auto field = fields.find(name);
  if (field == fields.end() || field->second.isEmpty()) return std::nullopt;
  return field->second.toString(" ");
}

std::optional<String> getText(const TagLib::ASF::Tag& tag, const char* name) {
  const TagLib::ASF::AttributeList attributes = tag.attribute(name);
  if (attributes.isEmpty()) return std::nullopt;
  return attributes.front().toString();
}

std::optional<String> getText(const TagLib::APE::Tag& tag, const char* key) {
  // TagLib stores the keys of this map in upper case.
  const auto& items = tag.itemListMap();
  const auto item = items.find(String(key).upper());
  if (item == items.end()) return std::nullopt;
  return item->second.values().toString(" ");
}

String readID3v2FrameText(const TagLib::ID3v2::Tag& tag, const char* frameId) {
  return getText(tag, frameId).value_or(String());
}

String readAPEItemText(const TagLib::APE::Tag& tag, const char* key) {
  return getText(tag, key).value_or(String());
}

}  // namespace tagwriter
