// An exception from the middle of a save.
#pragma once

#include <stdexcept>

#include "protocol/dictionary.h"

namespace tagwriter::test {

/// A request that throws as soon as a file is to be shortened.
class ThrowingRequest final : public Dictionary {
 public:
  const char* getString(const char*) const override { return nullptr; }
  std::int64_t getInt64(const char*) const override { return 0; }
  double getDouble(const char*) const override { return 0; }
  bool getBool(const char*) const override { return false; }
  std::optional<std::span<const std::byte>> getData(const char*) const override { return {}; }
  const Dictionary* getDictionary(const char*) const override { return nullptr; }
  UniqueFd duplicateDescriptor(const char*) const override { return {}; }
  std::unique_ptr<TruncationConnection> createTruncationConnection(const char*) const override {
    throw std::runtime_error("cannot be shortened");
  }
};

}  // namespace tagwriter::test
