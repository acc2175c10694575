// The path is a name and nothing else: what is written is the descriptor's file.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>

#include "dsf/dsf_file_type_resolver.h"
#include "protocol/value_dictionary.h"
#include "tagging/tag_write.h"
#include "tests/formats/core_file.h"
#include "tests/formats/core_writers.h"
#include "tests/formats/handed_over.h"
#include "tests/formats/written_files.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

/// Watches a file.
class Watch {
 public:
  explicit Watch(const std::string& path) : events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    EXPECT_GE(::inotify_add_watch(events_.get(), path.c_str(), IN_ALL_EVENTS), 0) << path;
  }
  /// Whether anybody has opened, read, changed, moved or deleted it.
  bool sawAnything() const {
    alignas(inotify_event) char buffer[4096];
    const ssize_t count = ::read(events_.get(), buffer, sizeof buffer);
    EXPECT_TRUE(count > 0 || errno == EAGAIN);
    return count > 0;
  }

 private:
  UniqueFd events_;
};

class PathTest : public testing::Test {
 protected:
  PathTest() { TagLib::registerDSFFileTypeResolver(); }

  /// Lets `write` change a copy of tests/data/`name` three times: under its own path, under that of
  /// another file of the same content, and under one that leads nowhere. The copy has to be the
  /// same afterwards, and the other file untouched.
  template <typename Write>
  void check(const std::string& data, const std::string& name, Write write) {
    SCOPED_TRACE(data + " as " + name);
    const std::string original = readFile(dataFile(data));
    const std::string ownPath = directory_.copyOf(data, name);
    EXPECT_TRUE(writeInto(ownPath, ownPath, write));
    const std::string expected = readFile(ownPath);
    EXPECT_NE(expected, original);

    const std::string real = directory_.copyOf(data, "the file");
    const std::string other = directory_.copyOf(data, name);
    const Watch watch(other);
    EXPECT_TRUE(writeInto(real, other, write));
    EXPECT_FALSE(watch.sawAnything());
    EXPECT_EQ(readFile(other), original);
    EXPECT_EQ(readFile(real), expected);

    directory_.copyOf(data, "the file");
    EXPECT_TRUE(writeInto(real, "/no such directory/" + name, write));
    EXPECT_EQ(readFile(real), expected);
    EXPECT_FALSE(std::filesystem::exists("/no such directory"));
  }

 private:
  template <typename Write>
  bool writeInto(const std::string& path, const std::string& name, Write write) {
    const HandedOver file(path);
    return write(file.fd(), name.c_str());
  }

  TemporaryDirectory directory_;
};

TEST_F(PathTest, IsNeverOpenedByTheFormatDispatchedWrite) {
  for (const WrittenFile& file : writtenFiles()) {
    check(file.data, file.name, [](UniqueFd fd, const char* path) {
      const RecordingEditors editors;
      return writeTagToFile(std::move(fd), path, editors.blocks, ValueDictionary());
    });
  }
}

TEST_F(PathTest, IsNeverOpenedByACoreField) {
  for (const WrittenFile& file : writtenFiles()) {
    check(file.data, file.name, [](UniqueFd fd, const char* path) {
      return writeTitle(std::move(fd), path, "New", ValueDictionary());
    });
  }
}

TEST_F(PathTest, IsNeverOpenedByTheYear) {
  for (const char* name : {"dsf_plain.dsf", "dsf_tagged.dsf", "mp3_plain.mp3"}) {
    check(name, name, [](UniqueFd fd, const char* path) {
      return writeYear(std::move(fd), path, 2024, ValueDictionary());
    });
  }
}

TEST(Watch, SeesAFileBeingOpened) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("a.dsf", "bytes");
  const Watch watch(path);
  EXPECT_FALSE(watch.sawAnything());
  readFile(path);
  EXPECT_TRUE(watch.sawAnything());
}

}  // namespace
}  // namespace tagwriter::test
