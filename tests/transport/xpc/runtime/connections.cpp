#include "tests/transport/xpc/runtime/connections.h"

#include <Block.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace tagwriter::test::runtime {
namespace {

/// Guards all connections. Recursive, because releasing an object may close a connection.
std::recursive_mutex mutex;
std::condition_variable_any threadEnded;
int threads = 0;

using Lock = std::unique_lock<std::recursive_mutex>;

/// The listener of the service; null before xpc_main.
Connection* serviceListener = nullptr;

}  // namespace

Connection::Connection(Kind kind, std::shared_ptr<Port> port)
    : Object(XPC_TYPE_CONNECTION), kind_(kind), port_(std::move(port)) {
  if (kind == Kind::kListener) port_->listener = this;
}

Connection::~Connection() {
  if (!resumed_ && kind_ != Kind::kPeer)
    fail("a connection was released that had not been resumed");
  close();
  Block_release(handler_);
}

void Connection::setHandler(xpc_handler_t handler) {
  const Lock lock(mutex);
  if (handler_) Block_release(handler_);
  handler_ = Block_copy(handler);
}

void Connection::resume() {
  const Lock lock(mutex);
  if (!handler_) fail("a connection without an event handler was resumed");
  if (std::exchange(resumed_, true)) fail("a connection was resumed twice");
  if (kind_ == Kind::kClient) connect();
  startHandling();
}

void Connection::connect() {
  if (!port_ || !port_->listener) {
    cancel();
    return;
  }
  Ref<Connection> peer(new Connection(Kind::kPeer, nullptr));
  other_ = peer.get();
  peer->other_ = this;
  peer->retain();  // the runtime's own reference, until the connection is closed
  port_->listener->enqueue(Ref<Object>(peer.take()));
}

void Connection::close() {
  const Lock lock(mutex);
  closed_ = true;
  if (kind_ == Kind::kListener && port_->listener == this) port_->listener = nullptr;
  if (Connection* other = std::exchange(other_, nullptr)) {
    other->other_ = nullptr;
    other->closed_ = true;
    other->enqueue(Ref<Object>::to(connectionInvalid()));
  }
}

void Connection::cancel() {
  const Lock lock(mutex);
  if (closed_) return;
  close();
  for (const Ref<Object>& event : std::exchange(events_, {})) {
    // A new connection that nobody will accept: drop the runtime's own reference.
    if (event->type == XPC_TYPE_CONNECTION) event->release();
  }
  enqueue(Ref<Object>::to(connectionInvalid()));
}

void Connection::send(const Dictionary& message, std::shared_ptr<ReplySlot> slot) {
  const Lock lock(mutex);
  if (!resumed_) fail("a message was sent on a connection that had not been resumed");
  if (!other_) {
    if (slot) slot->fill(Ref<Object>::to(connectionInvalid()));
    return;
  }
  Ref<Dictionary> copy(new Dictionary);
  copy->values = message.values;
  copy->expected = std::move(slot);
  copy->remote = Ref<Connection>::to(other_);
  other_->enqueue(Ref<Object>(copy.take()));
}

void Connection::enqueue(Ref<Object> event) {
  events_.push_back(std::move(event));
  startHandling();
}

void Connection::startHandling() {
  if (!resumed_ || handling_ || events_.empty()) return;
  handling_ = true;
  ++threads;
  retain();
  std::thread([this] { handleEvents(); }).detach();
}

void Connection::handleEvents() {
  bool last = false;
  for (Lock lock(mutex); !events_.empty(); lock.lock()) {
    Ref<Object> event = std::move(events_.front());
    events_.pop_front();
    const xpc_handler_t handler = Block_copy(handler_);
    lock.unlock();
    last = event.get() == connectionInvalid();
    handler(event.get());
    Block_release(handler);
  }
  {
    const Lock lock(mutex);
    handling_ = false;
    startHandling();
  }
  if (last && kind_ == Kind::kPeer) release();  // the runtime's own reference
  release();
  const Lock lock(mutex);
  --threads;
  threadEnded.notify_all();
}

void waitUntilIdle() {
  Lock lock(mutex);
  threadEnded.wait(lock, [] { return threads == 0; });
}

int liveObjects() {
  return Object::live - (serviceListener ? 1 : 0);
}

}  // namespace tagwriter::test::runtime

using namespace tagwriter::test::runtime;

namespace {

Connection& connectionAt(xpc_connection_t connection) {
  return *reinterpret_cast<Connection*>(connection);
}

xpc_connection_t handleOf(Connection* connection) {
  return reinterpret_cast<xpc_connection_t>(connection);
}

Connection* connectTo(const std::shared_ptr<Port>& port) {
  return new Connection(Connection::Kind::kClient, port);
}

Connection* newListener() {
  return new Connection(Connection::Kind::kListener, std::make_shared<Port>());
}

}  // namespace

void xpc_dictionary_set_connection(xpc_object_t dictionary, const char* key,
                                   xpc_connection_t listener) {
  dictionaryAt(dictionary).values[key] = Ref<Object>(new Endpoint(connectionAt(listener).port()));
}

xpc_connection_t xpc_dictionary_create_connection(xpc_object_t dictionary, const char* key) {
  const auto* endpoint =
      dynamic_cast<Endpoint*>(static_cast<Object*>(xpc_dictionary_get_value(dictionary, key)));
  return endpoint ? handleOf(connectTo(endpoint->port)) : nullptr;
}

xpc_object_t xpc_dictionary_create_reply(xpc_object_t original) {
  Dictionary& message = dictionaryAt(original);
  if (!message.expected) return nullptr;
  auto* reply = new Dictionary;
  reply->answered = std::move(message.expected);
  reply->remote = message.remote;
  return reply;
}

xpc_connection_t xpc_dictionary_get_remote_connection(xpc_object_t dictionary) {
  return handleOf(dictionaryAt(dictionary).remote.get());
}

xpc_connection_t xpc_connection_create(const char* name, dispatch_queue_t /*queue*/) {
  if (!name) return handleOf(newListener());
  const bool known = serviceListener && std::string(kServiceName) == name;
  return handleOf(connectTo(known ? serviceListener->port() : nullptr));
}

void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler) {
  connectionAt(connection).setHandler(handler);
}

void xpc_connection_resume(xpc_connection_t connection) {
  connectionAt(connection).resume();
}

void xpc_connection_cancel(xpc_connection_t connection) {
  connectionAt(connection).cancel();
}

void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t object) {
  Dictionary& message = dictionaryAt(object);
  if (const auto slot = std::move(message.answered)) {
    if (message.remote.get() != &connectionAt(connection)) fail("a reply on another connection");
    Ref<Dictionary> copy(new Dictionary);
    copy->values = message.values;
    slot->fill(Ref<Object>(copy.take()));
  } else {
    connectionAt(connection).send(message, nullptr);
  }
}

xpc_object_t xpc_connection_send_message_with_reply_sync(xpc_connection_t connection,
                                                         xpc_object_t message) {
  auto slot = std::make_shared<ReplySlot>();
  auto reply = slot->future();
  connectionAt(connection).send(dictionaryAt(message), std::move(slot));
  return reply.get().take();
}

void xpc_main(xpc_connection_handler_t handler) {
  serviceListener = newListener();
  serviceListener->setHandler(^(xpc_object_t event) {
    if (xpc_get_type(event) == XPC_TYPE_CONNECTION) handler(static_cast<xpc_connection_t>(event));
  });
  serviceListener->resume();
  std::exit(runProgram());
}
