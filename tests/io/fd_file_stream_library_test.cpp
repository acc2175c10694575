// The same tags written into every test file through FDFileStream and through TagLib's own stream.
#include <fileref.h>
#include <gtest/gtest.h>
#include <tfilestream.h>
#include <tpropertymap.h>

#include <cstdio>

#include "io/fd_file_stream.h"
#include "tests/io/stream_file.h"
#include "tests/support/log_capture.h"

namespace tagwriter::test {
namespace {

using TagLib::FileRef;

/// Each step grows or shrinks the file: within one buffer, by several, and back.
void edit(FileRef& file, int step) {
  static constexpr unsigned kLengths[] = {10, 20'000, 3'000, 1, 0};
  const TagLib::String text(std::string(kLengths[step], 'x'));
  file.tag()->setTitle(text);
  file.tag()->setComment(text);
  TagLib::PropertyMap properties = file.file()->properties();
  for (int i = 0; step == 2 && i < 50; ++i) properties.insert("KEY" + std::to_string(i), text);
  file.file()->setProperties(properties);
  EXPECT_TRUE(file.save());
}

TEST(FDFileStreamLibrary, LeavesTheFilesThatTagLibsOwnStreamLeaves) {
  const LogCapture log;
  const TemporaryDirectory ours;
  const TemporaryDirectory theirs;
  int compared = 0;
  for (const std::string& name : audioFileNames()) {
    SCOPED_TRACE(name);
    const std::string ourPath = ours.copyOf(name);
    const std::string theirPath = theirs.copyOf(name);
    TagLib::FDFileStream ourStream(openFile(ourPath).release(), ourPath.c_str(), nullptr);
    TagLib::FileStream theirStream(theirPath.c_str());
    FileRef ourFile(&ourStream);
    FileRef theirFile(&theirStream);
    ASSERT_EQ(ourFile.isNull(), theirFile.isNull());
    for (int step = 0; step < 5 && !ourFile.isNull(); ++step) {
      edit(ourFile, step);
      edit(theirFile, step);
      std::fflush(nullptr);
      EXPECT_TRUE(readFile(ourPath) == readFile(theirPath)) << step;
      ++compared;
    }
  }
  EXPECT_GT(compared, 30 * 5);
  EXPECT_EQ(log.text(), "");
}

}  // namespace
}  // namespace tagwriter::test
