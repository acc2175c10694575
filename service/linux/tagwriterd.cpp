// tagwriterd: the service, which serves one player on an inherited socket.

#include <getopt.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "base/unique_fd.h"
#include "io/lost_writes.h"
#include "service/linux/allocator.h"
#include "service/request_handler.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/write_server.h"

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

constexpr char kHelp[] =
    "Usage: tagwriterd --fd=N\n"
    "\n"
    "Writes tag changes into audio files that the caller has opened.\n"
    "Started by a music player or by the tagwriter command, not by hand: it serves\n"
    "peer-to-peer D-Bus on a socket that it inherits.\n"
    "\n"
    "Options:\n"
    "  --fd=N      the inherited socket, one end of a socketpair (required)\n"
    "  -h, --help  print this help\n";

/// Parses a descriptor number. Exits with a message if it is not a whole number.
int parseDescriptor(const char* text) {
  int fd = -1;
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, fd);
  if (error == std::errc() && rest == end) return fd;
  std::fprintf(stderr, "tagwriterd: --fd needs a descriptor number, not '%s'\n", text);
  std::exit(kExitUsage);
}

/// Returns the descriptor given with --fd. Exits on --help and on a usage error.
int parseCommandLine(int argc, char** argv) {
  static constexpr option kOptions[] = {
      {"fd", required_argument, nullptr, 'f'},
      {"help", no_argument, nullptr, 'h'},
      {},
  };
  std::optional<int> fd;
  for (int letter; (letter = ::getopt_long(argc, argv, "h", kOptions, nullptr)) != -1;) {
    if (letter == '?') std::exit(kExitUsage);  // getopt_long has printed the reason
    if (letter == 'h') {
      std::fputs(kHelp, stdout);
      std::exit(0);
    }
    fd = parseDescriptor(optarg);
  }
  if (optind < argc) {
    std::fprintf(stderr, "tagwriterd: unexpected argument '%s'\n", argv[optind]);
    std::exit(kExitUsage);
  }
  if (!fd) {
    std::fputs("tagwriterd: --fd is required; see --help\n", stderr);
    std::exit(kExitUsage);
  }
  return *fd;
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

}  // namespace

int main(int argc, char** argv) {
  using namespace tagwriter;

  const int fd = parseCommandLine(argc, argv);
  if (!dbus::isPeerSocket(fd)) {
    std::fprintf(stderr, "tagwriterd: --fd=%d: not an open local stream socket\n", fd);
    return kExitUsage;
  }

  setUpAllocator();
  setUpSignals();
  setUpOnce();
  const int r = dbus::serveWrites(UniqueFd(fd), [](const Dictionary& request) {
    const std::uint64_t lostBefore = lostWrites();
    const bool result = handleRequest(request);
    return Answer{result, lostWrites() != lostBefore};
  });
  if (r < 0) {
    std::fprintf(stderr, "tagwriterd: the connection failed: %s\n", std::strerror(-r));
    return kExitFailed;
  }
  return 0;
}
