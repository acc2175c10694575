// A minimal player: writes a title and a cover to files, then reads the title back.
//
//   player [--bus] TITLE COVER FILE...
//
// Build it with CMake (see CMakeLists.txt), or with
//   c++ -std=c++20 player.cpp $(pkg-config --cflags --libs tagwriter) -o player

#include <tagwriter/fields.h>
#include <tagwriter/tag_writer.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

namespace field = tagwriter::field;
using tagwriter::Edit;
using tagwriter::TagWriter;
using tagwriter::TrackValue;

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool onBus = !arguments.empty() && arguments[0] == "--bus";
  if (onBus) arguments.erase(arguments.begin());
  if (arguments.size() < 3) {
    std::cerr << "usage: player [--bus] TITLE COVER FILE...\n";
    return 2;
  }
  const std::string& title = arguments[0];
  std::ifstream imageFile(arguments[1], std::ios::binary);
  const std::vector<char> image(std::istreambuf_iterator<char>(imageFile), {});
  if (image.empty()) {
    std::cerr << arguments[1] << ": cannot be read, or is empty\n";
    return 1;
  }
  const auto imageBytes = std::as_bytes(std::span(image));

  // Keep the writer as long as the player runs: it starts the service on the first request, reuses
  // it, and restarts it if it dies. Calls block until the file is written, so a graphical player
  // makes them on a background thread.
  TagWriter writer = onBus ? TagWriter::onSessionBus() : TagWriter();
  // The same goes for the reader, which is private also on the bus.
  tagwriter::TagReader reader;

  // The same edits serve for all files. The image is only borrowed: it must outlive the edit.
  const Edit edits[] = {
      Edit::setField(field::kTitle, title),
      Edit::setCover(imageBytes, tagwriter::detectImageType(imageBytes), /*replace=*/true),
  };

  bool allWritten = true;
  for (const std::string& path : std::span(arguments).subspan(2)) {
    // Safe mode: either an edited copy replaces the file, or the file stays unchanged.
    const tagwriter::Outcome outcome = writer.write(path, edits, {.safe = true});
    if (!outcome) {
      std::cerr << path << ": " << outcome.message() << '\n';
      allWritten = false;
      continue;
    }
    // Success means that the service saved the file; reading it back is the proof.
    const bool found = reader.readField(path, field::kTitle) == TrackValue(title);
    std::cout << path << ": " << (found ? "written" : "written, but the title differs") << '\n';
    allWritten = allWritten && found;
  }
  return allWritten ? 0 : 1;
}
