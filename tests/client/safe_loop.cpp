// Edits one file again and again, to be killed: safe_loop --safe|--in-place COUNT FILE LENGTH...
// The titles take turns; each is as many of one letter as its length says, the first of A, the
// second of B. Prints the letter of each edit that is finished, and ends after COUNT of them.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "client/tag_writer.h"

int main(int argc, char** argv) {
  using namespace tagwriter;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const WriteOptions options = {.safe = arguments.at(0) == "--safe"};
  const std::size_t count = std::stoul(arguments.at(1));
  const std::string& path = arguments.at(2);
  const std::vector<std::string> lengths(arguments.begin() + 3, arguments.end());
  TagWriter writer;
  for (std::size_t edit = 0; edit < count; ++edit) {
    const std::size_t turn = edit % lengths.size();
    const char letter = static_cast<char>('A' + turn);
    const std::string title(std::stoul(lengths[turn]), letter);
    if (const Outcome outcome = writer.setField(path, "title", title, options); !outcome) {
      std::fprintf(stderr, "%s\n", outcome.message().c_str());
      return 1;
    }
    if (::write(STDOUT_FILENO, &letter, 1) != 1) return 1;
  }
}
