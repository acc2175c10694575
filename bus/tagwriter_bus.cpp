// tagwriter-bus: the front on the session bus, started on demand by D-Bus activation.

#include <getopt.h>
#include <sys/resource.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bus/confine_front.h"
#include "bus/front.h"

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

struct Options {
  std::chrono::seconds idleLimit{30};
  std::chrono::seconds workerTimeout{30};
};

constexpr char kHelp[] =
    "Usage: tagwriter-bus [--idle=SECONDS] [--worker-timeout=SECONDS]\n"
    "\n"
    "Serves org.tagwriter.TagWriter on the session bus and forwards requests to a\n"
    "tagwriterd worker. Started by D-Bus activation, not by hand.\n"
    "\n"
    "Options:\n"
    "  --idle=SECONDS            exit after this time without a request (default: 30)\n"
    "  --worker-timeout=SECONDS  replace a worker that makes no progress with a request\n"
    "                            for this time (default: 30)\n"
    "  -h, --help                print this help\n";

/// Parses the number of seconds given with `name`. Exits with a message if it is not a positive
/// whole number.
std::chrono::seconds parseSeconds(const char* name, const char* text) {
  int seconds = 0;
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, seconds);
  if (error == std::errc() && rest == end && seconds > 0) return std::chrono::seconds(seconds);
  std::fprintf(stderr, "tagwriter-bus: --%s needs a positive number of seconds, not '%s'\n", name,
               text);
  std::exit(kExitUsage);
}

/// Exits on --help and on a usage error.
Options parseCommandLine(int argc, char** argv) {
  static constexpr option kOptions[] = {
      {"idle", required_argument, nullptr, 'i'},
      {"worker-timeout", required_argument, nullptr, 'w'},
      {"help", no_argument, nullptr, 'h'},
      {},
  };
  Options options;
  int index = 0;
  for (int letter; (letter = ::getopt_long(argc, argv, "h", kOptions, &index)) != -1;) {
    if (letter == '?') std::exit(kExitUsage);  // getopt_long has printed the reason
    if (letter == 'h') {
      std::fputs(kHelp, stdout);
      std::exit(0);
    }
    auto& limit = letter == 'i' ? options.idleLimit : options.workerTimeout;
    limit = parseSeconds(kOptions[index].name, optarg);
  }
  if (optind < argc) {
    std::fprintf(stderr, "tagwriter-bus: unexpected argument '%s'\n", argv[optind]);
    std::exit(kExitUsage);
  }
  return options;
}

/// Raises the descriptor limit of this process, and of the worker it starts, to the hard limit.
/// The kernel refuses to pass descriptors while more than the limit are in flight for the user, and
/// the bus may hold hundreds of requests for us.
void raiseDescriptorLimit() {
  rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tagwriter;

  const Options options = parseCommandLine(argc, argv);
  const std::string worker = dbus::findWorkerProgram(dbus::kWriterProgram);
  if (worker.empty()) {
    std::fputs(
        "tagwriter-bus: tagwriterd is neither next to this program nor in its libexec "
        "directory\n",
        stderr);
    return kExitFailed;
  }
  raiseDescriptorLimit();
  int r = dbus::confineFront(worker);
  if (r >= 0) r = dbus::Front(worker, options.idleLimit, options.workerTimeout).run();
  if (r < 0) {
    std::fprintf(stderr, "tagwriter-bus: %s\n",
                 r == -ENOTCONN ? "the bus closed the connection" : std::strerror(-r));
    return kExitFailed;
  }
  return 0;
}
