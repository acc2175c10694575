// A file descriptor with one owner.
#pragma once

#include <utility>

namespace tagwriter {

/// Owns a descriptor and closes it when destroyed; -1 means none. Movable, not copyable.
class UniqueFd {
 public:
  UniqueFd() = default;
  /// Takes ownership of `fd`.
  explicit UniqueFd(int fd) : fd_(fd) {}
  /// Takes ownership from `other`, which is empty afterwards.
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  /// The descriptor, which stays owned; -1 if there is none.
  int get() const { return fd_; }
  /// Whether there is one.
  explicit operator bool() const { return fd_ >= 0; }

  /// Gives up ownership: the caller must close the returned descriptor.
  [[nodiscard]] int release() { return std::exchange(fd_, -1); }
  /// Closes the descriptor and takes ownership of `fd`.
  void reset(int fd = -1);

 private:
  int fd_ = -1;
};

/// Duplicates `fd` with close-on-exec, at 3 or above so that it never becomes a standard stream.
/// The caller keeps `fd`. Returns an empty UniqueFd on failure, with errno set.
UniqueFd duplicateFd(int fd);

/// Returns `fd`, or a duplicate that replaces it if its number is 0 to 2. A new descriptor gets
/// such a number if a standard stream is closed, and the process would then print into it.
UniqueFd aboveStandardStreams(UniqueFd fd);

}  // namespace tagwriter
