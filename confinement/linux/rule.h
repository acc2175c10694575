// The language of a policy: system calls, and conditions on their arguments.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tagwriter::confinement {

/// A condition on the lower 32 bits of an argument. Of numbers and masks the kernel uses no others.
struct Condition {
  enum class Kind { kIsOneOf, kHasAllOf, kHasNoneOf, kIsOwnProcess };

  Kind kind = Kind::kIsOneOf;
  unsigned argument = 0;                      ///< counted from 0
  std::array<std::uint32_t, 10> values = {};  ///< numbers, or one mask
  std::size_t count = 0;                      ///< of the values
};

/// What becomes of a system call, if all conditions hold.
struct Rule {
  std::uint32_t call = 0;
  bool isAllowed = true;  ///< otherwise the call fails with EACCES
  std::array<Condition, 3> conditions = {};
  std::size_t count = 0;  ///< of the conditions
};

template <typename... Values>
constexpr Condition isOneOf(unsigned argument, Values... values) {
  return {Condition::Kind::kIsOneOf,
          argument,
          {static_cast<std::uint32_t>(values)...},
          sizeof...(values)};
}

constexpr Condition hasAllOf(unsigned argument, std::uint32_t mask) {
  return {Condition::Kind::kHasAllOf, argument, {mask}, 1};
}

constexpr Condition hasNoneOf(unsigned argument, std::uint32_t mask) {
  return {Condition::Kind::kHasNoneOf, argument, {mask}, 1};
}

constexpr Condition isOwnProcess(unsigned argument) {
  return {Condition::Kind::kIsOwnProcess, argument, {}, 0};
}

template <typename... Conditions>
constexpr Rule allow(long call, Conditions... conditions) {
  return {static_cast<std::uint32_t>(call), true, {conditions...}, sizeof...(conditions)};
}

constexpr Rule refuse(long call) {
  return {static_cast<std::uint32_t>(call), false, {}, 0};
}

}  // namespace tagwriter::confinement
