#include "transport/xpc/dictionary.h"

#include "transport/xpc/nested_dictionary.h"
#include "transport/xpc/truncation_client.h"

namespace tagwriter::xpc {

const char* MessageDictionary::getString(const char* key) const {
  return xpc_dictionary_get_string(dictionary_, key);
}

std::int64_t MessageDictionary::getInt64(const char* key) const {
  return xpc_dictionary_get_int64(dictionary_, key);
}

double MessageDictionary::getDouble(const char* key) const {
  return xpc_dictionary_get_double(dictionary_, key);
}

bool MessageDictionary::getBool(const char* key) const {
  return xpc_dictionary_get_bool(dictionary_, key);
}

std::optional<std::span<const std::byte>> MessageDictionary::getData(const char* key) const {
  std::size_t size = 0;
  const void* bytes = xpc_dictionary_get_data(dictionary_, key, &size);
  if (!bytes) return std::nullopt;
  return std::span(static_cast<const std::byte*>(bytes), size);
}

const Dictionary* MessageDictionary::getDictionary(const char* key) const {
  const xpc_object_t nested = nestedDictionary(dictionary_, key);
  return nested ? &nested_.emplace_front(nested) : nullptr;
}

UniqueFd MessageDictionary::duplicateDescriptor(const char* key) const {
  return UniqueFd(xpc_dictionary_dup_fd(dictionary_, key));
}

std::unique_ptr<TruncationConnection> MessageDictionary::createTruncationConnection(
    const char* key) const {
  return connectForTruncation(dictionary_, key);
}

}  // namespace tagwriter::xpc
