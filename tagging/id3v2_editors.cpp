#include <commentsframe.h>
#include <strings.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>

#include <exception>
#include <memory>
#include <string>

#include "base/log.h"
#include "tagging/family_editors.h"
#include "tagging/strings.h"

namespace tagwriter {
namespace {

using TagLib::ByteVector;
using TagLib::String;
using TagLib::ID3v2::CommentsFrame;
using TagLib::ID3v2::TextIdentificationFrame;
using TagLib::ID3v2::UnsynchronizedLyricsFrame;
using TagLib::ID3v2::UserTextIdentificationFrame;

constexpr char kEnglish[] = "eng";

/// Hands `frame` to the tag, which owns it from then on.
template <typename Frame>
void addFrame(TagLib::ID3v2::Tag& tag, std::unique_ptr<Frame> frame) {
  tag.addFrame(frame.release());
}

bool isMainDescription(const String& description) {
  if (description.isEmpty()) return true;
  const std::string text = description.to8Bit(true);
  return ::strcasecmp(text.c_str(), "comment") == 0 ||
         ::strcasecmp(text.c_str(), "Songs-DB_Custom1") == 0;
}

void addMainComment(TagLib::ID3v2::Tag& tag, const String& text) {
  auto frame = std::make_unique<CommentsFrame>(String::UTF8);
  frame->setText(text);
  frame->setLanguage(kEnglish);
  frame->setTextEncoding(String::UTF8);
  addFrame(tag, std::move(frame));
}

}  // namespace

CommentsFrame* findMainID3v2Comment(const TagLib::ID3v2::Tag& tag) {
  CommentsFrame* first = nullptr;
  for (TagLib::ID3v2::Frame* frame : tag.frameList("COMM")) {
    auto* comment = dynamic_cast<CommentsFrame*>(frame);
    if (!comment || !isMainDescription(comment->description())) continue;
    if (comment->language() == kEnglish) return comment;
    if (!first) first = comment;
  }
  return first;
}

void setID3v2TextFrame(TagLib::ID3v2::Tag& tag, const char* id, const String& text) {
  try {
    const ByteVector frameId(id);
    auto frame = std::make_unique<TextIdentificationFrame>(frameId, String::UTF8);
    frame->setText(text);
    tag.removeFrames(frameId);
    addFrame(tag, std::move(frame));
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

void setID3v2UserTextFrame(TagLib::ID3v2::Tag& tag, const char* description, const char* value) {
  UserTextIdentificationFrame* found = UserTextIdentificationFrame::find(&tag, description);
  if (!value) {
    if (found) tag.removeFrame(found, true);
  } else if (found) {
    found->setText(toTagString(value));
  } else {
    auto frame = std::make_unique<UserTextIdentificationFrame>(String::UTF8);
    frame->setDescription(description);
    frame->setText(toTagString(value));
    addFrame(tag, std::move(frame));
  }
}

void setID3v2Comment(TagLib::ID3v2::Tag& tag, const char* value) {
  CommentsFrame* comment = findMainID3v2Comment(tag);
  if (!value) {
    for (; comment; comment = findMainID3v2Comment(tag)) tag.removeFrame(comment, true);
  } else if (comment) {
    comment->setText(toTagString(value));
  } else {
    addMainComment(tag, toTagString(value));
  }
}

void setID3v2Lyrics(TagLib::ID3v2::Tag& tag, const char* value, const char* path) {
  try {
    tag.removeFrames("USLT");
    if (!value) return;
    auto frame = std::make_unique<UnsynchronizedLyricsFrame>(String::UTF8);
    frame->setLanguage(kEnglish);
    frame->setText(toTagString(value));
    addFrame(tag, std::move(frame));
  } catch (const std::exception& error) {
    logLine("Error writing lyrics to track at path %s. %s", path ? path : "(null)", error.what());
  }
}

}  // namespace tagwriter
