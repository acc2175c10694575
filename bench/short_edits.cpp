// short_edits service|library PATH COUNT: writes two comments alternately into a file, and prints
// the seconds of CPU time that it took.

#include <charconv>
#include <cstdio>
#include <ctime>
#include <string_view>

extern "C" bool serviceSet(const char* path, const char* field, const char* value);
extern "C" bool librarySet(const char* path, const char* field, const char* value);

namespace {

double cpuSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

bool writeComments(const char* path, int count, decltype(&serviceSet) set) {
  constexpr const char* kComments[] = {"The first", "Second"};
  for (int i = 0; i < count; ++i) {
    if (!set(path, "comment", kComments[i % 2])) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const auto set = std::string_view(argv[1]) == "service" ? serviceSet : librarySet;
  int count = 0;
  std::from_chars(argv[3], argv[3] + std::string_view(argv[3]).size(), count);
  if (!writeComments(argv[2], 2, set)) return 1;  // what is set up only once
  const double start = cpuSeconds();
  if (!writeComments(argv[2], count, set)) return 1;
  std::printf("%.9f\n", cpuSeconds() - start);
  return 0;
}
