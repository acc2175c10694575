// What the tests of the client library share: a directory and a writer.
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

/// Whether `outcome` has this status.
testing::AssertionResult isStatus(Status expected, const Outcome& outcome);
#define EXPECT_STATUS(status, outcome) EXPECT_TRUE(isStatus(status, outcome))
#define ASSERT_STATUS(status, outcome) ASSERT_TRUE(isStatus(status, outcome))

class ClientTest : public testing::Test {
 protected:
  /// Writes a shell script that can be used as a worker; $WORKER is the real one. Returns its path.
  std::string script(const std::string& name, const std::string& text) const;

  /// The title as readField returns it, or "-". Leaves no reader behind.
  static std::string titleOf(const AudioFile& file);

  TemporaryDirectory directory_;
  TagWriter writer_{TAGWRITER_WORKER};
  TagReader reader_;
};

/// The path of `name` in the directory.
std::string in(const TemporaryDirectory& directory, const std::string& name);

/// The child processes of this one.
std::set<pid_t> children();

/// Kills a child and waits until it is dead, but does not reap it.
void killChild(pid_t pid);

/// A copy of the worker, with the reader beside it, that `unprivileged` can start: the build may be
/// in a private directory.
std::string workerForEveryone();

/// Runs `work` in a child process without privileges, which can enter `directory`, and returns the
/// result, 0 to 100.
int unprivileged(const TemporaryDirectory& directory, const std::function<int()>& work);

/// Runs `work` while descriptors 0 to 2 are closed.
void withoutStandardStreams(const std::function<void()>& work);

/// The bytes of tests/data/`name`.
std::vector<std::byte> imageBytes(const std::string& name);

}  // namespace tagwriter::test
