// tagwriterd: the service, which serves one player on an inherited socket.

#include <getopt.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/log.h"
#include "base/unique_fd.h"
#include "confinement/confine.h"
#include "io/lost_writes.h"
#include "service/linux/allocator.h"
#include "service/linux/free_descriptors.h"
#include "service/request_handler.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/peer_server.h"
#include "transport/dbus/write_server.h"

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
/// With fewer descriptors left, the next request may fail: a message brings some, and the edit
/// takes a few more.
constexpr std::uint64_t kFewDescriptors = 64;

constexpr char kHelp[] =
    "Usage: tagwriterd --fd=N [--unconfined]\n"
    "\n"
    "Writes tag changes into audio files that the caller has opened.\n"
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
int parseDescriptor(const char* text) {
  int fd = -1;
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, fd);
  if (error == std::errc() && rest == end) return fd;
  std::fprintf(stderr, "tagwriterd: --fd needs a descriptor number, not '%s'\n", text);
  std::exit(kExitUsage);
}

/// Exits on --help and on a usage error.
Options parseCommandLine(int argc, char** argv) {
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
      std::fputs(kHelp, stdout);
      std::exit(0);
    }
    if (letter == 'u') {
      options.isUnconfined = true;
    } else {
      options.fd = parseDescriptor(optarg);
      hasFd = true;
    }
  }
  if (optind < argc) {
    std::fprintf(stderr, "tagwriterd: unexpected argument '%s'\n", argv[optind]);
    std::exit(kExitUsage);
  }
  if (!hasFd) {
    std::fputs("tagwriterd: --fd is required; see --help\n", stderr);
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
bool confineUnless(bool isUnconfined) {
  using namespace tagwriter;
  if (isUnconfined) {
    logLine("tagwriterd: --unconfined: this process keeps all rights of its user");
    return true;
  }
  if (confine(FileAccess::kEdit)) return true;
  logLine("tagwriterd: this system cannot confine the process: %s; see --unconfined",
          std::strerror(errno));
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tagwriter;

  const auto [fd, isUnconfined] = parseCommandLine(argc, argv);
  if (!dbus::isPeerSocket(fd)) {
    std::fprintf(stderr, "tagwriterd: --fd=%d: not an open local stream socket\n", fd);
    return kExitUsage;
  }

  setUpAllocator();
  setUpSignals();
  setUpOnce();
  dbus::prepareToServe();
  const FreeDescriptors descriptors;
  if (!confineUnless(isUnconfined)) return kExitFailed;

  const int r = dbus::serveWrites(UniqueFd(fd), [&, fd = fd](const Dictionary& request) {
    const std::uint64_t lostBefore = lostWrites();
    const bool result = handleRequest(request);
    return Answer{result, lostWrites() != lostBefore,
                  descriptors.areFewerThan(kFewDescriptors, fd)};
  });
  if (r < 0) {
    std::fprintf(stderr, "tagwriterd: the connection failed: %s\n", std::strerror(-r));
    return kExitFailed;
  }
  return 0;
}
