// Requests to the reader: any bytes as a file, and any question.
//
// Input: the file and 4 bytes: the field, the number of the picture, options, the file's name.
#include <fcntl.h>

#include <string>

#include "fuzz/loose_message.h"
#include "fuzz/memory_file.h"
#include "fuzz/target.h"
#include "protocol/fields.h"
#include "protocol/keys.h"
#include "reading/read_request.h"

namespace tagwriter::fuzz {
namespace {

ValueDictionary questionFrom(Input& input) {
  ValueDictionary request;
  if (const char* name = input.oneOf(kNames)) request.set(key::kPath, std::string(name));
  const unsigned options = input.byte();
  const std::uint64_t picture = input.byte();
  const field::Field& field = input.oneOf(field::kAll);
  if (options & 1) request.set(key::kField, std::string(field.key));
  if (options & 2) request.set(key::kPicture, picture % 4);
  if (options & 4) request.set(key::kOffset, picture << (options >> 3));
  return request;
}

}  // namespace

void setUp() {
  silenceLog();
  newMessage();
}

void run(Input input) {
  const DescriptorCheck descriptors;
  ValueDictionary request = questionFrom(input);
  const std::string before(input.rest());
  const MemoryFile file(before);
  request.set(key::kFd, BorrowedFd{file.descriptor()});
  checkRoundTrip(handleReadRequest(request));
  promise(file.bytes() == before, "reading does not change a file");
}

}  // namespace tagwriter::fuzz
