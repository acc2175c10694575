// A descriptor on its way to a writer, which has to close it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

/// Opens a file for a call that takes the descriptor over. At the end of its life, by return or by
/// exception, the descriptor has to be closed and no other one left behind.
class HandedOver {
 public:
  explicit HandedOver(const std::string& path, int flags = O_RDWR)
      : before_(countDescriptors()), fd_(openFile(path, flags).release()) {}
  ~HandedOver() {
    EXPECT_FALSE(isOpen(fd_)) << "the descriptor was not closed";
    EXPECT_EQ(countDescriptors(), before_);
  }
  HandedOver(const HandedOver&) = delete;
  HandedOver& operator=(const HandedOver&) = delete;

  UniqueFd fd() const { return UniqueFd(fd_); }

 private:
  std::size_t before_;
  int fd_;
};

}  // namespace tagwriter::test
