#include "service/linux/worker_main.h"

#include <getopt.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/log.h"
#include "service/linux/allocator.h"
#include "service/linux/free_descriptors.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/peer_server.h"

namespace tagwriter {
namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
/// With fewer descriptors left, the next request may fail: a message brings some, and the edit
/// takes a few more.
constexpr std::uint64_t kFewDescriptors = 64;

constexpr char kHelp[] =
    "Usage: %s --fd=N [--unconfined]\n"
    "\n"
    "%s"
    "Started by a music player or by the tagwriter command, not by hand: it serves\n"
    "peer-to-peer D-Bus on a socket that it inherits.\n"
    "\n"
    "Options:\n"
    "  --fd=N        the inherited socket, one end of a socketpair (required)\n"
    "  --unconfined  keep all rights of the user: for debuggers, and for a kernel\n"
    "                that cannot filter system calls\n"
    "  -h, --help    print this help\n";

struct Options {
  int fd = -1;
  bool isUnconfined = false;
};

/// Parses a descriptor number. Exits with a message if it is not a whole number.
int parseDescriptor(const char* program, const char* text) {
  int fd = -1;
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, fd);
  if (error == std::errc() && rest == end) return fd;
  std::fprintf(stderr, "%s: --fd needs a descriptor number, not '%s'\n", program, text);
  std::exit(kExitUsage);
}

/// Exits on --help and on a usage error.
Options parseCommandLine(int argc, char** argv, const WorkerProgram& program) {
  static constexpr option kOptions[] = {
      {"fd", required_argument, nullptr, 'f'},
      {"unconfined", no_argument, nullptr, 'u'},
      {"help", no_argument, nullptr, 'h'},
      {},
  };
  Options options;
  bool hasFd = false;
  for (int letter; (letter = ::getopt_long(argc, argv, "h", kOptions, nullptr)) != -1;) {
    if (letter == '?') std::exit(kExitUsage);  // getopt_long has printed the reason
    if (letter == 'h') {
      std::printf(kHelp, program.name, program.purpose);
      std::exit(0);
    }
    if (letter == 'u') {
      options.isUnconfined = true;
    } else {
      options.fd = parseDescriptor(program.name, optarg);
      hasFd = true;
    }
  }
  if (optind < argc) {
    std::fprintf(stderr, "%s: unexpected argument '%s'\n", program.name, argv[optind]);
    std::exit(kExitUsage);
  }
  if (!hasFd) {
    std::fprintf(stderr, "%s: --fd is required; see --help\n", program.name);
    std::exit(kExitUsage);
  }
  return options;
}

/// A closed socket or a file size limit must cause an error, not kill the process. SIGTTOU: logging
/// must not stop a background job. SIGPROF must kill (io/cpu_limit.h), whatever was inherited.
void setUpSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGTTOU, SIG_IGN);
  std::signal(SIGPROF, SIG_DFL);
  sigset_t cpuLimit;
  sigemptyset(&cpuLimit);
  sigaddset(&cpuLimit, SIGPROF);
  ::sigprocmask(SIG_UNBLOCK, &cpuLimit, nullptr);
}

/// Returns whether the process may start to serve.
bool confineUnless(bool isUnconfined, const WorkerProgram& program) {
  if (isUnconfined) {
    logLine("%s: --unconfined: this process keeps all rights of its user", program.name);
    return true;
  }
  if (confine(program.access)) return true;
  logLine("%s: this system cannot confine the process: %s; see --unconfined", program.name,
          std::strerror(errno));
  return false;
}

}  // namespace

int workerMain(int argc, char** argv, const WorkerProgram& program) {
  const auto [fd, isUnconfined] = parseCommandLine(argc, argv, program);
  if (!dbus::isPeerSocket(fd)) {
    std::fprintf(stderr, "%s: --fd=%d: not an open local stream socket\n", program.name, fd);
    return kExitUsage;
  }

  setUpAllocator();
  setUpSignals();
  program.prepare();
  dbus::prepareToServe();
  const FreeDescriptors descriptors;
  if (!confineUnless(isUnconfined, program)) return kExitFailed;

  const int r = program.serve(UniqueFd(fd), [&descriptors, fd = fd] {
    return descriptors.areFewerThan(kFewDescriptors, fd);
  });
  if (r < 0) {
    std::fprintf(stderr, "%s: the connection failed: %s\n", program.name, std::strerror(-r));
    return kExitFailed;
  }
  return 0;
}

}  // namespace tagwriter
