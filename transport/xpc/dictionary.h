// A request in an XPC dictionary.
#pragma once

#include <xpc/xpc.h>

#include <forward_list>

#include "protocol/dictionary.h"

namespace tagwriter::xpc {

/// A view of an XPC dictionary. The values of missing keys, and of keys with a value of another
/// type, are those of the platform's getters. Used by one thread at a time.
class MessageDictionary final : public Dictionary {
 public:
  /// Borrows `dictionary`, which must live as long as this object.
  explicit MessageDictionary(xpc_object_t dictionary) : dictionary_(dictionary) {}

  const char* getString(const char* key) const override;
  std::int64_t getInt64(const char* key) const override;
  double getDouble(const char* key) const override;
  bool getBool(const char* key) const override;
  std::optional<std::span<const std::byte>> getData(const char* key) const override;
  const Dictionary* getDictionary(const char* key) const override;
  /// The duplicate has the number that the platform chooses, which may be 0.
  UniqueFd duplicateDescriptor(const char* key) const override;
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char* key) const override;

 private:
  xpc_object_t dictionary_;
  mutable std::forward_list<MessageDictionary> nested_;  ///< those that getDictionary has returned
};

}  // namespace tagwriter::xpc
