// A request as every writer sees it: typed values under string keys, whatever carried them here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "base/unique_fd.h"
#include "protocol/truncation_connection.h"

namespace tagwriter {

/// A dictionary of typed values. A value that is absent and one of another type look the same: each
/// getter answers both with its own default, and none reports an error. What a getter returns is
/// borrowed from the dictionary and valid for its life.
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
  /// The bytes under `key`, not copied, or nothing. Present but empty data is not nothing.
  virtual std::optional<std::span<const std::byte>> getData(const char* key) const = 0;
  /// The dictionary under `key`, or null.
  virtual const Dictionary* getDictionary(const char* key) const = 0;
  /// A duplicate of the descriptor under `key`; empty when there is none or it cannot be
  /// duplicated.
  virtual UniqueFd duplicateDescriptor(const char* key) const = 0;
  /// A connection to the truncation endpoint under `key`; null when there is no endpoint there or
  /// no connection can be made from it.
  virtual std::unique_ptr<TruncationConnection> createTruncationConnection(
      const char* key) const = 0;
};

}  // namespace tagwriter
