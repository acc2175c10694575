// Finds the pictures in a file of any format.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <flacpicture.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

#include <optional>
#include <string>
#include <vector>

namespace tagwriter {

/// One embedded picture.
struct Picture {
  std::optional<int> type;  ///< its number (ID3v2.4 frames, 4.14), if the format stores one
  std::string role;         ///< the same in words, such as "Front Cover"; empty without a type
  std::string mimeType;     ///< from the tag, or else from the first bytes; may be empty
  std::string description;  ///< or the name of a file, in an APE tag
  TagLib::ByteVector image;
};

using Pictures = std::vector<Picture>;

// Each adds the pictures of its tag family. Those of a FLAC file are in its blocks, too.
void addPictures(TagLib::ID3v2::Tag& tag, Pictures& pictures);
void addPictures(TagLib::MP4::Tag& tag, Pictures& pictures);
void addPictures(TagLib::Ogg::XiphComment& comment, Pictures& pictures);
void addPictures(TagLib::ASF::Tag& tag, Pictures& pictures);
void addPictures(TagLib::APE::Tag& tag, Pictures& pictures);
void addPictures(const TagLib::List<TagLib::FLAC::Picture*>& blocks, Pictures& pictures);

}  // namespace tagwriter
