#include "client/content.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "protocol/file_type.h"

namespace tagwriter {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kBlock = 4096;
/// A stream that was recorded may have a page of HTTP headers in front of its audio.
constexpr std::size_t kMostText = std::size_t{1} << 20;

/// A set of file types.
class Types {
 public:
  template <typename... Type>
  constexpr Types(Type... types)  // NOLINT(google-explicit-constructor)
      : bits_((0U | ... | (1U << types))) {}
  constexpr bool contains(TagFileType type) const { return (bits_ >> type & 1U) != 0; }

 private:
  unsigned bits_;
};

struct Bytes {
  std::size_t offset = 0;
  std::string_view text;  ///< matches everything if empty
};

/// What a file is that has all of `bytes`, and the types whose files may look like that.
struct Signature {
  const char* kind = nullptr;
  std::array<Bytes, 3> bytes = {};
  Types types = {};
};

constexpr Types kNone = {};
constexpr Types kMP4 = {kTagFileMP4, kTagFileM4P};
constexpr Types kAnyOgg = {kTagFileOgg, kTagFileOGA, kTagFileOpus};

// The first match counts.
constexpr Signature kSignatures[] = {
    // Audio. RFC 9639 (FLAC), RFC 3533 (Ogg), ISO/IEC 14496-12 (MP4), the ASF specification, RFC
    // 2361 (formats in WAV files, which may be MPEG: some programs name those .mp3), AIFF 1.3, the
    // DSF specification, and ISO/IEC 11172-3 (the sync word of MPEG audio in Layer III).
    {"a FLAC file", {{{0, "fLaC"sv}}}, {kTagFileFLAC}},
    {"an Ogg file", {{{0, "OggS"sv}}}, kAnyOgg},
    {"a HEIF image", {{{4, "ftypheic"sv}}}, kNone},
    {"a HEIF image", {{{4, "ftypmif1"sv}}}, kNone},
    {"an AVIF image", {{{4, "ftypavif"sv}}}, kNone},
    {"an MP4 file", {{{4, "ftyp"sv}}}, kMP4},
    {"an ASF file", {{{0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11"sv}}}, {kTagFileWMA}},
    {"a WAV file with MPEG audio",
     {{{0, "RIFF"sv}, {8, "WAVEfmt "sv}, {20, "\x55\0"sv}}},
     {kTagFileWAV, kTagFileMP3}},
    {"a WAV file with MPEG audio",
     {{{0, "RIFF"sv}, {8, "WAVEfmt "sv}, {20, "\x50\0"sv}}},
     {kTagFileWAV, kTagFileMP3}},
    {"a WAV file", {{{0, "RIFF"sv}, {8, "WAVEfmt "sv}}}, {kTagFileWAV}},
    {"a WAV file", {{{0, "RIFF"sv}, {8, "WAVE"sv}}}, {kTagFileWAV, kTagFileMP3}},
    {"a RIFF file with MPEG audio", {{{0, "RIFF"sv}, {8, "RMP3"sv}}}, {kTagFileWAV, kTagFileMP3}},
    // A WAV file in big-endian order: TagLib finds no chunks, writes nothing, and reports success.
    {"a RIFX file, which cannot be edited", {{{0, "RIFX"sv}, {8, "WAVE"sv}}}, kNone},
    {"an AIFF file", {{{0, "FORM"sv}, {8, "AIF"sv}}}, {kTagFileAIFF}},
    {"a DSF file", {{{0, "DSD "sv}}}, {kTagFileDSF}},
    {"a DSDIFF file", {{{0, "FRM8"sv}}}, kNone},
    {"a Monkey's Audio file", {{{0, "MAC "sv}}}, {kTagFileAPE}},
    {"a WavPack file", {{{0, "wvpk"sv}}}, {kTagFileWavPack}},
    {"a Musepack file", {{{0, "MPCK"sv}}}, {kTagFileMPC}},
    {"a Musepack file", {{{0, "MP+"sv}}}, {kTagFileMPC}},
    {"an AU file", {{{0, ".snd\0"sv}}}, kNone},
    {"a MIDI file", {{{0, "MThd\0\0"sv}}}, kNone},
    {"an MP3 file", {{{0, "\xff\xfb"sv}}}, {kTagFileMP3}},
    {"an MP3 file", {{{0, "\xff\xfa"sv}}}, {kTagFileMP3}},
    {"an MP3 file", {{{0, "\xff\xf3"sv}}}, {kTagFileMP3}},
    {"an MP3 file", {{{0, "\xff\xf2"sv}}}, {kTagFileMP3}},

    // Video. RFC 9559 and RFC 8794 (Matroska and EBML), ISO/IEC 13818-1 (MPEG program stream).
    {"a Matroska or WebM file", {{{0, "\x1a\x45\xdf\xa3"sv}}}, kNone},
    {"an AVI file", {{{0, "RIFF"sv}, {8, "AVI "sv}}}, kNone},
    {"an MPEG video", {{{0, "\0\0\1\xba"sv}}}, kNone},
    {"an FLV file", {{{0, "FLV\1"sv}}}, kNone},

    // Images. ISO/IEC 10918-1 (JPEG), the PNG specification, GIF89a, TIFF 6.0, RFC 9649 (WebP); a
    // BMP file has reserved zeros after its size, and then the length of a short header.
    {"a JPEG image", {{{0, "\xff\xd8\xff"sv}}}, kNone},
    {"a PNG image", {{{0, "\x89PNG\r\n\x1a\n"sv}}}, kNone},
    {"a GIF image", {{{0, "GIF87a"sv}}}, kNone},
    {"a GIF image", {{{0, "GIF89a"sv}}}, kNone},
    {"a TIFF image", {{{0, "II*\0"sv}}}, kNone},
    {"a TIFF image", {{{0, "MM\0*"sv}}}, kNone},
    {"a WebP image", {{{0, "RIFF"sv}, {8, "WEBP"sv}}}, kNone},
    {"a BMP image", {{{0, "BM"sv}, {6, "\0\0\0\0"sv}, {15, "\0\0\0"sv}}}, kNone},

    // Documents and archives. ISO 32000 (PDF), the ZIP application note, RFC 1952 (gzip), RFC 8878
    // (Zstandard), and the formats of 7z, xz, bzip2 and RAR.
    {"a PDF document", {{{0, "%PDF-"sv}}}, kNone},
    {"a ZIP archive", {{{0, "PK\3\4"sv}}}, kNone},
    {"a ZIP archive", {{{0, "PK\5\6"sv}}}, kNone},
    {"a gzip file", {{{0, "\x1f\x8b\x08"sv}}}, kNone},
    {"a 7z archive", {{{0, "7z\xbc\xaf\x27\x1c"sv}}}, kNone},
    {"an xz file", {{{0, "\xfd\x37zXZ\0"sv}}}, kNone},
    {"a bzip2 file", {{{0, "BZh"sv}, {4, "1AY&SY"sv}}}, kNone},
    {"a Zstandard file", {{{0, "\x28\xb5\x2f\xfd"sv}}}, kNone},
    {"a RAR archive", {{{0, "Rar!\x1a\7"sv}}}, kNone},

    // Programs. The ELF and Mach-O formats; PE, whose MS-DOS header has eight reserved zeros.
    {"a program",
     {{{0,
        "\x7f"
        "ELF"sv}}},
     kNone},
    {"a program", {{{0, "\xfe\xed\xfa\xce"sv}}}, kNone},
    {"a program", {{{0, "\xfe\xed\xfa\xcf"sv}}}, kNone},
    {"a program", {{{0, "\xce\xfa\xed\xfe"sv}}}, kNone},
    {"a program", {{{0, "\xcf\xfa\xed\xfe"sv}}}, kNone},
    {"a program", {{{0, "\xca\xfe\xba\xbe"sv}}}, kNone},
    {"a program", {{{0, "MZ"sv}, {28, "\0\0\0\0\0\0\0\0"sv}}}, kNone},
    {"a script", {{{0, "#!/"sv}}}, kNone},
    {"a script", {{{0, "#! /"sv}}}, kNone},
};

/// How all files of a type start. TagLib finds the audio of the other types behind junk, too.
struct Start {
  TagFileType type = kTagFileMP3;
  const char* description = nullptr;
  std::array<std::string_view, 4> starts = {};
};

constexpr Start kStarts[] = {
    {kTagFileWAV, "not a WAV file", {{"RIFF"sv, "RF64"sv, "BW64"sv}}},
    {kTagFileAIFF, "not an AIFF file", {{"FORM"sv}}},
    {kTagFileWMA, "not an ASF file", {{"\x30\x26\xb2\x75"sv}}},
    {kTagFileDSF, "not a DSF file", {{"DSD "sv}}},
};

bool has(std::string_view head, const Bytes& bytes) {
  return head.size() >= bytes.offset && head.substr(bytes.offset).starts_with(bytes.text);
}

bool matches(std::string_view head, const Signature& signature) {
  return std::all_of(signature.bytes.begin(), signature.bytes.end(),
                     [&](const Bytes& bytes) { return has(head, bytes); });
}

const Signature* findSignature(std::string_view head) {
  const auto* found =
      std::find_if(std::begin(kSignatures), std::end(kSignatures),
                   [&](const Signature& signature) { return matches(head, signature); });
  return found == std::end(kSignatures) ? nullptr : found;
}

/// Why no file of this type starts with `head`; null if one may.
const char* wrongStart(std::string_view head, TagFileType type) {
  for (const Start& start : kStarts) {
    if (start.type != type) continue;
    for (const std::string_view text : start.starts) {
      if (!text.empty() && head.starts_with(text)) return nullptr;
    }
    return start.description;
  }
  return nullptr;
}

/// Any character of any encoding that extends ASCII, except for control characters.
bool isText(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 ? byte >= '\t' && byte <= '\r' : byte != 0x7f;
}

bool isText(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char c) { return isText(c); });
}

/// Reads a block into `buffer`; nullopt, with errno set, on failure.
std::optional<std::string_view> readBlock(int fd, std::size_t offset,
                                          std::array<char, kBlock>& buffer) {
  const ssize_t count = ::pread(fd, buffer.data(), buffer.size(), static_cast<off_t>(offset));
  if (count < 0) return std::nullopt;
  return std::string_view(buffer.data(), static_cast<std::size_t>(count));
}

/// Whether everything up to the end of the file, or kMostText, is text. No audio is.
bool isTextFile(int fd) {
  std::array<char, kBlock> buffer = {};
  for (std::size_t offset = 0; offset < kMostText;) {
    const auto block = readBlock(fd, offset, buffer);
    if (!block || !isText(*block)) return false;
    if (block->empty()) break;
    offset += block->size();
  }
  return true;
}

}  // namespace

Outcome checkContent(int fd, const std::string& path) {
  if (!isWritableFileName(path.c_str())) return {Status::kUnknownType};
  std::array<char, kBlock> buffer = {};
  const auto head = readBlock(fd, 0, buffer);
  if (!head) return {Status::kUnreadable, std::strerror(errno)};
  if (head->empty()) return {Status::kEmptyFile};

  const TagFileType type = tagFileTypeForPath(path.c_str());
  if (const Signature* signature = findSignature(*head)) {
    return signature->types.contains(type) ? Outcome()
                                           : Outcome{Status::kOtherContent, signature->kind};
  }
  if (isText(*head) && isTextFile(fd)) return {Status::kOtherContent, "plain text"};
  if (const char* reason = wrongStart(*head, type)) return {Status::kOtherContent, reason};
  return {};
}

}  // namespace tagwriter
