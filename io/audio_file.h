// Opens a file as the TagLib class for its type and calls an operation with it.
//
// An operation is a function object. If it cannot be called with the class for a file type, the
// file is rejected without opening it.
#pragma once

#include <aifffile.h>
#include <apefile.h>
#include <asffile.h>
#include <flacfile.h>
#include <id3v2framefactory.h>
#include <mp4file.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <opusfile.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>

#include <type_traits>
#include <utility>

#include "dsf/dsf_file.h"
#include "io/fd_file_stream.h"
#include "io/ogg_codec.h"
#include "io/with_stream.h"
#include "protocol/file_type.h"

namespace tagwriter {

/// Opens a `File` on `stream`, without reading the audio properties, and returns operation(file);
/// false if the operation does not accept that class. In TagLib 1, the classes that read ID3v2
/// frames want a frame factory; in TagLib 2, all arguments of a constructor but the stream have
/// defaults and stand in the same order.
template <typename File, typename Operation>
bool openAs(TagLib::StagedStream& stream, const Operation& operation) {
  constexpr auto kStyle = TagLib::AudioProperties::Average;
  if constexpr (!std::is_invocable_r_v<bool, const Operation&, File&>) {
    return false;
  } else if constexpr (std::is_constructible_v<File, TagLib::IOStream*, bool, decltype(kStyle)>) {
    File file(&stream, false, kStyle);
    return operation(file);
  } else {
    File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false, kStyle);
    return operation(file);
  }
}

/// For an ".oga" file, the first packet determines the class: Ogg FLAC or Vorbis; anything else is
/// rejected. Quirk: an ".ogg" file is always opened as Vorbis; players rely on both.
template <typename Operation>
bool openOGA(TagLib::StagedStream& stream, const Operation& operation) {
  bool isVorbis = false;
  bool isFLAC = false;
  sniffOggCodec(stream.descriptor(), isVorbis, isFLAC);
  stream.seek(0, TagLib::IOStream::Beginning);
  if (isFLAC) return openAs<TagLib::Ogg::FLAC::File>(stream, operation);
  if (isVorbis) return openAs<TagLib::Vorbis::File>(stream, operation);
  return false;
}

/// Opens `stream` as the class for `type` and returns operation(file); false for types that have no
/// class. Does not catch exceptions of TagLib or the operation.
template <typename Operation>
bool openAudioFile(TagFileType type, TagLib::StagedStream& stream, const Operation& operation) {
  switch (type) {
    case kTagFileMP3:
      return openAs<TagLib::MPEG::File>(stream, operation);
    case kTagFileMP4:
    case kTagFileM4P:
      return openAs<TagLib::MP4::File>(stream, operation);
    case kTagFileFLAC:
      return openAs<TagLib::FLAC::File>(stream, operation);
    case kTagFileOgg:
      return openAs<TagLib::Vorbis::File>(stream, operation);
    case kTagFileWMA:
      return openAs<TagLib::ASF::File>(stream, operation);
    case kTagFileAIFF:
      return openAs<TagLib::RIFF::AIFF::File>(stream, operation);
    case kTagFileWAV:
      return openAs<TagLib::RIFF::WAV::File>(stream, operation);
    case kTagFileAPE:
      return openAs<TagLib::APE::File>(stream, operation);
    case kTagFileWavPack:
      return openAs<TagLib::WavPack::File>(stream, operation);
    case kTagFileOGA:
      return openOGA(stream, operation);
    case kTagFileOpus:
      return openAs<TagLib::Ogg::Opus::File>(stream, operation);
    case kTagFileDSF:
      return openAs<TagLib::DSF::File>(stream, operation);
    case kTagFileMPC:
      return openAs<TagLib::MPC::File>(stream, operation);
    case kTagFileGameMusic:
    case kTagFileAC3:
    case kTagFileAU:
    case kTagFileSHN:
      return false;
  }
  return false;
}

/// Calls openAudioFile on a stream over `fd`, with the type for `path`. Parameters as for
/// withStream.
template <typename Operation>
bool withAudioFile(UniqueFd fd, const char* path, const Dictionary& request,
                   const Operation& operation) {
  const TagFileType type = tagFileTypeForPath(path);
  return withStream(std::move(fd), path, request, [&](TagLib::StagedStream& stream) {
    return openAudioFile(type, stream, operation);
  });
}

/// The same for an operation that only reads.
template <typename Operation>
bool withAudioFileToRead(UniqueFd fd, const char* path, const Operation& operation) {
  const TagFileType type = tagFileTypeForPath(path);
  return withStreamToRead(std::move(fd), path, [&](TagLib::StagedStream& stream) {
    return openAudioFile(type, stream, operation);
  });
}

}  // namespace tagwriter
