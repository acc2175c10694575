#include "transport/xpc/truncation_client.h"

#include <cstdlib>
#include <utility>

#include "protocol/keys.h"
#include "transport/xpc/object.h"

namespace tagwriter::xpc {
namespace {

std::string descriptionOf(xpc_object_t object) {
  const std::unique_ptr<char, void (*)(void*)> text(xpc_copy_description(object), std::free);
  return text.get();
}

class TruncationClient final : public TruncationConnection {
 public:
  explicit TruncationClient(ConnectionHandle connection) : connection_(std::move(connection)) {}

  std::optional<std::string> truncate(int fd, std::uint64_t size) override {
    const ObjectHandle request(xpc_dictionary_create(nullptr, nullptr, 0));
    xpc_dictionary_set_fd(request.get(), key::kFd, fd);
    xpc_dictionary_set_uint64(request.get(), key::kTruncateSize, size);
    const ObjectHandle reply(
        xpc_connection_send_message_with_reply_sync(connection_.get(), request.get()));
    // The contents do not matter, but it must be a dictionary.
    if (xpc_get_type(reply.get()) == XPC_TYPE_DICTIONARY) return std::nullopt;
    return descriptionOf(reply.get());
  }

 private:
  ConnectionHandle connection_;
};

}  // namespace

std::unique_ptr<TruncationConnection> connectForTruncation(xpc_object_t message, const char* key) {
  ConnectionHandle connection(xpc_dictionary_create_connection(message, key));
  if (!connection) return nullptr;
  // Errors are returned to the call that waits for a reply.
  xpc_connection_set_event_handler(connection.get(), ^(xpc_object_t /*event*/){
                                   });
  xpc_connection_resume(connection.get());
  return std::make_unique<TruncationClient>(std::move(connection));
}

}  // namespace tagwriter::xpc
