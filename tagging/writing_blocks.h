// The editors of a field: one function per tag family.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <id3v1tag.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

#include <functional>

namespace tagwriter {

/// Edits a tag of one family; empty if the field is not stored there. It holds a copy of the
/// field's value, but borrows the text, which must outlive the editor.
template <typename Tag>
using FieldEditor = std::function<void(Tag*)>;

/// The editors of one field. The file's format determines which one runs (two for an MPEG file with
/// an ID3v1 tag).
struct VQNTagWritingBlocks {
  FieldEditor<TagLib::ID3v2::Tag> id3v2Block;       ///< MPEG, AIFF, WAV, DSF
  FieldEditor<TagLib::ID3v1::Tag> id3v1Block;       ///< MPEG, when the file has an ID3v1 tag
  FieldEditor<TagLib::MP4::Tag> mp4Block;           ///< MP4 family
  FieldEditor<TagLib::Ogg::XiphComment> xiphBlock;  ///< FLAC, Vorbis, Ogg FLAC, Opus
  FieldEditor<TagLib::ASF::Tag> asfBlock;           ///< WMA
  FieldEditor<TagLib::APE::Tag> apeBlock;           ///< Monkey's Audio, WavPack, Musepack

  const FieldEditor<TagLib::ID3v2::Tag>& of(const TagLib::ID3v2::Tag*) const { return id3v2Block; }
  const FieldEditor<TagLib::ID3v1::Tag>& of(const TagLib::ID3v1::Tag*) const { return id3v1Block; }
  const FieldEditor<TagLib::MP4::Tag>& of(const TagLib::MP4::Tag*) const { return mp4Block; }
  const FieldEditor<TagLib::Ogg::XiphComment>& of(const TagLib::Ogg::XiphComment*) const {
    return xiphBlock;
  }
  const FieldEditor<TagLib::ASF::Tag>& of(const TagLib::ASF::Tag*) const { return asfBlock; }
  const FieldEditor<TagLib::APE::Tag>& of(const TagLib::APE::Tag*) const { return apeBlock; }
};

}  // namespace tagwriter
