// Compiles rules into a program for the kernel's packet filter, which checks every system call.
#pragma once

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>

#include "confinement/linux/rule.h"

namespace tagwriter::confinement {

#if defined(__x86_64__)
inline constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
inline constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "The numbers of this processor's system calls were not tested."
#endif
static_assert(std::endian::native == std::endian::little, "an argument's lower half comes first");

/// A program under construction. The constructor runs at compile time.
class Program {
 public:
  /// The program that allows what either set of rules allows, and kills the process otherwise.
  constexpr Program(std::span<const Rule> rules, std::span<const Rule> more) {
    load(offsetof(seccomp_data, arch));
    require(kArchitecture);
    load(offsetof(seccomp_data, nr));
    for (const Rule& rule : rules) add(rule);
    for (const Rule& rule : more) add(rule);
    add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
  }

  /// The instructions for the process `pid`.
  constexpr Program forProcess(std::uint32_t pid) const {
    Program program = *this;
    if (ownProcess_ > 0) program.code_[ownProcess_].k = pid;
    return program;
  }

  constexpr std::span<const sock_filter> code() const { return {code_.data(), size_}; }

 private:
  constexpr void add(unsigned code, std::uint32_t k, std::size_t ifTrue = 0,
                     std::size_t ifFalse = 0) {
    code_.at(size_++) = {static_cast<std::uint16_t>(code), static_cast<std::uint8_t>(ifTrue),
                         static_cast<std::uint8_t>(ifFalse), k};
  }
  constexpr void load(std::size_t offset) {
    add(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
  }
  constexpr void kill() { add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS); }
  constexpr void require(std::uint32_t value) {
    add(BPF_JMP | BPF_JEQ | BPF_K, value, 1, 0);
    kill();
  }

  constexpr void add(const Rule& rule) {
    const std::size_t start = size_;
    add(BPF_JMP | BPF_JEQ | BPF_K, rule.call);
    for (const Condition& condition : std::span(rule.conditions).first(rule.count)) add(condition);
    add(BPF_RET | BPF_K, rule.isAllowed ? SECCOMP_RET_ALLOW : SECCOMP_RET_ERRNO | EACCES);
    code_.at(start).jf = static_cast<std::uint8_t>(size_ - start - 1);  // to the next rule
  }

  /// Continues if the condition holds. Replaces the number of the call by an argument: what follows
  /// must end in a verdict.
  constexpr void add(const Condition& condition) {
    load(offsetof(seccomp_data, args) + condition.argument * sizeof(std::uint64_t));
    switch (condition.kind) {
      case Condition::Kind::kIsOneOf:
        for (std::size_t left = condition.count; left > 0; --left) {
          add(BPF_JMP | BPF_JEQ | BPF_K, condition.values[condition.count - left], left);
        }
        return kill();
      case Condition::Kind::kHasNoneOf:
        add(BPF_JMP | BPF_JSET | BPF_K, condition.values[0], 0, 1);
        return kill();
      case Condition::Kind::kHasAllOf:
        add(BPF_ALU | BPF_AND | BPF_K, condition.values[0]);
        return require(condition.values[0]);
      case Condition::Kind::kIsOwnProcess:
        ownProcess_ = size_;
        return require(0);
    }
  }

  std::array<sock_filter, 256> code_ = {};
  std::size_t size_ = 0;
  std::size_t ownProcess_ = 0;  ///< where the process is compared with its own number
};

}  // namespace tagwriter::confinement
