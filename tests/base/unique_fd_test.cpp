#include "base/unique_fd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

UniqueFd openNull() {
  return openFile("/dev/null");
}

TEST(UniqueFd, HasOneOwnerThatClosesIt) {
  UniqueFd first = openNull();
  const int number = first.get();
  UniqueFd second = openNull();
  const int closed = second.get();
  second = std::move(first);
  EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(second.get(), number);
  EXPECT_FALSE(isOpen(closed));
  {
    const UniqueFd third = std::move(second);
    EXPECT_TRUE(isOpen(number));
  }
  EXPECT_FALSE(isOpen(number));

  UniqueFd released = openNull();
  const int mine = released.release();
  EXPECT_FALSE(released);
  released.reset();
  EXPECT_TRUE(isOpen(mine));
  released.reset(mine);
  released.reset();
  EXPECT_FALSE(isOpen(mine));
}

TEST(UniqueFd, DuplicatesAboveTheStandardStreams) {
  const UniqueFd file = openNull();
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const UniqueFd saved = duplicateFd(standard);
    ::dup2(file.get(), standard);
    const UniqueFd moved = aboveStandardStreams(UniqueFd(standard));
    const bool closed = !isOpen(standard);
    const UniqueFd duplicate = duplicateFd(file.get());  // `standard` is the lowest free number
    ::dup2(saved.get(), standard);
    EXPECT_TRUE(closed);
    for (const int fd : {moved.get(), duplicate.get()}) {
      EXPECT_GT(fd, STDERR_FILENO);
      EXPECT_TRUE(::fcntl(fd, F_GETFD) & FD_CLOEXEC);
    }
  }
  UniqueFd other = duplicateFd(file.get());
  const int number = other.get();
  EXPECT_EQ(aboveStandardStreams(std::move(other)).get(), number);
  EXPECT_FALSE(duplicateFd(-1));
  EXPECT_FALSE(aboveStandardStreams(UniqueFd()));
}

}  // namespace
}  // namespace tagwriter::test
