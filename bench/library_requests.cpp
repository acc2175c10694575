// library_requests SERVICE COUNT PATH: writes two comments alternately into the file through
// TagWriter, and prints the seconds that COUNT requests took, after the first two.

#include <charconv>
#include <chrono>
#include <cstdio>
#include <string_view>

#include "client/tag_writer.h"

namespace {

using Clock = std::chrono::steady_clock;

bool writeComments(tagwriter::TagWriter& writer, const char* path, int count) {
  constexpr const char* kComments[] = {"The first", "Second"};
  for (int i = 0; i < count; ++i) {
    if (!writer.setField(path, "comment", kComments[i % 2])) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  int count = 0;
  std::from_chars(argv[2], argv[2] + std::string_view(argv[2]).size(), count);
  tagwriter::TagWriter writer(argv[1]);
  if (!writeComments(writer, argv[3], 2)) return 1;
  const auto start = Clock::now();
  if (!writeComments(writer, argv[3], count)) return 1;
  std::printf("%.9f\n", std::chrono::duration<double>(Clock::now() - start).count());
  return 0;
}
