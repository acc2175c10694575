// The reader, except that it crashes at a file that begins with "crash", and at a descriptor that
// can be written to; and its answer for a file that begins with "leave" is its last.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "protocol/keys.h"
#include "reading/read_request.h"
#include "transport/dbus/read_server.h"

int main(int argc, char** argv) {
  using namespace tagwriter;
  const std::string option = argc > 1 ? argv[1] : "";
  const int socket = std::stoi(option.substr(option.find('=') + 1));
  bool isLast = false;
  const auto read = [&isLast](const ValueDictionary& request) {
    const UniqueFd file = request.duplicateDescriptor(key::kFd);
    char start[5] = {};
    (void)!::pread(file.get(), start, sizeof start, 0);
    const bool isDamaged = std::memcmp(start, "crash", sizeof start) == 0;
    isLast = std::memcmp(start, "leave", sizeof start) == 0;
    const bool isWritable = (::fcntl(file.get(), F_GETFL) & O_ACCMODE) != O_RDONLY;
    if (isDamaged || isWritable) std::_Exit(3);
    return handleReadRequest(request);
  };
  return dbus::serveReads(UniqueFd(socket), read, [&isLast] { return isLast; });
}
