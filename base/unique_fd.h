// A descriptor with one owner.
#pragma once

#include <utility>

namespace tagwriter {

/// Owns a descriptor and closes it at the end of its life; -1 stands for none. Movable only.
class UniqueFd {
 public:
  UniqueFd() = default;
  /// Takes ownership of `fd`.
  explicit UniqueFd(int fd) : fd_(fd) {}
  /// The owner changes; `other` has none afterwards.
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  /// The descriptor, still owned here; -1 when there is none.
  int get() const { return fd_; }
  /// Whether there is one.
  explicit operator bool() const { return fd_ >= 0; }

  /// Hands the descriptor to the caller, who owns it from now on.
  [[nodiscard]] int release() { return std::exchange(fd_, -1); }
  /// Closes the descriptor and takes ownership of `fd`.
  void reset(int fd = -1);

 private:
  int fd_ = -1;
};

/// Duplicates `fd` with close-on-exec, at 3 or above so that it can never stand in for a standard
/// stream. `fd` stays the caller's. Returns an empty UniqueFd on failure, with errno set.
UniqueFd duplicateFd(int fd);

/// `fd` itself, or a duplicate in its place when it has one of the numbers 0 to 2, as a new
/// descriptor gets when a standard stream is closed: what the process prints would go into it.
UniqueFd aboveStandardStreams(UniqueFd fd);

}  // namespace tagwriter
