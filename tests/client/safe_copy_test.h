// What the tests of safe mode's copy share.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/safe_copy.h"
#include "tests/client/client_test.h"
#include "tests/client/file_state.h"
#include "tests/client/system_calls.h"

namespace tagwriter::test {

using Names = std::vector<std::string>;
inline constexpr uid_t kSomebody = 12345;

/// A call that fails with this error for the life of the object.
class Failing : public Interception {
 public:
  Failing(Call call, int error) : Interception(call, [error] { return error; }) {}
};

class SafeCopyTest : public testing::Test {
 protected:
  SafeCopyTest() {
    (void)setAttribute(path_, "user.tagwriter", "kept");
    before_ = stateOf(path_);
  }

  std::string contentOf(const SafeCopy& copy) {
    return bytesOf("/proc/self/fd/" + std::to_string(copy.fd()));
  }
  /// What the system may do to the copy when it is written to.
  void loseAttributes(const SafeCopy& copy) {
    ASSERT_EQ(::fchmod(copy.fd(), 0755), 0);
    if (before_.attributes.empty()) return;
    ASSERT_EQ(::fremovexattr(copy.fd(), "user.tagwriter"), 0);
  }
  void expectAlone() { EXPECT_EQ(namesIn(directory_.path()), Names{"file.mp3"}); }

  /// Somebody else where that is possible.
  static uid_t owner() { return ::geteuid() == 0 ? kSomebody : ::geteuid(); }

  static const std::string& content() {
    static const std::string content = [] {
      std::string numbers;
      for (int i = 0; numbers.size() < 2'500'000; ++i) numbers += std::to_string(i);
      return numbers;
    }();
    return content;
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.write("file.mp3", content());
  UniqueFd file_ = openFile(path_);
  FileState before_;
};

}  // namespace tagwriter::test
