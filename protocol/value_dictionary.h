// The dictionary that is made of plain values: what the D-Bus adapter decodes a message into, and
// what the client and the tests build their requests from.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <variant>

#include "protocol/dictionary.h"

namespace tagwriter {

/// A string whose bytes need not be UTF-8, as a path on Linux. Read with getString like any other,
/// but a transport carries it as bytes.
struct ByteString {
  std::string bytes;
};

/// A descriptor, lent for the life of the dictionary.
struct BorrowedFd {
  int fd;
};

/// A dictionary of values held in memory. Data and descriptors are lent to it, everything else is
/// its own.
class ValueDictionary final : public Dictionary {
 public:
  using Data = std::span<const std::byte>;
  using Value = std::variant<std::string, ByteString, std::int64_t, std::uint64_t, double, bool,
                             Data, BorrowedFd, std::shared_ptr<const ValueDictionary>>;
  /// Makes a truncation connection from an endpoint's descriptor, which stays the caller's; null
  /// when none can be made.
  using TruncationConnector = std::function<std::unique_ptr<TruncationConnection>(int endpoint)>;

  /// Without a connector there is never a truncation connection.
  ValueDictionary() = default;
  /// `connector` serves createTruncationConnection.
  explicit ValueDictionary(TruncationConnector connector);

  /// Puts `value` under `key`, in place of what was there.
  void set(std::string key, Value value);
  /// Puts a dictionary under `key`, in place of what was there.
  void set(std::string key, ValueDictionary value);
  /// Takes away what is under `key`.
  void remove(const std::string& key);

  /// Every key with its value, in the order of the keys.
  const std::map<std::string, Value, std::less<>>& values() const { return values_; }

  const char* getString(const char* key) const override;
  std::int64_t getInt64(const char* key) const override;
  /// The unsigned integer under `key`, or nothing.
  std::optional<std::uint64_t> getUint64(const char* key) const;
  double getDouble(const char* key) const override;
  bool getBool(const char* key) const override;
  std::optional<Data> getData(const char* key) const override;
  const Dictionary* getDictionary(const char* key) const override;
  UniqueFd duplicateDescriptor(const char* key) const override;
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char* key) const override;

 private:
  template <typename T>
  const T* find(const char* key) const;

  TruncationConnector connector_;
  std::map<std::string, Value, std::less<>> values_;
};

}  // namespace tagwriter
