// The pictures in a file or a tag, to the letter of how they are stored.
#pragma once

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/artwork/library_files.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

/// One picture: where it is and all that is stored beside it, in words, and its bytes. For APE the
/// bytes are the whole value, with the file name in front.
struct Picture {
  std::string label;
  std::string bytes;
  auto operator<=>(const Picture&) const = default;
};
using Pictures = std::vector<Picture>;

/// Prints the label and the size, for messages.
std::ostream& operator<<(std::ostream& out, const Picture& picture);

/// A copy of the format's file without pictures. For Ogg FLAC it is made by the encoder, with
/// padding behind the comment, as files are that come out of it.
std::string plainCopy(const TemporaryDirectory& directory, const Format& format);

/// Bytes without a pattern, the same for the same size.
std::string imageOf(std::size_t size);
TagLib::ByteVector bytesOf(const std::string& text);
std::string textOf(const TagLib::ByteVector& bytes);

/// The pictures of a tag, or of the blocks and the comment of a FLAC file, sorted.
Pictures picturesOf(const TagLib::ID3v2::Tag& tag);
Pictures picturesOf(TagLib::MP4::Tag& tag);
Pictures picturesOf(TagLib::FLAC::File& file);
Pictures picturesOf(TagLib::Ogg::XiphComment& comment);
Pictures picturesOf(TagLib::ASF::Tag& tag);
Pictures picturesOf(TagLib::APE::Tag& tag);

/// The pictures in the file at `path`.
Pictures picturesIn(Kind kind, const std::string& path);

/// What a front cover with this "artworktype" has to look like in `family`.
Picture frontCover(Family family, std::int64_t artworkType, const std::string& image);

/// What `picturesIn` finds after addOldPictures(count).
Pictures oldPictures(Family family, int count);

/// Puts up to three pictures into the file, with the library alone: no front cover among them,
/// except in APE, where the first is one. Returns what is then in the file.
Pictures addOldPictures(Kind kind, const std::string& path, int count);

}  // namespace tagwriter::test
