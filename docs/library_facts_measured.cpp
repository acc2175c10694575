// The measurements. Each edits a file of tests/data in memory, as a program would that uses TagLib
// and nothing else.
#include <asffile.h>
#include <fileref.h>
#include <flacfile.h>
#include <id3v2framefactory.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <tbytevectorstream.h>
#include <vorbisfile.h>
#include <wavfile.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "docs/library_facts.h"
#include "dsf/stream_types.h"

namespace tagwriter::docs {
namespace {

using namespace std::string_view_literals;
using TagLib::FileRef;
using TagLib::IOStream;
using TagLib::String;

constexpr char kDamaged[] = "true, and the file is damaged";

/// A file of tests/data in memory.
class Sample : public TagLib::ByteVectorStream {
 public:
  /// `name` is the file's; `as` is what the stream says.
  explicit Sample(const std::string& name, const std::string& as = {})
      : ByteVectorStream(bytesOf(name)), name_(as.empty() ? name : as) {}

  TagLib::FileName name() const override { return name_.c_str(); }
  std::string bytes() { return {data()->begin(), data()->end()}; }

 private:
  static TagLib::ByteVector bytesOf(const std::string& name) {
    std::ifstream file(TAGWRITER_TEST_DATA "/" + name, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.empty()) throw std::runtime_error("cannot read " + name);
    return {bytes.data(), static_cast<unsigned>(bytes.size())};
  }

  std::string name_;
};

/// The file as its class. Throws if TagLib opens it as another.
template <typename File>
File& as(const FileRef& reference) {
  auto* file = dynamic_cast<File*>(reference.file());
  if (!file) throw std::runtime_error("TagLib did not open a file as its class");
  return *file;
}

/// Edits the file and saves it. Returns what save() returns.
template <typename File, typename Edit>
bool save(Sample& sample, const Edit& edit) {
  const FileRef reference(&sample, false);
  edit(as<File>(reference));
  return as<File>(reference).save();
}

std::string quoted(const String& text) {
  return "\"" + text.to8Bit(true) + "\"";
}

std::string version() {
  std::string text =
      "TagLib " + std::to_string(TAGLIB_MAJOR_VERSION) + "." + std::to_string(TAGLIB_MINOR_VERSION);
  if (TAGLIB_PATCH_VERSION != 0) text += "." + std::to_string(TAGLIB_PATCH_VERSION);
  return text;
}

std::string startOfRange() {
  return std::is_signed_v<TagLib::StreamStart> ? "signed" : "unsigned";
}

std::string frameFactory() {
  using File = TagLib::MPEG::File;
  return std::is_constructible_v<File, IOStream*, bool, TagLib::AudioProperties::ReadStyle>
             ? "last, may be left out"
             : "second, required";
}

std::string tagOfWav() {
  Sample sample("wav_plain.wav");
  const FileRef file(&sample, false);
  return dynamic_cast<TagLib::ID3v2::Tag*>(file.tag()) ? "the ID3v2 tag"
                                                       : "a union of ID3v2 tag and INFO list";
}

std::string titleInWav() {
  Sample sample("wav_plain.wav");
  save<TagLib::RIFF::WAV::File>(sample, [](auto& file) { file.tag()->setTitle("T"); });
  const std::string bytes = sample.bytes();
  std::string places = bytes.find("TIT2") != std::string::npos ? "ID3v2 tag" : "";
  if (bytes.find("INAM") != std::string::npos) places += ", new INFO list";
  return places;
}

std::string titleOfInfoList() {
  Sample sample("wav_info.wav");
  return quoted(FileRef(&sample, false).tag()->title());
}

std::string severalXiphValues() {
  Sample sample("vorbis_plain.ogg");
  const FileRef file(&sample, false);
  auto* comment = as<TagLib::Vorbis::File>(file).tag();
  comment->addField("ARTIST", "A", true);
  comment->addField("ARTIST", "B", false);
  return quoted(comment->artist());
}

std::string severalMp4Values() {
  Sample sample("m4a_plain.m4a");
  const FileRef file(&sample, false);
  TagLib::StringList artists("A");
  artists.append("B");
  as<TagLib::MP4::File>(file).tag()->setItem("\251ART", artists);
  return quoted(file.tag()->artist());
}

std::string unnamedDsf() {
  Sample sample("dsf_tagged.dsf", "song");
  return FileRef(&sample, false).isNull() ? "not opened" : "opened as TagLib's own class";
}

std::string newId3v1() {
  Sample sample("mp3_id3v23.mp3");
  save<TagLib::MPEG::File>(sample, [](auto&) {});
  return sample.bytes().substr(sample.data()->size() - 128, 3) == "TAG" ? "a new ID3v1 tag"
                                                                        : "none";
}

std::string largePicture() {
  Sample sample("flac_plain.flac");
  const bool isSaved = save<TagLib::FLAC::File>(sample, [](auto& file) {
    auto* picture = new TagLib::FLAC::Picture;
    picture->setData(TagLib::ByteVector(1 << 24, 'x'));
    file.addPicture(picture);
  });
  if (!isSaved) return "false";
  const FileRef file(&sample, false);
  if (file.isNull() || as<TagLib::FLAC::File>(file).pictureList().size() != 1) return kDamaged;
  return "true";
}

std::string lastBlock() {
  Sample sample("flac.oga");  // whose comment is the last block
  save<TagLib::Ogg::FLAC::File>(sample, [](auto& file) { file.tag()->setTitle("T"); });
  TagLib::Ogg::FLAC::File file(&sample, false);
  if (file.packet(1)[0] & 0x80) return "kept";
  return file.isValid() ? "lost" : "lost, and TagLib no longer reads the file";
}

std::string longText() {
  constexpr unsigned kLength = 40'000;
  Sample sample("wma_plain.wma");
  const bool isSaved = save<TagLib::ASF::File>(sample, [](auto& file) {
    file.tag()->setTitle(String(std::string(kLength, 'x')));
    file.tag()->setComment("C");
  });
  if (!isSaved) return "false";
  const FileRef file(&sample, false);
  if (file.isNull() || file.tag()->title().size() != kLength || file.tag()->comment() != "C") {
    return kDamaged;
  }
  return "true";
}

std::string savedVersion() {
  Sample sample("mp3_id3v23.mp3");
  save<TagLib::MPEG::File>(sample, [](auto&) {});
  return "2." + std::to_string(sample.bytes().at(3));
}

/// What becomes of the album in an ID3v2 tag, in front of an MP3.
std::string savedAlbum(std::string_view tag) {
  Sample sample("mp3_plain.mp3");
  sample.insert({tag.data(), static_cast<unsigned>(tag.size())}, 0, 0);
  save<TagLib::MPEG::File>(sample, [](auto&) {});
  return sample.bytes().find("TALB") == std::string::npos ? "lost" : "kept";
}

std::string lastShortFrame() {
  return savedAlbum(
      "ID3\2\0\0\0\0\0\x12"
      "TT2\0\0\2\0T"
      "TAL\0\0\4\0AAA"sv);
}

std::string extendedHeader() {
  return savedAlbum(
      "ID3\4\0\x40\0\0\0\x1e"
      "\0\0\0\6\1\0"
      "TIT2\0\0\0\2\0\0\0T"
      "TALB\0\0\0\2\0\0\0A"sv);
}

std::string emptyValue() {
  Sample sample("vorbis_plain.ogg");
  save<TagLib::Vorbis::File>(sample, [](auto& file) { file.tag()->addField("EMPTY", ""); });
  return sample.bytes().find("EMPTY=") == std::string::npos ? "not saved" : "saved";
}

std::string largeNumber() {
  Sample sample("m4a_plain.m4a");
  save<TagLib::MP4::File>(
      sample, [](auto& file) { file.tag()->setItem("tmpo", TagLib::MP4::Item(70000)); });
  const FileRef file(&sample, false);
  return std::to_string(as<TagLib::MP4::File>(file).tag()->item("tmpo").toInt());
}

}  // namespace

std::size_t librarySeries() {
  return TAGLIB_MAJOR_VERSION;
}

std::vector<std::pair<std::string, std::string>> libraryFacts() {
  return {
      {"", version()},
      {"Streams: the number where a range starts", startOfRange()},
      {"MPEG and FLAC: the frame factory among the arguments", frameFactory()},
      {"WAV: what `tag()` is", tagOfWav()},
      {"WAV: where a title set with `tag()` is stored", titleInWav()},
      {"WAV: the title read with `tag()` if only an INFO list has one", titleOfInfoList()},
      {"Xiph comment: two values \"A\" and \"B\", read with `tag()`", severalXiphValues()},
      {"MP4: two values \"A\" and \"B\", read with `tag()`", severalMp4Values()},
      {"A DSF file with an unknown extension", unnamedDsf()},
      {"MP3 with ID3v2 only: `save()` adds", newId3v1()},
      {"FLAC: `save()` with a picture of 16 MiB", largePicture()},
      {"Ogg FLAC: the last-block flag of the comment after `save()`", lastBlock()},
      {"WMA: `save()` with a title of 40,000 characters", longText()},
      {"ID3v2.3: the version after `save()`", savedVersion()},
      {"ID3v2.2: a last frame of up to 4 bytes, without padding, after `save()`", lastShortFrame()},
      {"ID3v2.4: the last frame of a tag with an extended header, after `save()`",
       extendedHeader()},
      {"Xiph comment: a field with an empty value", emptyValue()},
      {"MP4: 70000 as `tmpo`, read back", largeNumber()},
  };
}

}  // namespace tagwriter::docs
