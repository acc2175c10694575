// A text argument.
#pragma once

#include <concepts>
#include <cstddef>
#include <string_view>

namespace tagwriter {

/// A borrowed UTF-8 text, from anything that a std::string_view can be made from, except a null
/// pointer: that does not compile.
class Text : public std::string_view {
 public:
  template <typename Source>
  requires std::convertible_to<const Source&, std::string_view>
  // NOLINTNEXTLINE(google-explicit-constructor)
  Text(const Source& source) : std::string_view(source) {}
  Text(std::nullptr_t) = delete;
};

}  // namespace tagwriter
