#include "tagging/id3v2_frames.h"

#include <popularimeterframe.h>
#include <strings.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>

#include <exception>
#include <memory>
#include <string>

#include "base/log.h"
#include "tagging/rating.h"
#include "tagging/strings.h"

namespace tagwriter {
namespace {

using TagLib::String;
using TagLib::ID3v2::CommentsFrame;
using TagLib::ID3v2::PopularimeterFrame;
using TagLib::ID3v2::UnsynchronizedLyricsFrame;
using TagLib::ID3v2::UserTextIdentificationFrame;

constexpr char kEnglish[] = "eng";
constexpr char kLyrics[] = "USLT";
/// Placeholder owner for POPM: looks like an address, belongs to nobody, is the same in every file.
constexpr char kNobody[] = "no@email";

const char* pathForLog(const char* path) {
  return path ? path : "(null)";
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
  tag.addFrame(frame.release());
}

}  // namespace

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
    tag.addFrame(frame.release());
  }
}

std::optional<String> getID3v2UserText(TagLib::ID3v2::Tag& tag, const char* description) {
  const auto* frame = UserTextIdentificationFrame::find(&tag, description);
  if (!frame || frame->fieldList().size() < 2) return std::nullopt;
  return frame->fieldList().back();
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

void setID3v2Lyrics(TagLib::ID3v2::Tag& tag, const char* value, const char* path) {
  try {
    tag.removeFrames(kLyrics);
    if (!value) return;
    auto frame = std::make_unique<UnsynchronizedLyricsFrame>(String::UTF8);
    frame->setLanguage(kEnglish);
    frame->setText(toTagString(value));
    tag.addFrame(frame.release());
  } catch (const std::exception& error) {
    logLine("Error writing lyrics to track at path %s. %s", pathForLog(path), error.what());
  }
}

void setID3v2Rating(TagLib::ID3v2::Tag& tag, const char* id, double stars, const char* path) {
  try {
    tag.removeFrames(id);
    auto frame = std::make_unique<PopularimeterFrame>();
    frame->setRating(popularimeterRating(stars));
    frame->setEmail(kNobody);
    tag.addFrame(frame.release());
  } catch (const std::exception&) {
    // Quirk: the message wrongly says lyrics, but users search their logs for this text.
    logLine("Error writing lyrics id3 to track at path %s", pathForLog(path));
  }
}

std::optional<double> getID3v2Rating(const TagLib::ID3v2::Tag& tag, const char* id) {
  const TagLib::ID3v2::FrameList& frames = tag.frameList(id);
  if (frames.isEmpty()) return std::nullopt;
  const auto* rating = dynamic_cast<const PopularimeterFrame*>(frames.front());
  return rating ? starsOfPopularimeter(rating->rating()) : 0.0;
}

}  // namespace tagwriter
