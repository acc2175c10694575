// The integer types in TagLib's stream interface, which differ from series to series and, where a
// `long` has 32 bits, in size.
#pragma once

#include <tiostream.h>

#include <cstddef>
#include <tuple>
#include <utility>

namespace TagLib {

template <typename Member>
struct ArgumentsOf;

template <typename Result, typename Class, typename... Arguments>
struct ArgumentsOf<Result (Class::*)(Arguments...)> {
  template <std::size_t Index>
  using Type = std::tuple_element_t<Index, std::tuple<Arguments...>>;
};

/// A position, a length of a file, or a distance between positions: signed.
using StreamOffset = decltype(std::declval<const IOStream&>().tell());

/// Where a range starts that is to be replaced or removed: unsigned in TagLib 1, signed in 2.
using StreamStart = ArgumentsOf<decltype(&IOStream::removeBlock)>::Type<0>;

/// How many bytes to read, replace or remove: unsigned.
using StreamSize = ArgumentsOf<decltype(&IOStream::removeBlock)>::Type<1>;

}  // namespace TagLib
