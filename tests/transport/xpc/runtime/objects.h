// Objects with a type and a reference count, and the values of dictionaries.
#pragma once

#include <xpc/xpc.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "tests/transport/xpc/runtime/runtime.h"

namespace tagwriter::test::runtime {

/// Deleted when the last reference is released.
class Object {
 public:
  explicit Object(xpc_type_t type) : type(type) { ++live; }
  virtual ~Object() { --live; }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  void retain() { ++references_; }
  void release() {
    if (--references_ == 0) delete this;
  }

  const xpc_type_t type;
  static std::atomic<int> live;

 private:
  std::atomic<int> references_ = 1;
};

/// Owns one reference.
template <typename T>
class Ref {
 public:
  Ref() = default;
  /// Takes over the caller's reference.
  explicit Ref(T* object) : object_(object) {}
  Ref(const Ref& other) : object_(other.object_) {
    if (object_) object_->retain();
  }
  Ref(Ref&& other) noexcept : object_(other.take()) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Ref() {
    if (object_) object_->release();
  }
  /// One more reference to `object`.
  static Ref to(T* object) {
    object->retain();
    return Ref(object);
  }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }
  /// Gives up the reference, which is the caller's afterwards.
  T* take() { return std::exchange(object_, nullptr); }

 private:
  T* object_ = nullptr;
};

template <typename T>
struct Value final : Object {
  Value(xpc_type_t type, T value) : Object(type), value(std::move(value)) {}
  const T value;
};

/// One of the errors of the platform. They are never deleted.
struct Error final : Object {
  explicit Error(const char* text) : Object(XPC_TYPE_ERROR), text(text) { --live; }
  const char* const text;
};
Error* connectionInvalid();
Error* connectionInterrupted();

/// What waits for a reply. If nothing can reply any more, the reply is an error.
class ReplySlot {
 public:
  ~ReplySlot() {
    if (!filled_) fill(Ref<Object>::to(connectionInterrupted()));
  }
  void fill(Ref<Object> reply) {
    filled_ = true;
    promise_.set_value(std::move(reply));
  }
  std::future<Ref<Object>> future() { return promise_.get_future(); }

 private:
  bool filled_ = false;
  std::promise<Ref<Object>> promise_;
};

class Connection;

struct Dictionary final : Object {
  Dictionary() : Object(XPC_TYPE_DICTIONARY) {}
  std::map<std::string, Ref<Object>> values;
  std::shared_ptr<ReplySlot> expected;  ///< of a message: where its reply goes
  std::shared_ptr<ReplySlot> answered;  ///< of a reply
  Ref<Connection> remote;               ///< the connection on which the message arrived
};

/// The dictionary behind `object`; stops the program if it is something else.
Dictionary& dictionaryAt(xpc_object_t object);

}  // namespace tagwriter::test::runtime
