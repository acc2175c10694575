// Everything that parses bytes without TagLib, and DSF files. The last byte of the input chooses.
#include <unistd.h>

#include <charconv>
#include <string>

#include "base/number_pair.h"
#include "dsf/dsf_file.h"
#include "fuzz/memory_file.h"
#include "fuzz/target.h"
#include "io/fd_file_stream.h"
#include "io/ogg_codec.h"
#include "protocol/artwork_type.h"
#include "protocol/file_type.h"
#include "reading/image_info.h"
#include "reading/text_value.h"

namespace tagwriter::fuzz {
namespace {

/// The number at the start of `text`, with the limits of a 64-bit number; nullopt if there is none.
std::optional<std::int32_t> numberAtStart(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
  if (digits.empty()) return std::nullopt;
  std::int64_t number = 0;
  const std::string signedDigits = (isNegative ? "-" : "") + std::string(digits);
  const auto [end, error] =
      std::from_chars(signedDigits.data(), signedDigits.data() + signedDigits.size(), number);
  if (error != std::errc()) number = isNegative ? INT64_MIN : INT64_MAX;
  return static_cast<std::int32_t>(number);
}

void readNumberPair(std::string_view bytes) {
  const std::string text(bytes.substr(0, bytes.find('\0')));
  constexpr std::int64_t kUnset = INT64_MAX;
  std::int64_t first = kUnset;
  std::int64_t second = kUnset;
  const int count = parseNumberPair(text.c_str(), first, second);

  const auto number = numberAtStart(text);
  const std::size_t slash = text.rfind('/');
  const auto total = number && slash != std::string::npos
                         ? numberAtStart(std::string_view(text).substr(slash + 1))
                         : std::nullopt;
  promise(count == (number ? total ? 2 : 1 : 0), "the numbers of a pair are counted");
  promise(first == (number ? *number : kUnset), "the first number of a pair is read");
  promise(second == (total ? *total : kUnset), "the second number of a pair is read");
}

void sniffOgg(std::string_view bytes) {
  constexpr std::size_t kSniffed = 28 + 7;
  const MemoryFile file(bytes);
  bool isVorbis = false;
  bool isFLAC = false;
  sniffOggCodec(file.descriptor(), isVorbis, isFLAC);
  const std::string_view packet = bytes.size() < kSniffed ? "" : bytes.substr(28);
  promise(isVorbis == packet.starts_with("\x01vorbis"), "Vorbis is recognized");
  promise(isFLAC == packet.starts_with("\x7f"
                                       "FLAC"),
          "Ogg FLAC is recognized");
  promise(::lseek(file.descriptor(), 0, SEEK_CUR) == 0, "the position is at the start");
}

/// Without the changes that saving a tag at `offset` may make: of the pointer, and from there on.
std::string unchangeable(std::string bytes, std::size_t offset) {
  bytes.resize(std::min(bytes.size(), offset));
  return bytes.replace(20, 8, 8, '\0');
}

void editDSF(std::string_view bytes, bool hasTitle) {
  constexpr std::size_t kPointerEnd = 28;
  const MemoryFile content(bytes);
  long long position = 0;
  {
    TagLib::FDFileStream stream(duplicateFd(content.descriptor()).release(), "a.dsf", nullptr);
    TagLib::DSF::File file(&stream);
    promise(file.isValid() == bytes.starts_with("DSD "), "a DSF file is recognized");
    promise(file.isValid() == (file.tag() != nullptr), "a DSF file has a tag");
    if (!file.isValid()) return;
    promise(file.audioProperties() != nullptr, "a DSF file has properties");
    if (bytes.size() < kPointerEnd) return;
    position = TagLib::ByteVector(bytes.data() + 20, 8).toLongLong(false);
    file.tag()->setTitle(hasTitle ? "title" : "");
    promise(file.save(), "a DSF file is saved");
  }
  const auto offset = position > 0 ? static_cast<std::size_t>(position) : bytes.size();
  if (offset < kPointerEnd) return;
  promise(unchangeable(content.bytes(), offset) == unchangeable(std::string(bytes), offset),
          "nothing before the tag changes but the pointer to it");
}

void readImage(std::string_view bytes) {
  const auto image = std::as_bytes(std::span(bytes));
  const auto type = artworkTypeOf(image);
  promise(type || !dimensionsOf(image), "an unknown image has no dimensions");
}

void readText(std::string_view bytes) {
  const std::string text(bytes);
  const ValueDictionary::Value value = textValue(text);
  const auto* string = std::get_if<std::string>(&value);
  promise(string ? *string == text : std::get<ByteString>(value).bytes == text,
          "a text keeps its bytes");
  promise(!string || text.find('\0') == std::string::npos, "a string has no zero byte");
  promise(!isWritableFileName(text.c_str()) || text.find('.') != std::string::npos,
          "a name without extension is not writable");
  tagFileTypeForPath(text.c_str());
}

}  // namespace

void setUp() {
  silenceLog();
}

void run(Input input) {
  const DescriptorCheck descriptors;
  const unsigned choice = input.byte();
  switch (choice % 6) {
    case 0:
      return readNumberPair(input.rest());
    case 1:
      return sniffOgg(input.rest());
    case 2:
    case 3:
      return editDSF(input.rest(), choice % 2);
    case 4:
      return readImage(input.rest());
    default:
      return readText(input.rest());
  }
}

}  // namespace tagwriter::fuzz
