#include "tests/faults/samples.h"

#include "artwork/artwork_format.h"
#include "protocol/keys.h"
#include "tests/support/ogg_pages.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

Sample dataSample(const char* name, const char* file) {
  return {name, file, readFile(dataFile(file))};
}

/// A FLAC file as an encoder leaves it, with 8 KiB of padding.
Sample freshFlac() {
  constexpr std::size_t kBehindStreamInfo = 4 + 4 + 34;
  Sample sample = dataSample("FLAC, 8 KiB of padding", "flac_comment.flac");
  const std::string padding = std::string{1, 0, 32, 0} + std::string(8192, '\0');
  sample.bytes.insert(kBehindStreamInfo, padding);
  return sample;
}

/// Longer than what is moved at once.
Sample longMp3() {
  constexpr std::size_t kLength = 5 << 19;
  Sample sample = dataSample("MP3 of 2.5 MiB, no tag", "mp3_plain.mp3");
  const std::string frames = sample.bytes;
  while (sample.bytes.size() < kLength) sample.bytes += frames;
  return sample;
}

/// So long that it is not read at once.
Sample longOggFlac() {
  constexpr std::size_t kPages = 100;
  Sample sample = dataSample("Ogg FLAC of 390 KiB, comment last", "flac.oga");
  std::vector<OggPage> pages = oggPages(sample.bytes);
  OggPage audio = pages.back();
  audio.header[5] = 0;  // not the last one
  pages.insert(pages.end() - 1, kPages, audio);
  sample.bytes = oggFile(pages);
  return sample;
}

void setText(ValueDictionary& request, const char* field, const std::string& text) {
  ValueDictionary track;
  if (!text.empty()) track.set(field, text);
  request.set(key::kChangedTag, field);
  request.set(key::kTrack, std::move(track));
}

void setLongComment(ValueDictionary& request) {
  setText(request, "comment", std::string(2048, 'c'));
}

void setCover(ValueDictionary& request) {
  static const std::string image(70'000, 'i');
  request.set(key::kArtwork, std::as_bytes(std::span(image)));
  request.set(key::kArtworkType, std::int64_t{kArtworkPNG});
  request.set(key::kReplaceArtwork, true);
}

}  // namespace

std::vector<Sample> sampleFiles() {
  return {
      dataSample("MP3, no tag", "mp3_plain.mp3"),
      longMp3(),
      dataSample("MP3, ID3v2 and ID3v1", "mp3_id3v24_id3v1.mp3"),
      dataSample("MP3, ID3v2 and APE", "mp3_id3v2_ape.mp3"),
      dataSample("M4A, tag in front", "m4a_tagged.m4a"),
      dataSample("M4A, tag at the end", "m4a_mdat_first.m4a"),
      freshFlac(),
      dataSample("FLAC, pictures", "flac_pictures.flac"),
      dataSample("Ogg Vorbis", "vorbis_tagged.ogg"),
      dataSample("Opus", "opus_tagged.opus"),
      dataSample("Ogg FLAC, comment last", "flac.oga"),
      longOggFlac(),
      dataSample("WMA", "wma_tagged.wma"),
      dataSample("AIFF", "aiff_id3.aif"),
      dataSample("WAV", "wav_info_id3.wav"),
      dataSample("Monkey's Audio, APE", "ape_tagged.ape"),
      dataSample("Monkey's Audio, APE and ID3v1", "ape_id3v1.ape"),
      dataSample("WavPack", "wavpack_tagged.wv"),
      dataSample("Musepack", "mpc_tagged.mpc"),
      dataSample("DSF", "dsf_tagged.dsf"),
  };
}

std::vector<Edit> edits() {
  return {
      {"short title", [](auto& request) { setText(request, "title", "New"); }, {}},
      {"2 KB comment", setLongComment, {}},
      {"70 KB cover", setCover, {}},
      {"cover removed", [](auto& request) { request.set(key::kClearArtwork, true); }, setCover},
      {"comment cleared", [](auto& request) { setText(request, "comment", ""); }, setLongComment},
  };
}

}  // namespace tagwriter::test
