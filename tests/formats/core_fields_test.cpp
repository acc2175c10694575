// Title, artist, album, genre and year in every format.
#include "tests/formats/core_writers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "dsf/dsf_file_type_resolver.h"
#include "protocol/value_dictionary.h"
#include "tests/formats/core_file.h"
#include "tests/formats/handed_over.h"
#include "tests/formats/throwing_request.h"
#include "tests/formats/written_files.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr char kValue[] = "Straße nach Ōsaka 🎵 / 大阪";

/// The files that the tag library cannot read.
const std::vector<std::string> kUnreadable = {"ac3.ac3", "au.au", "vgm.vgm"};

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// All files of tests/data but the unreadable ones and those that have no place for a tag.
std::vector<std::string> takenFiles() {
  std::vector<std::string> names = audioFileNames();
  const auto left = std::erase_if(names, [](const std::string& name) {
    return contains(kUnreadable, name) || contains(placelessFiles(), name);
  });
  EXPECT_EQ(left, kUnreadable.size() + placelessFiles().size());
  return names;
}

class CoreFieldsTest : public testing::Test {
 protected:
  CoreFieldsTest() { TagLib::registerDSFFileTypeResolver(); }

  bool write(const StringField& field, const std::string& path, const char* value,
             int flags = O_RDWR) {
    const HandedOver file(path, flags);
    return field.write(file.fd(), path.c_str(), value, request_);
  }
  bool writeTheYear(const std::string& path, std::int64_t year, int flags = O_RDWR) {
    const HandedOver file(path, flags);
    return writeYear(file.fd(), path.c_str(), year, request_);
  }

  TemporaryDirectory directory_;
  LogCapture log_;
  ValueDictionary request_;
};

TEST_F(CoreFieldsTest, WritesOneFieldAndNoOther) {
  for (const std::string& name : takenFiles()) {
    for (const StringField& field : kStringFields) {
      SCOPED_TRACE(name + ", " + field.name);
      const std::string path = directory_.copyOf(name);
      CoreFields expected = coreFieldsOf(path);
      expected.*field.member = kValue;
      EXPECT_TRUE(write(field, path, kValue));
      EXPECT_EQ(coreFieldsOf(path), expected);
      EXPECT_EQ(log_.text(), "");
    }
  }
}

TEST_F(CoreFieldsTest, ClearsAFieldWithoutAValue) {
  for (const std::string& name : takenFiles()) {
    for (const StringField& field : kStringFields) {
      for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
        SCOPED_TRACE(name + ", " + field.name + (nothing ? ", empty" : ", null"));
        const std::string path = directory_.copyOf(name);
        CoreFields expected = coreFieldsOf(path);
        EXPECT_TRUE(write(field, path, kValue));
        EXPECT_NE(coreFieldsOf(path).*field.member, "");
        EXPECT_TRUE(write(field, path, nothing));
        expected.*field.member = "";
        EXPECT_EQ(coreFieldsOf(path), expected);
      }
    }
  }
}

TEST_F(CoreFieldsTest, WritesTheLow32BitsOfTheYear) {
  for (const std::string& name : takenFiles()) {
    for (const auto& [year, stored] : {std::pair{std::int64_t{2024}, 2024u},
                                       {std::int64_t{-1}, 4294967295u},
                                       {(std::int64_t{1} << 32) + 5, 5u},
                                       {std::int64_t{1} << 32, 0u},
                                       {INT64_MIN, 0u}}) {
      SCOPED_TRACE(name + ", " + std::to_string(year));
      const std::string path = directory_.copyOf(name);
      CoreFields expected = coreFieldsOf(path);
      expected.year = stored;
      EXPECT_TRUE(writeTheYear(path, year));
      EXPECT_EQ(coreFieldsOf(path), expected);
    }
  }
}

TEST_F(CoreFieldsTest, ClearsTheYearWithZero) {
  for (const std::string& name : takenFiles()) {
    SCOPED_TRACE(name);
    const std::string path = directory_.copyOf(name);
    EXPECT_TRUE(writeTheYear(path, 1999));
    EXPECT_EQ(coreFieldsOf(path).year, 1999u);
    EXPECT_TRUE(writeTheYear(path, 0));
    EXPECT_EQ(coreFieldsOf(path).year, 0u);
  }
}

TEST_F(CoreFieldsTest, LogsAFileThatTheLibraryCannotReadAndLeavesIt) {
  for (const std::string& name : kUnreadable) {
    const std::string path = directory_.copyOf(name);
    const std::string rest = " tag to file. TagLib could not read the file at " + path + "\n";
    for (const StringField& field : kStringFields) {
      const LogCapture log;
      EXPECT_FALSE(write(field, path, kValue));
      EXPECT_EQ(log.text(), std::string("Failed to write ") + field.name + rest);
    }
    const LogCapture log;
    EXPECT_FALSE(writeTheYear(path, 2024));
    EXPECT_EQ(log.text(), "Failed to write year" + rest);
    EXPECT_EQ(readFile(path), readFile(dataFile(name)));
  }
}

TEST_F(CoreFieldsTest, HasNoPlaceForATagInADsfFileWhosePointerLeadsNowhere) {
  for (const std::string& name : placelessFiles()) {
    const std::string path = directory_.copyOf(name);
    for (const StringField& field : kStringFields) EXPECT_TRUE(write(field, path, kValue));
    EXPECT_TRUE(writeTheYear(path, 2024));
    EXPECT_EQ(readFile(path), readFile(dataFile(name)));
  }
}

TEST_F(CoreFieldsTest, CannotSaveThroughADescriptorForReadingOnly) {
  for (const std::string& name : takenFiles()) {
    SCOPED_TRACE(name);
    const std::string path = directory_.copyOf(name);
    for (const StringField& field : kStringFields) {
      EXPECT_FALSE(write(field, path, kValue, O_RDONLY)) << field.name;
    }
    EXPECT_FALSE(writeTheYear(path, 2024, O_RDONLY));
    EXPECT_EQ(readFile(path), readFile(dataFile(name)));
  }
}

TEST_F(CoreFieldsTest, CannotReadThroughADescriptorThatIsNotOpen) {
  const std::size_t before = countDescriptors();
  EXPECT_FALSE(writeTitle(UniqueFd(), "a.mp3", kValue, request_));
  EXPECT_TRUE(log_.text().starts_with("Could not open file a.mp3")) << log_.text();
  EXPECT_TRUE(log_.text().ends_with(
      "Failed to write title tag to file. TagLib could not read the file at a.mp3\n"))
      << log_.text();
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(CoreFieldsTest, LetsExceptionsPassAndClosesTheDescriptor) {
  const ThrowingRequest request;
  const std::string path = directory_.copyOf("vorbis_tagged.ogg");
  const auto writeWith = [&](auto writer, auto value) {
    directory_.copyOf("vorbis_tagged.ogg");
    const HandedOver file(path);
    writer(file.fd(), path.c_str(), value, request);
  };
  for (const StringField& field : kStringFields) {
    EXPECT_THROW(writeWith(field.write, nullptr), std::runtime_error) << field.name;
  }
  EXPECT_THROW(writeWith(writeYear, 0), std::runtime_error);
  EXPECT_EQ(log_.text(), "");
}

}  // namespace
}  // namespace tagwriter::test
