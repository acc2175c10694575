#include "transport/dbus/truncation_server.h"

#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <system_error>
#include <utility>

#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/peer_server.h"

namespace tagwriter::dbus {
namespace {

int truncateFile(sd_bus_message* call, sd_bus_error* error) {
  ValueDictionary request;
  if (readDictionary(call, request) < 0) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "The request does not decode");
  }
  const UniqueFd file = request.duplicateDescriptor(key::kFd);
  const auto size = request.getUint64(key::kTruncateSize);
  if (!file || !size || *size > LONG_MAX) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS,
                            "\"fd\" and \"truncatesize\" are needed");
  }
  if (::ftruncate(file.get(), static_cast<off_t>(*size)) != 0) {
    return sd_bus_error_set_errno(error, errno);
  }
  return sd_bus_reply_method_return(call, kDictionarySignature, 0);
}

/// Blocks all signals in its scope. New threads inherit the mask, so that the player's signal
/// handlers do not run on our threads.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

TruncationServer::TruncationServer() {
  SocketPair sockets = makeSocketPair();
  hangUp_ = duplicateFd(sockets.ours.get());
  if (!hangUp_) return;
  const SignalsBlocked blocked;
  try {
    thread_ = std::thread([this, socket = std::move(sockets.ours)]() mutable {
      servePeer(std::move(socket), {kTruncationObject, kTruncationInterface, kTruncateMethod,
                                    [this](sd_bus_message* call, sd_bus_error* error) {
                                      return handle(call, error);
                                    }});
    });
  } catch (const std::system_error&) {
    return;  // no thread available
  }
  theirs_ = std::move(sockets.theirs);
}

int TruncationServer::handle(sd_bus_message* call, sd_bus_error* error) {
  const int r = truncateFile(call, error);
  if (r < 0) failed_ = true;
  return r;
}

TruncationServer::~TruncationServer() {
  if (!thread_.joinable()) return;
  ::shutdown(hangUp_.get(), SHUT_RDWR);
  thread_.join();
}

}  // namespace tagwriter::dbus
