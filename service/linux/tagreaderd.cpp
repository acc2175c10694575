// tagreaderd: reads tags and pictures for one player, on an inherited socket.

#include <utility>

#include "dsf/dsf_file_type_resolver.h"
#include "reading/read_request.h"
#include "service/linux/worker_main.h"
#include "transport/dbus/read_server.h"

namespace {

using namespace tagwriter;

int serve(UniqueFd socket, const dbus::IsLast& isLast) {
  return dbus::serveReads(std::move(socket), handleReadRequest, isLast);
}

}  // namespace

int main(int argc, char** argv) {
  return workerMain(argc, argv,
                    {"tagreaderd", "Reads the tags of audio files that the caller has opened.\n",
                     FileAccess::kRead, TagLib::registerDSFFileTypeResolver, serve});
}
