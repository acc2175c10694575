#include "transport/dbus/read_server.h"

#include <utility>

#include "transport/dbus/names.h"

namespace tagwriter::dbus {

int serveReads(UniqueFd socket, const ReadHandler& handler, const IsLast& isLast) {
  return serveDictionaries(std::move(socket),
                           {kReadObject, kReadInterface, kReadMethod, handler, isLast});
}

}  // namespace tagwriter::dbus
