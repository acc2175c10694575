// Files opened by their path with the tag library's own classes, so that what the artwork directory
// stores is seen without any code of that directory or of the file stream.
#pragma once

#include <aifffile.h>
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <flacfile.h>
#include <mp4file.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <opusfile.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>

#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "dsf/dsf_file.h"

namespace tagwriter::test {

/// The file classes.
enum class Kind {
  kMPEG,
  kAIFF,
  kWAV,
  kDSF,
  kMP4,
  kFLAC,
  kVorbis,
  kOggFLAC,
  kOpus,
  kASF,
  kAPE,
  kWavPack,
  kMPC
};

/// How the classes keep their pictures.
enum class Family { kID3v2, kMP4, kFLAC, kXiph, kASF, kAPE };

/// A kind of file as the tests use it.
struct Format {
  const char* name;     ///< in test names
  Kind kind;            ///< the class that reads it
  const char* plain;    ///< the file in tests/data that has no picture, or null
  const char* picture;  ///< one that has some, or null
  const char* as;       ///< what a copy is called
};

/// Every format that takes pictures.
inline constexpr Format kFormats[] = {
    {"mp3", Kind::kMPEG, "mp3_plain.mp3", "mp3_id3v23.mp3", "song.mp3"},
    {"m4a", Kind::kMP4, "m4a_plain.m4a", "m4a_tagged.m4a", "song.m4a"},
    {"m4p", Kind::kMP4, "m4a_mdat_first.m4a", "m4a_tagged.m4a", "song.m4p"},
    {"flac", Kind::kFLAC, "flac_plain.flac", "flac_pictures.flac", "song.flac"},
    {"ogg", Kind::kVorbis, "vorbis_plain.ogg", "vorbis_tagged.ogg", "song.ogg"},
    {"wma", Kind::kASF, "wma_plain.wma", "wma_tagged.wma", "song.wma"},
    {"aiff", Kind::kAIFF, "aiff_plain.aiff", nullptr, "song.aiff"},
    {"wav", Kind::kWAV, "wav_plain.wav", nullptr, "song.wav"},
    {"ape", Kind::kAPE, "ape_plain.ape", "ape_tagged.ape", "song.ape"},
    {"wv", Kind::kWavPack, "wavpack_plain.wv", "wavpack_tagged.wv", "song.wv"},
    {"oga_vorbis", Kind::kVorbis, "vorbis.oga", "vorbis_tagged.ogg", "song.oga"},
    {"oga_flac", Kind::kOggFLAC, nullptr, nullptr, "song.oga"},
    {"opus", Kind::kOpus, "opus_plain.opus", "opus_tagged.opus", "song.opus"},
    {"dsf", Kind::kDSF, "dsf_plain.dsf", "dsf_tagged.dsf", "song.dsf"},
    {"mpc", Kind::kMPC, "mpc_plain.mpc", nullptr, "song.mpc"},
};

/// The format of this name, which must be there.
constexpr const Format& formatNamed(std::string_view name) {
  const Format* format = kFormats;
  while (format->name != name) ++format;
  return *format;
}

inline std::ostream& operator<<(std::ostream& out, const Format& format) {
  return out << format.name;
}

constexpr Family familyOf(Kind kind) {
  switch (kind) {
    case Kind::kMPEG:
    case Kind::kAIFF:
    case Kind::kWAV:
    case Kind::kDSF:
      return Family::kID3v2;
    case Kind::kMP4:
      return Family::kMP4;
    case Kind::kFLAC:
      return Family::kFLAC;
    case Kind::kVorbis:
    case Kind::kOggFLAC:
    case Kind::kOpus:
      return Family::kXiph;
    case Kind::kASF:
      return Family::kASF;
    case Kind::kAPE:
    case Kind::kWavPack:
    case Kind::kMPC:
      break;
  }
  return Family::kAPE;
}

/// Opens the file at `path` as its class and calls use(file).
template <typename Use>
void withLibraryFile(Kind kind, const std::string& path, const Use& use) {
  const auto openAs = [&]<typename File>(std::type_identity<File>) {
    File file(path.c_str(), false);
    use(file);
  };
  switch (kind) {
    case Kind::kMPEG:
      return openAs(std::type_identity<TagLib::MPEG::File>());
    case Kind::kAIFF:
      return openAs(std::type_identity<TagLib::RIFF::AIFF::File>());
    case Kind::kWAV:
      return openAs(std::type_identity<TagLib::RIFF::WAV::File>());
    case Kind::kDSF:
      return openAs(std::type_identity<TagLib::DSF::File>());
    case Kind::kMP4:
      return openAs(std::type_identity<TagLib::MP4::File>());
    case Kind::kFLAC:
      return openAs(std::type_identity<TagLib::FLAC::File>());
    case Kind::kVorbis:
      return openAs(std::type_identity<TagLib::Vorbis::File>());
    case Kind::kOggFLAC:
      return openAs(std::type_identity<TagLib::Ogg::FLAC::File>());
    case Kind::kOpus:
      return openAs(std::type_identity<TagLib::Ogg::Opus::File>());
    case Kind::kASF:
      return openAs(std::type_identity<TagLib::ASF::File>());
    case Kind::kAPE:
      return openAs(std::type_identity<TagLib::APE::File>());
    case Kind::kWavPack:
      return openAs(std::type_identity<TagLib::WavPack::File>());
    case Kind::kMPC:
      return openAs(std::type_identity<TagLib::MPC::File>());
  }
}

/// The tag of a file that may hold pictures, made when it is not there.
inline TagLib::ID3v2::Tag& pictureTag(TagLib::MPEG::File& f) {
  return *f.ID3v2Tag(true);
}
inline TagLib::ID3v2::Tag& pictureTag(TagLib::RIFF::AIFF::File& f) {
  return *f.tag();
}
inline TagLib::ID3v2::Tag& pictureTag(TagLib::RIFF::WAV::File& f) {
  return *f.ID3v2Tag();
}
inline TagLib::ID3v2::Tag& pictureTag(TagLib::DSF::File& f) {
  return *f.tag();
}
inline TagLib::MP4::Tag& pictureTag(TagLib::MP4::File& f) {
  return *f.tag();
}
inline TagLib::FLAC::File& pictureTag(TagLib::FLAC::File& f) {
  return f;
}
inline TagLib::Ogg::XiphComment& pictureTag(TagLib::Vorbis::File& f) {
  return *f.tag();
}
inline TagLib::Ogg::XiphComment& pictureTag(TagLib::Ogg::FLAC::File& f) {
  return *f.tag();
}
inline TagLib::Ogg::XiphComment& pictureTag(TagLib::Ogg::Opus::File& f) {
  return *f.tag();
}
inline TagLib::ASF::Tag& pictureTag(TagLib::ASF::File& f) {
  return *f.tag();
}
inline TagLib::APE::Tag& pictureTag(TagLib::APE::File& f) {
  return *f.APETag(true);
}
inline TagLib::APE::Tag& pictureTag(TagLib::WavPack::File& f) {
  return *f.APETag(true);
}
inline TagLib::APE::Tag& pictureTag(TagLib::MPC::File& f) {
  return *f.APETag(true);
}

}  // namespace tagwriter::test
