#include "tests/formats/written_files.h"

#include <tpropertymap.h>

#include <algorithm>

#include "io/audio_file.h"

namespace tagwriter::test {
namespace {

template <typename File, auto tagOf>
std::string composerIn(const std::string& path) {
  File file(path.c_str(), false);
  auto* tag = tagOf(file);  // of its own class: properties() is not virtual
  return tag ? tag->properties()["COMPOSER"].toString().to8Bit(true) : "(no tag)";
}

constexpr auto kTag = [](auto& file) { return file.tag(); };
constexpr auto kId3v2Tag = [](auto& file) { return file.ID3v2Tag(); };
constexpr auto kXiphComment = [](auto& file) { return file.xiphComment(); };
constexpr auto kApeTag = [](auto& file) { return file.APETag(); };

constexpr auto inMpeg = composerIn<TagLib::MPEG::File, kId3v2Tag>;
constexpr auto inMp4 = composerIn<TagLib::MP4::File, kTag>;
constexpr auto inFlac = composerIn<TagLib::FLAC::File, kXiphComment>;
constexpr auto inVorbis = composerIn<TagLib::Vorbis::File, kTag>;
constexpr auto inOggFlac = composerIn<TagLib::Ogg::FLAC::File, kTag>;
constexpr auto inOpus = composerIn<TagLib::Ogg::Opus::File, kTag>;
constexpr auto inWma = composerIn<TagLib::ASF::File, kTag>;
constexpr auto inAiff = composerIn<TagLib::RIFF::AIFF::File, kTag>;
constexpr auto inWav = composerIn<TagLib::RIFF::WAV::File, kId3v2Tag>;
constexpr auto inApe = composerIn<TagLib::APE::File, kApeTag>;
constexpr auto inWavPack = composerIn<TagLib::WavPack::File, kApeTag>;
constexpr auto inMpc = composerIn<TagLib::MPC::File, kApeTag>;
constexpr auto inDsf = composerIn<TagLib::DSF::File, kTag>;

}  // namespace

const std::vector<WrittenFile>& writtenFiles() {
  using enum Family;
  static const std::vector<WrittenFile> kFiles = {
      {"mp3_plain.mp3", "a.mp3", {kId3v2}, inMpeg},
      {"mp3_id3v1.mp3", "a.mp3", {kId3v2, kId3v1}, inMpeg},
      {"mp3_id3v22.mp3", "a.mp3", {kId3v2}, inMpeg},
      {"mp3_id3v23.mp3", "a.mp3", {kId3v2}, inMpeg},
      {"mp3_id3v24_id3v1.mp3", "a.mp3", {kId3v2, kId3v1}, inMpeg},
      {"mp3_id3v2_ape.mp3", "a.mp3", {kId3v2}, inMpeg},
      {"mp3_id3v23.mp3", "unknown extension.xyz", {kId3v2}, inMpeg},
      {"mp3_id3v23.mp3", "no extension", {kId3v2}, inMpeg},
      {"mp3_id3v23.mp3", "bare dot.", {kId3v2}, inMpeg},
      {"m4a_plain.m4a", "a.m4a", {kMp4}, inMp4},
      {"m4a_tagged.m4a", "a.m4a", {kMp4}, inMp4},
      {"m4a_mdat_first.m4a", "a.m4a", {kMp4}, inMp4},
      {"m4a_tagged.m4a", "a.mp4", {kMp4}, inMp4},
      {"m4a_tagged.m4a", "a.m4b", {kMp4}, inMp4},
      {"m4a_tagged.m4a", "a.m4v", {kMp4}, inMp4},
      {"m4a_tagged.m4a", "a.m4p", {kMp4}, inMp4},
      {"flac_plain.flac", "a.flac", {kXiph}, inFlac},
      {"flac_comment.flac", "a.flac", {kXiph}, inFlac},
      {"flac_pictures.flac", "a.flac", {kXiph}, inFlac},
      {"flac_id3.flac", "a.flac", {kXiph}, inFlac},
      {"vorbis_plain.ogg", "a.ogg", {kXiph}, inVorbis},
      {"vorbis_tagged.ogg", "a.ogg", {kXiph}, inVorbis},
      {"vorbis.oga", "a.oga", {kXiph}, inVorbis},
      {"flac.oga", "a.oga", {kXiph}, inOggFlac},
      {"opus_plain.opus", "a.opus", {kXiph}, inOpus},
      {"opus_tagged.opus", "a.opus", {kXiph}, inOpus},
      {"wma_plain.wma", "a.wma", {kAsf}, inWma},
      {"wma_tagged.wma", "a.wma", {kAsf}, inWma},
      {"aiff_plain.aiff", "a.aiff", {kId3v2}, inAiff},
      {"aiff_id3.aif", "a.aif", {kId3v2}, inAiff},
      {"wav_plain.wav", "a.wav", {kId3v2}, inWav},
      {"wav_info.wav", "a.wav", {kId3v2}, inWav},
      {"wav_id3.wav", "a.wav", {kId3v2}, inWav},
      {"wav_info_id3.wav", "a.wav", {kId3v2}, inWav},
      {"ape_plain.ape", "a.ape", {kApe}, inApe},
      {"ape_tagged.ape", "a.ape", {kApe}, inApe},
      {"ape_id3v1.ape", "a.ape", {kApe}, inApe},
      {"wavpack_plain.wv", "a.wv", {kApe}, inWavPack},
      {"wavpack_tagged.wv", "a.wv", {kApe}, inWavPack},
      {"mpc_plain.mpc", "a.mpc", {kApe}, inMpc},
      {"mpc_tagged.mpc", "a.mpc", {kApe}, inMpc},
      {"dsf_plain.dsf", "a.dsf", {kId3v2}, inDsf},
      {"dsf_tagged.dsf", "a.dsf", {kId3v2}, inDsf},
  };
  return kFiles;
}

const std::vector<RefusedFile>& refusedFiles() {
  static const std::vector<RefusedFile> kFiles = {
      // Known types without a writer; where no such file exists, a file that could be written.
      {"ac3.ac3", "a.ac3"},
      {"au.au", "a.au"},
      {"flac_plain.flac", "a.shn"},
      {"vgm.vgm", "a.vgm"},
      {"vgm.vgm", "a.vgz"},
      {"mp3_plain.mp3", "a.ay"},
      {"mp3_plain.mp3", "a.gbs"},
      {"mp3_plain.mp3", "a.gym"},
      {"mp3_plain.mp3", "a.hes"},
      {"mp3_plain.mp3", "a.kss"},
      {"mp3_plain.mp3", "a.nsf"},
      {"mp3_plain.mp3", "a.nsfe"},
      {"mp3_plain.mp3", "a.sap"},
      {"mp3_plain.mp3", "a.spc"},
      // Ogg files: an .oga is looked into, an .ogg is not.
      {"opus.oga", "a.oga"},
      {"speex.oga", "a.oga"},
      {"oggflac_named.ogg", "a.ogg"},
  };
  return kFiles;
}

const std::vector<std::string>& placelessFiles() {
  static const std::vector<std::string> kFiles = {"dsf_pointer_at_end.dsf",
                                                  "dsf_pointer_beyond_end.dsf"};
  return kFiles;
}

std::string inCapitals(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return name;
}

}  // namespace tagwriter::test
