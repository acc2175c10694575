// The functions that libFuzzer calls. The names are its own.
// NOLINTBEGIN(readability-identifier-naming)
#include <unistd.h>

#include <csignal>
#include <ctime>

#include "fuzz/target.h"

namespace {

void onTimeUp(int) {
  constexpr std::string_view kReport = "fuzz: out of time\n";
  (void)!::write(STDERR_FILENO, kReport.data(), kReport.size());
  std::abort();
}

/// While it exists, the process may use 2 s of CPU time. The limit of libFuzzer is of real time,
/// which says little on a busy machine. The service uses the timers of setitimer().
class TimeLimit {
 public:
  TimeLimit() { set({{}, {2, 0}}); }
  ~TimeLimit() { set({}); }
  TimeLimit(const TimeLimit&) = delete;
  TimeLimit& operator=(const TimeLimit&) = delete;

  static void setUp() {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGVTALRM;
    std::signal(SIGVTALRM, onTimeUp);
    if (::timer_create(CLOCK_PROCESS_CPUTIME_ID, &event, &timer_) != 0) std::abort();
  }

 private:
  static void set(const itimerspec& time) { ::timer_settime(timer_, 0, &time, nullptr); }

  static inline timer_t timer_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  TimeLimit::setUp();
  tagwriter::fuzz::setUp();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const TimeLimit limit;
  tagwriter::fuzz::run({data, size});
  return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// Every fourth time only the parameters at the end change: they are few bytes among many.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  constexpr std::size_t kParameters = 6;
  const std::size_t file = seed % 4 == 0 && size > kParameters ? size - kParameters : 0;
  return file + LLVMFuzzerMutate(data + file, size - file, maxSize - file);
}
// NOLINTEND(readability-identifier-naming)
