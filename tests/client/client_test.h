// What the tests of the client library share: a directory and a writer with a worker of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "client/tag_writer.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

/// Whether `outcome` has this status; says what it has instead.
testing::AssertionResult isStatus(Status expected, const Outcome& outcome);
#define EXPECT_STATUS(status, outcome) EXPECT_TRUE(isStatus(status, outcome))
#define ASSERT_STATUS(status, outcome) ASSERT_TRUE(isStatus(status, outcome))

class ClientTest : public testing::Test {
 protected:
  /// Makes a program in the directory that runs this shell text with the worker's arguments;
  /// $WORKER is the real worker. Returns its path.
  std::string script(const std::string& name, const std::string& text) const;

  /// What readField says, as a string that is not in the file ("-") when it says nothing.
  static std::string titleOf(const AudioFile& file);

  TemporaryDirectory directory_;
  TagWriter writer_{TAGWRITER_WORKER};
};

/// The path of `name` in the directory.
std::string in(const TemporaryDirectory& directory, const std::string& name);

/// The processes that this one has started and not waited for.
std::set<pid_t> children();

/// Kills a child and waits until it is dead; the library still finds it to be waited for.
void killChild(pid_t pid);

/// Runs `work` in a child process that has no privileges and returns what it returned, 0 to 100.
/// The directory of the test is opened to it.
int unprivileged(const TemporaryDirectory& directory, const std::function<int()>& work);

/// The bytes of tests/data/`name`.
std::vector<std::byte> imageBytes(const std::string& name);

}  // namespace tagwriter::test
