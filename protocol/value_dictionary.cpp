#include "protocol/value_dictionary.h"

#include <utility>

#include "base/unique_fd.h"

namespace tagwriter {

ValueDictionary::ValueDictionary(TruncationConnector connector)
    : connector_(std::move(connector)) {}

void ValueDictionary::set(std::string key, Value value) {
  values_.insert_or_assign(std::move(key), std::move(value));
}

void ValueDictionary::set(std::string key, ValueDictionary value) {
  set(std::move(key), std::make_shared<const ValueDictionary>(std::move(value)));
}

void ValueDictionary::set(std::string key, List values) {
  set(std::move(key), std::make_shared<const List>(std::move(values)));
}

void ValueDictionary::remove(const std::string& key) {
  values_.erase(key);
}

template <typename T>
const T* ValueDictionary::find(const char* key) const {
  const auto entry = values_.find(key);
  return entry == values_.end() ? nullptr : std::get_if<T>(&entry->second);
}

const char* ValueDictionary::getString(const char* key) const {
  if (const auto* string = find<std::string>(key)) return string->c_str();
  if (const auto* string = find<BorrowedText>(key)) return string->text;
  if (const auto* string = find<ByteString>(key)) return string->bytes.c_str();
  return nullptr;
}

std::int64_t ValueDictionary::getInt64(const char* key) const {
  if (const auto* value = find<std::int64_t>(key)) return *value;
  const auto* value = find<std::uint64_t>(key);
  return value && std::in_range<std::int64_t>(*value) ? static_cast<std::int64_t>(*value) : 0;
}

std::optional<std::uint64_t> ValueDictionary::getUint64(const char* key) const {
  const auto* value = find<std::uint64_t>(key);
  return value ? std::optional(*value) : std::nullopt;
}

double ValueDictionary::getDouble(const char* key) const {
  if (const auto* value = find<double>(key)) return *value;
  // Many bindings send the rating 4 as an integer.
  if (const auto* value = find<std::int64_t>(key)) return static_cast<double>(*value);
  const auto* value = find<std::uint64_t>(key);
  return value ? static_cast<double>(*value) : 0.0;
}

bool ValueDictionary::getBool(const char* key) const {
  const auto* value = find<bool>(key);
  return value && *value;
}

std::optional<ValueDictionary::Data> ValueDictionary::getData(const char* key) const {
  const auto* data = find<Data>(key);
  return data ? std::optional(*data) : std::nullopt;
}

const ValueDictionary* ValueDictionary::getDictionary(const char* key) const {
  const auto* dictionary = find<std::shared_ptr<const ValueDictionary>>(key);
  return dictionary ? dictionary->get() : nullptr;
}

std::span<const ValueDictionary> ValueDictionary::getList(const char* key) const {
  const auto* list = find<std::shared_ptr<const List>>(key);
  return list ? std::span(**list) : std::span<const ValueDictionary>();
}

UniqueFd ValueDictionary::duplicateDescriptor(const char* key) const {
  const auto* descriptor = find<BorrowedFd>(key);
  return descriptor ? duplicateFd(descriptor->fd) : UniqueFd();
}

std::unique_ptr<TruncationConnection> ValueDictionary::createTruncationConnection(
    const char* key) const {
  const auto* endpoint = find<BorrowedFd>(key);
  return endpoint && connector_ ? connector_(endpoint->fd) : nullptr;
}

}  // namespace tagwriter
