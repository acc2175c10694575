#include "tests/transport/xpc/runtime/objects.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "tests/transport/xpc/runtime/connections.h"

namespace tagwriter::test::runtime {

std::atomic<int> Object::live = 0;

void fail(const char* rule) {
  std::fprintf(stderr, "XPC: %s\n", rule);
  std::abort();
}

Error* connectionInvalid() {
  static auto* error = new Error("Connection invalid");
  return error;
}

Error* connectionInterrupted() {
  static auto* error = new Error("Connection interrupted");
  return error;
}

Dictionary& dictionaryAt(xpc_object_t object) {
  auto* dictionary = dynamic_cast<Dictionary*>(static_cast<Object*>(object));
  if (!dictionary) fail("not a dictionary");
  return *dictionary;
}

namespace {

struct Descriptor {
  explicit Descriptor(int fd) : fd(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (fd >= 0) ::close(fd);
  }
  int fd;
};

Object* find(xpc_object_t dictionary, const char* key) {
  const auto& values = dictionaryAt(dictionary).values;
  const auto entry = values.find(key);
  return entry == values.end() ? nullptr : entry->second.get();
}

template <typename T>
const T* findValue(xpc_object_t dictionary, const char* key, xpc_type_t type) {
  Object* object = find(dictionary, key);
  return object && object->type == type ? &static_cast<Value<T>*>(object)->value : nullptr;
}

template <typename T>
T valueOrZero(xpc_object_t dictionary, const char* key, xpc_type_t type) {
  const T* value = findValue<T>(dictionary, key, type);
  return value ? *value : T();
}

template <typename T>
void set(xpc_object_t dictionary, const char* key, xpc_type_t type, T value) {
  dictionaryAt(dictionary).values[key] = Ref<Object>(new Value<T>(type, std::move(value)));
}

}  // namespace
}  // namespace tagwriter::test::runtime

using namespace tagwriter::test::runtime;

#define TYPE(name) const struct _xpc_type_s _xpc_type_##name = {#name}
TYPE(bool);
TYPE(int64);
TYPE(uint64);
TYPE(double);
TYPE(string);
TYPE(data);
TYPE(fd);
TYPE(dictionary);
TYPE(endpoint);
TYPE(connection);
TYPE(error);

xpc_object_t xpc_retain(xpc_object_t object) {
  static_cast<Object*>(object)->retain();
  return object;
}

void xpc_release(xpc_object_t object) {
  static_cast<Object*>(object)->release();
}

xpc_type_t xpc_get_type(xpc_object_t object) {
  return static_cast<Object*>(object)->type;
}

char* xpc_copy_description(xpc_object_t object) {
  const auto* error = dynamic_cast<Error*>(static_cast<Object*>(object));
  return ::strdup(error ? error->text : static_cast<Object*>(object)->type->name);
}

xpc_object_t xpc_dictionary_create(const char* const* keys, const xpc_object_t* values,
                                   std::size_t count) {
  auto* dictionary = new Dictionary;
  for (std::size_t i = 0; i < count; ++i) xpc_dictionary_set_value(dictionary, keys[i], values[i]);
  return dictionary;
}

std::size_t xpc_dictionary_get_count(xpc_object_t dictionary) {
  return dictionaryAt(dictionary).values.size();
}

xpc_object_t xpc_dictionary_get_value(xpc_object_t dictionary, const char* key) {
  return find(dictionary, key);
}

xpc_object_t xpc_dictionary_get_dictionary(xpc_object_t dictionary, const char* key) {
  return dynamic_cast<Dictionary*>(find(dictionary, key));
}

bool xpc_dictionary_get_bool(xpc_object_t dictionary, const char* key) {
  return valueOrZero<bool>(dictionary, key, &_xpc_type_bool);
}

std::int64_t xpc_dictionary_get_int64(xpc_object_t dictionary, const char* key) {
  return valueOrZero<std::int64_t>(dictionary, key, &_xpc_type_int64);
}

std::uint64_t xpc_dictionary_get_uint64(xpc_object_t dictionary, const char* key) {
  return valueOrZero<std::uint64_t>(dictionary, key, &_xpc_type_uint64);
}

double xpc_dictionary_get_double(xpc_object_t dictionary, const char* key) {
  return valueOrZero<double>(dictionary, key, &_xpc_type_double);
}

const char* xpc_dictionary_get_string(xpc_object_t dictionary, const char* key) {
  const auto* string = findValue<std::string>(dictionary, key, &_xpc_type_string);
  return string ? string->c_str() : nullptr;
}

const void* xpc_dictionary_get_data(xpc_object_t dictionary, const char* key, std::size_t* size) {
  const auto* data = findValue<std::string>(dictionary, key, &_xpc_type_data);
  if (data && size) *size = data->size();
  return data ? data->data() : nullptr;
}

int xpc_dictionary_dup_fd(xpc_object_t dictionary, const char* key) {
  const auto* descriptor = findValue<Descriptor>(dictionary, key, &_xpc_type_fd);
  return descriptor ? ::dup(descriptor->fd) : -1;
}

void xpc_dictionary_set_bool(xpc_object_t dictionary, const char* key, bool value) {
  set(dictionary, key, &_xpc_type_bool, value);
}

void xpc_dictionary_set_int64(xpc_object_t dictionary, const char* key, std::int64_t value) {
  set(dictionary, key, &_xpc_type_int64, value);
}

void xpc_dictionary_set_uint64(xpc_object_t dictionary, const char* key, std::uint64_t value) {
  set(dictionary, key, &_xpc_type_uint64, value);
}

void xpc_dictionary_set_double(xpc_object_t dictionary, const char* key, double value) {
  set(dictionary, key, &_xpc_type_double, value);
}

void xpc_dictionary_set_string(xpc_object_t dictionary, const char* key, const char* value) {
  if (!value) fail("a string is null");
  set(dictionary, key, &_xpc_type_string, std::string(value));
}

void xpc_dictionary_set_data(xpc_object_t dictionary, const char* key, const void* bytes,
                             std::size_t size) {
  set(dictionary, key, &_xpc_type_data, std::string(static_cast<const char*>(bytes), size));
}

void xpc_dictionary_set_fd(xpc_object_t dictionary, const char* key, int fd) {
  set(dictionary, key, &_xpc_type_fd, Descriptor(::dup(fd)));
}

void xpc_dictionary_set_value(xpc_object_t dictionary, const char* key, xpc_object_t value) {
  dictionaryAt(dictionary).values[key] = Ref<Object>::to(static_cast<Object*>(value));
}
