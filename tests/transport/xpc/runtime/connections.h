// Connections between a player and the service, in one process.
#pragma once

#include <deque>
#include <memory>

#include "tests/transport/xpc/runtime/objects.h"

namespace tagwriter::test::runtime {

/// Where new connections arrive. The listener is null once it has been cancelled or released.
struct Port {
  Connection* listener = nullptr;
};

struct Endpoint final : Object {
  explicit Endpoint(std::shared_ptr<Port> port)
      : Object(&_xpc_type_endpoint), port(std::move(port)) {}
  const std::shared_ptr<Port> port;
};

/// A listener, or one end of a connection. Events are handled one at a time, on a thread that ends
/// when none is left.
class Connection final : public Object {
 public:
  enum class Kind {
    kListener,  ///< receives new connections
    kClient,    ///< created by the side that connects
    kPeer,      ///< received by a listener; owned by the runtime until it is closed
  };
  Connection(Kind kind, std::shared_ptr<Port> port);
  ~Connection() override;

  void setHandler(xpc_handler_t handler);
  void resume();
  void cancel();
  /// Sends a copy of `message`. An error fills `slot` if there is no other end.
  void send(const Dictionary& message, std::shared_ptr<ReplySlot> slot);

  const std::shared_ptr<Port>& port() const { return port_; }

 private:
  void connect();
  void close();
  void enqueue(Ref<Object> event);
  void startHandling();
  void handleEvents();

  const Kind kind_;
  const std::shared_ptr<Port> port_;
  Connection* other_ = nullptr;
  xpc_handler_t handler_ = nullptr;
  bool resumed_ = false;
  bool closed_ = false;
  bool handling_ = false;
  std::deque<Ref<Object>> events_;
};

}  // namespace tagwriter::test::runtime
