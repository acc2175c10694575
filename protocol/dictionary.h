// A request as the writers see it: typed values under string keys, independent of the transport.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "base/unique_fd.h"
#include "protocol/truncation_connection.h"

namespace tagwriter {

/// A dictionary of typed values. If a value is missing or has another type, the getter returns its
/// default; no getter reports an error. Returned pointers and spans are borrowed
/// from the dictionary and valid as long as it lives.
class Dictionary {
 public:
  virtual ~Dictionary() = default;

  /// The string under `key`, NUL-terminated, or null.
  virtual const char* getString(const char* key) const = 0;
  /// The signed integer under `key`, or 0.
  virtual std::int64_t getInt64(const char* key) const = 0;
  /// The floating-point number under `key`, or 0.0.
  virtual double getDouble(const char* key) const = 0;
  /// The boolean under `key`, or false.
  virtual bool getBool(const char* key) const = 0;
  /// The bytes under `key`, not copied; nullopt if there are none. Empty data is not nullopt.
  virtual std::optional<std::span<const std::byte>> getData(const char* key) const = 0;
  /// The dictionary under `key`, or null.
  virtual const Dictionary* getDictionary(const char* key) const = 0;
  /// A duplicate of the descriptor under `key`; empty if there is none or it cannot be duplicated.
  virtual UniqueFd duplicateDescriptor(const char* key) const = 0;
  /// A connection to the truncation endpoint under `key`; null if there is no endpoint or the
  /// connection cannot be made.
  virtual std::unique_ptr<TruncationConnection> createTruncationConnection(
      const char* key) const = 0;
};

}  // namespace tagwriter
