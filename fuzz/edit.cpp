// Requests to the service: any bytes as a file, and any change.
//
// Input: the file, a text, and 5 bytes: the text's length, how often it is repeated, options, the
// change, the file's name. fuzz/seeds writes the same format.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/unique_fd.h"
#include "fuzz/memory_file.h"
#include "fuzz/target.h"
#include "io/lost_writes.h"
#include "protocol/fields.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "reading/contents.h"
#include "service/request_handler.h"

namespace tagwriter::fuzz {
namespace {

constexpr unsigned kRepeats[] = {1, 20, 300};  // the last for texts that need more than 16 bits

// Bits of the options.
constexpr unsigned kClear = 1;  ///< the track has no value for the field
constexpr unsigned kReplace = 2;
constexpr unsigned kCompanion = 4;

// Changes after those of the fields.
constexpr unsigned kCover = std::size(field::kAll);
constexpr unsigned kClearCover = kCover + 1;
constexpr unsigned kUnknownField = kCover + 2;
constexpr unsigned kChanges = kCover + 3;

std::int64_t numberIn(std::string_view text) {
  std::uint64_t number = 0;
  for (const char c : text) number = number << 8 | static_cast<unsigned char>(c);
  return static_cast<std::int64_t>(number);
}

ValueDictionary::Value valueOf(field::Type type, const std::string& text) {
  switch (type) {
    case field::Type::kString:
      return BorrowedText{text.c_str()};
    case field::Type::kInt64:
      return numberIn(text);
    case field::Type::kDouble:
      return static_cast<double>(numberIn(text)) / 4;
    case field::Type::kBool:
      return !text.empty();
  }
  return false;
}

ValueDictionary trackWith(const field::Field& field, const std::string& text, unsigned options) {
  ValueDictionary track;
  if (!(options & kClear)) track.set(field.key, valueOf(field.type, text));
  if (options & kCompanion && field.companion) track.set(field.companion, numberIn(text) + 1);
  return track;
}

/// The request without file and path. `text` must outlive it.
ValueDictionary requestFor(unsigned change, const std::string& text, unsigned options) {
  ValueDictionary request;
  if (change == kCover) {
    request.set(key::kArtwork, std::as_bytes(std::span(text)));
    request.set(key::kArtworkType, std::int64_t{options >> 4});
    request.set(key::kReplaceArtwork, (options & kReplace) != 0);
  } else if (change == kClearCover) {
    request.set(key::kClearArtwork, true);
  } else if (change == kUnknownField) {
    request.set(key::kChangedTag, BorrowedText{text.c_str()});
    request.set(key::kTrack, ValueDictionary());
  } else {
    request.set(key::kChangedTag, std::string(field::kAll[change].key));
    request.set(key::kTrack, trackWith(field::kAll[change], text, options));
  }
  return request;
}

bool canRead(const MemoryFile& file, const char* name) {
  return readContents(duplicateFd(file.descriptor()), name).isAudio;
}

/// Keeps the first input after whose edit TagLib cannot read a file of this type.
void keepExample(const char* name, std::string_view input) {
  const char* directory = std::getenv("TAGWRITER_FUZZ_EXAMPLES");
  if (!directory) return;
  const std::string path = std::string(directory) + "/unreadable-" + (name ? name : "unnamed");
  const UniqueFd file(::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666));
  if (file) (void)!::write(file.get(), input.data(), input.size());
}

}  // namespace

void setUp() {
  silenceLog();
  setUpOnce();
}

void run(Input input) {
  const std::string_view whole = input.rest();
  const char* name = input.oneOf(kNames);
  const unsigned change = input.byte() % kChanges;
  const unsigned options = input.byte();
  const unsigned repeats = input.oneOf(kRepeats);
  const std::string_view once = input.bytes(input.byte());
  std::string text;
  for (unsigned i = 0; i < repeats; ++i) text += once;

  const DescriptorCheck descriptors;
  const std::string before(input.rest());
  const MemoryFile file(before);
  ValueDictionary request = requestFor(change, text, options);
  request.set(key::kFd, BorrowedFd{file.descriptor()});
  if (name) request.set(key::kPath, std::string(name));

  const std::uint64_t lost = lostWrites();
  const bool result = handleRequest(request);
  promise(lostWrites() == lost, "nothing fails after the first overwritten byte");
  promise(result || file.bytes() == before, "after false the file is as it was");
  // No promise of ours: TagLib believes what a damaged file says, and may write garbage.
  if (result && !canRead(file, name) && canRead(MemoryFile(before), name)) {
    keepExample(name, whole);
  }
}

}  // namespace tagwriter::fuzz
