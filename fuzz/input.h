// The input of a fuzz target: a file as it is, and after it the parameters of a request.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tagwriter::fuzz {

/// Takes parameters from the end of the input, last byte first. What is missing is 0.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  bool isEmpty() const { return rest_.empty(); }

  std::uint8_t byte() {
    const std::string_view last = bytes(1);
    return last.empty() ? 0 : static_cast<std::uint8_t>(last[0]);
  }

  /// An unsigned number of `width` bytes, big-endian as they stand in the input.
  std::uint64_t number(int width) {
    std::uint64_t value = 0;
    for (int i = 0; i < width; ++i) value |= std::uint64_t{byte()} << 8 * i;
    return value;
  }

  /// The last `count` bytes, in their order; fewer if there are no more.
  std::string_view bytes(std::size_t count) {
    const std::string_view last = rest_.substr(rest_.size() - std::min(count, rest_.size()));
    rest_.remove_suffix(last.size());
    return last;
  }

  /// What has not been taken.
  std::string_view rest() const { return rest_; }

  /// One of the elements of `choices`.
  template <typename Choices>
  const auto& oneOf(const Choices& choices) {
    return choices[byte() % std::size(choices)];
  }

 private:
  std::string_view rest_;
};

/// Ends the process, and thereby reports the input, unless a promise is kept.
inline void promise(bool isKept, const char* what) {
  if (isKept) return;
  std::fprintf(stderr, "fuzz: promise broken: %s\n", what);
  std::abort();
}

}  // namespace tagwriter::fuzz
