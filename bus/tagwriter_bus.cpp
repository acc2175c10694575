// tagwriter-bus: the front on the session bus, started on demand by D-Bus activation.

#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>

#include "bus/front.h"

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kIdleSeconds = 30;

/// Allows this process and its worker as many descriptors as the system lets them have. Nobody may
/// send one while more than that are on their way between all processes of the user, and the bus
/// may hold hundreds of requests for us.
void raiseDescriptorLimit() {
  rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tagwriter;

  CLI::App app(
      "Serves org.tagwriter.TagWriter on the session bus and lets a tagwriterd worker do "
      "the work.\nStarted by D-Bus activation, not by hand.",
      "tagwriter-bus");
  int idleSeconds = kIdleSeconds;
  app.add_option("--idle", idleSeconds, "Leave after this many seconds without a request")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }

  const std::string worker = dbus::findWorkerProgram();
  if (worker.empty()) {
    std::fputs(
        "tagwriter-bus: tagwriterd is neither beside this program nor in its libexec directory\n",
        stderr);
    return kExitFailed;
  }
  raiseDescriptorLimit();
  const int r = dbus::Front(worker, std::chrono::seconds(idleSeconds)).run();
  if (r < 0) {
    std::fprintf(stderr, "tagwriter-bus: %s\n", std::strerror(-r));
    return kExitFailed;
  }
  return 0;
}
