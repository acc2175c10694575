// Test files with a content that the packaged ones do not have, made with the tag library.
#pragma once

#include <commentsframe.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <textidentificationframe.h>

#include <string>

namespace tagwriter::test {

/// Opens the file as a file class of the library, lets `edit` have it and saves.
template <typename File, typename Edit>
void prepare(const std::string& path, Edit edit) {
  File file(path.c_str(), false);
  edit(file);
  ASSERT_TRUE(file.save()) << path;
}

/// The same for an ID3v2 tag in an MP3 file, which gets no other tag.
template <typename Edit>
void prepareID3v2(const std::string& path, Edit edit) {
  TagLib::MPEG::File file(path.c_str(), false);
  edit(*file.ID3v2Tag(true));
  ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone)) << path;
}

inline void addText(TagLib::ID3v2::Tag& tag, const char* id, const char* text) {
  auto* frame = new TagLib::ID3v2::TextIdentificationFrame(id, TagLib::String::UTF8);
  frame->setText(text);
  tag.addFrame(frame);
}

inline void addComment(TagLib::ID3v2::Tag& tag, const char* language, const char* description,
                       const char* text) {
  auto* frame = new TagLib::ID3v2::CommentsFrame(TagLib::String::UTF8);
  frame->setLanguage(language);
  frame->setDescription(description);
  frame->setText(text);
  tag.addFrame(frame);
}

}  // namespace tagwriter::test
