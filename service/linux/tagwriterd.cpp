// tagwriterd: the service, which serves one player on an inherited socket.

#include <utility>

#include "io/lost_writes.h"
#include "service/linux/worker_main.h"
#include "service/request_handler.h"
#include "transport/dbus/write_server.h"

namespace {

using namespace tagwriter;

Answer answer(const Dictionary& request) {
  const std::uint64_t lostBefore = lostWrites();
  const bool result = handleRequest(request);
  return {result, lostWrites() != lostBefore};
}

int serve(UniqueFd socket, const dbus::IsLast& isLast) {
  return dbus::serveWrites(std::move(socket), answer, isLast);
}

}  // namespace

int main(int argc, char** argv) {
  return workerMain(
      argc, argv,
      {"tagwriterd", "Writes tag changes into audio files that the caller has opened.\n",
       FileAccess::kEdit, setUpOnce, serve});
}
