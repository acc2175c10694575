// A player on the session bus that reads edits from standard input, one per line:
//
//   set PATH FIELD VALUE    set-safely PATH FIELD VALUE    cover PATH SIZE
//   set-soon PATH FIELD VALUE   with a deadline of a second
//
// and prints a line for each: its status and its message.
#include <chrono>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "client/tag_writer.h"

namespace {

using tagwriter::Status;

const std::map<Status, const char*> kNames = {
    {Status::kWritten, "written"},           {Status::kNotThisType, "not-this-type"},
    {Status::kNoAnswer, "no-answer"},        {Status::kServiceUnavailable, "unavailable"},
    {Status::kRequestTooLarge, "too-large"}, {Status::kTimedOut, "timed-out"},
};

tagwriter::Outcome run(tagwriter::TagWriter& writer, const std::string& line) {
  using namespace tagwriter;
  std::istringstream words(line);
  std::string command, path;
  words >> command >> path;
  if (command == "cover") {
    std::size_t size = 0;
    words >> size;
    std::vector<std::byte> image(size);
    if (size > 0) image.back() = std::byte{'L'};
    return writer.write(path, Edit::setCover(image, ImageType::kPNG, true));
  }
  std::string field, value;
  words >> field;
  std::getline(words >> std::ws, value);
  WriteOptions options = {.safe = command == "set-safely"};
  if (command == "set-soon") {
    options.deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  }
  return writer.setField(path, field, value, options);
}

}  // namespace

int main() {
  auto writer = tagwriter::TagWriter::onSessionBus();
  for (std::string line; std::getline(std::cin, line);) {
    const tagwriter::Outcome outcome = run(writer, line);
    std::cout << kNames.at(outcome.status()) << ' ' << outcome.message() << std::endl;
  }
}
