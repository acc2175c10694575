#include "io/cpu_limit.h"

#include <sys/time.h>

namespace tagwriter {
namespace {

void setTimer(long seconds) {
  const itimerval value = {{0, 0}, {seconds, 0}};
  ::setitimer(ITIMER_PROF, &value, nullptr);
}

}  // namespace

CpuLimit::CpuLimit(long seconds) {
  setTimer(seconds);
}

CpuLimit::~CpuLimit() {
  setTimer(0);
}

}  // namespace tagwriter
