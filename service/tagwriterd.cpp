// tagwriterd: the service, on a socket that its starter left open for it.

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "base/unique_fd.h"
#include "io/lost_writes.h"
#include "service/request_handler.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/write_server.h"

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

/// A full disk or a limit on the size of files must look like a short write, not end the process;
/// and a log line must not stop it that goes to a terminal where other processes may not write.
void ignoreWriteSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGTTOU, SIG_IGN);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tagwriter;

  CLI::App app(
      "Writes tag changes into audio files that the caller has opened.\n"
      "Started by a music player or by the tagwriter command, not by hand: it serves\n"
      "peer-to-peer D-Bus on a socket that it inherits.",
      "tagwriterd");
  int fd = -1;
  app.add_option("--fd", fd, "The inherited socket (one end of a socketpair)")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }
  if (!dbus::isPeerSocket(fd)) {
    std::fprintf(stderr, "tagwriterd: --fd=%d: not an open local stream socket\n", fd);
    return kExitUsage;
  }

  ignoreWriteSignals();
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
