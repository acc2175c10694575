#include "transport/dbus/truncation_server.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <utility>

#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"

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
  while (::ftruncate(file.get(), static_cast<off_t>(*size)) != 0) {
    if (errno != EINTR) return sd_bus_error_set_errno(error, errno);
  }
  return sd_bus_reply_method_return(call, kDictionarySignature, 0);
}

}  // namespace

int TruncationServer::prepare() {
  failed_ = false;
  if (ours_) return theirs_.get();
  reset();
  SocketPair sockets = makeSocketPair();
  ours_ = std::move(sockets.ours);
  theirs_ = std::move(sockets.theirs);
  return theirs_.get();
}

void TruncationServer::reset() {
  server_.reset();
  ours_.reset();
  theirs_.reset();
}

pollfd TruncationServer::interest() const {
  if (!server_) return {ours_.get(), POLLIN, 0};
  return {sd_bus_get_fd(server_->bus()), static_cast<short>(sd_bus_get_events(server_->bus())), 0};
}

void TruncationServer::handle() {
  int r = 0;
  if (!server_) {
    server_.emplace(ServedMethod{
        kTruncationObject, kTruncationInterface, kTruncateMethod,
        [this](sd_bus_message* call, sd_bus_error* error) { return truncate(call, error); }});
    r = server_->start(std::move(ours_));
  }
  while (r >= 0 && (r = sd_bus_process(server_->bus(), nullptr)) > 0) {
  }
  if (r < 0 && r != -EINTR) reset();  // the service has hung up
}

int TruncationServer::truncate(sd_bus_message* call, sd_bus_error* error) {
  const int r = truncateFile(call, error);
  if (r < 0) failed_ = true;
  return r;
}

}  // namespace tagwriter::dbus
