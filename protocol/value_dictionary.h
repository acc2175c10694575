// A Dictionary of plain values: the D-Bus adapter decodes messages into it, and the client and the
// tests build requests with it.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "protocol/dictionary.h"

namespace tagwriter {

/// A string that need not be UTF-8, such as a path on Linux. getString returns it like any string;
/// a transport sends it as bytes.
struct ByteString {
  std::string bytes;
};

/// A string of a message that outlives the dictionary: it may be many megabytes.
struct BorrowedText {
  const char* text;
};

/// A descriptor that the caller keeps open while the dictionary lives.
struct BorrowedFd {
  int fd;
};

/// A dictionary of values in memory. It owns everything except for what is called borrowed, and
/// data.
class ValueDictionary final : public Dictionary {
 public:
  using Data = std::span<const std::byte>;
  using List = std::vector<ValueDictionary>;
  using Value = std::variant<std::string, BorrowedText, ByteString, std::int64_t, std::uint64_t,
                             double, bool, Data, BorrowedFd, std::shared_ptr<const ValueDictionary>,
                             std::shared_ptr<const List>>;
  /// Creates a truncation connection from an endpoint's descriptor, which it only borrows; returns
  /// null on failure.
  using TruncationConnector = std::function<std::unique_ptr<TruncationConnection>(int endpoint)>;

  /// A dictionary without a connector: createTruncationConnection returns null.
  ValueDictionary() = default;
  /// createTruncationConnection calls `connector`.
  explicit ValueDictionary(TruncationConnector connector);

  /// Sets `key` to `value`, replacing any earlier value.
  void set(std::string key, Value value);
  /// Sets `key` to a dictionary, replacing any earlier value.
  void set(std::string key, ValueDictionary value);
  /// Sets `key` to a list of dictionaries, replacing any earlier value.
  void set(std::string key, List values);
  /// Removes `key` and its value.
  void remove(const std::string& key);

  /// All keys and values, sorted by key.
  const std::map<std::string, Value, std::less<>>& values() const { return values_; }

  const char* getString(const char* key) const override;
  std::int64_t getInt64(const char* key) const override;
  /// The unsigned integer under `key`, or nullopt.
  std::optional<std::uint64_t> getUint64(const char* key) const;
  double getDouble(const char* key) const override;
  bool getBool(const char* key) const override;
  std::optional<Data> getData(const char* key) const override;
  const ValueDictionary* getDictionary(const char* key) const override;
  /// The dictionaries in the list under `key`; none if there is no list.
  std::span<const ValueDictionary> getList(const char* key) const;
  UniqueFd duplicateDescriptor(const char* key) const override;
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char* key) const override;

 private:
  template <typename T>
  const T* find(const char* key) const;

  TruncationConnector connector_;
  std::map<std::string, Value, std::less<>> values_;
};

}  // namespace tagwriter
