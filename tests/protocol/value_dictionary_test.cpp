#include "protocol/value_dictionary.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>

#include "base/unique_fd.h"
#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr std::array<std::byte, 3> kBytes = {std::byte{1}, std::byte{0}, std::byte{3}};

ValueDictionary dictionaryOfEveryType() {
  ValueDictionary nested;
  nested.set("inner", "value");
  ValueDictionary dictionary;
  dictionary.set("string", "text");
  dictionary.set("bytestring", ByteString{"\xff.mp3"});
  dictionary.set("int64", std::int64_t{-5});
  dictionary.set("uint64", std::uint64_t{5});
  dictionary.set("double", 2.5);
  dictionary.set("bool", true);
  dictionary.set("data", ValueDictionary::Data(kBytes));
  dictionary.set("dictionary", std::move(nested));
  dictionary.set("fd", BorrowedFd{STDIN_FILENO});
  return dictionary;
}

TEST(ValueDictionary, GivesEachValueToItsOwnGetter) {
  const ValueDictionary dictionary = dictionaryOfEveryType();
  EXPECT_STREQ(dictionary.getString("string"), "text");
  EXPECT_STREQ(dictionary.getString("bytestring"), "\xff.mp3");
  EXPECT_EQ(dictionary.getInt64("int64"), -5);
  EXPECT_EQ(dictionary.getUint64("uint64"), 5u);
  EXPECT_EQ(dictionary.getDouble("double"), 2.5);
  EXPECT_TRUE(dictionary.getBool("bool"));
  ASSERT_TRUE(dictionary.getData("data"));
  EXPECT_EQ(dictionary.getData("data")->data(), kBytes.data()) << "the bytes are not copied";
  EXPECT_EQ(dictionary.getData("data")->size(), kBytes.size());
  ASSERT_NE(dictionary.getDictionary("dictionary"), nullptr);
  EXPECT_STREQ(dictionary.getDictionary("dictionary")->getString("inner"), "value");
}

TEST(ValueDictionary, AnswersAnAbsentKeyWithTheGettersOwnDefault) {
  const ValueDictionary dictionary;
  EXPECT_EQ(dictionary.getString("x"), nullptr);
  EXPECT_EQ(dictionary.getInt64("x"), 0);
  EXPECT_FALSE(dictionary.getUint64("x"));
  EXPECT_EQ(dictionary.getDouble("x"), 0.0);
  EXPECT_FALSE(dictionary.getBool("x"));
  EXPECT_FALSE(dictionary.getData("x"));
  EXPECT_EQ(dictionary.getDictionary("x"), nullptr);
  EXPECT_FALSE(dictionary.duplicateDescriptor("x"));
  EXPECT_EQ(dictionary.createTruncationConnection("x"), nullptr);
}

TEST(ValueDictionary, AnswersAnotherTypeLikeAnAbsentKey) {
  const ValueDictionary dictionary = dictionaryOfEveryType();
  for (const auto& [key, value] : dictionary.values()) {
    SCOPED_TRACE(key);
    const char* k = key.c_str();
    if (key != "string" && key != "bytestring") {
      EXPECT_EQ(dictionary.getString(k), nullptr);
    }
    if (key != "int64") {
      EXPECT_EQ(dictionary.getInt64(k), 0);
    }
    if (key != "uint64") {
      EXPECT_FALSE(dictionary.getUint64(k));
    }
    if (key != "double") {
      EXPECT_EQ(dictionary.getDouble(k), 0.0);
    }
    if (key != "bool") {
      EXPECT_FALSE(dictionary.getBool(k));
    }
    if (key != "data") {
      EXPECT_FALSE(dictionary.getData(k));
    }
    if (key != "dictionary") {
      EXPECT_EQ(dictionary.getDictionary(k), nullptr);
    }
    if (key != "fd") {
      EXPECT_FALSE(dictionary.duplicateDescriptor(k));
    }
  }
}

TEST(ValueDictionary, TellsEmptyDataFromNone) {
  ValueDictionary dictionary;
  dictionary.set("data", ValueDictionary::Data());
  ASSERT_TRUE(dictionary.getData("data"));
  EXPECT_TRUE(dictionary.getData("data")->empty());
}

TEST(ValueDictionary, ReplacesAndRemovesValues) {
  ValueDictionary dictionary;
  dictionary.set("key", "one");
  dictionary.set("key", std::int64_t{2});
  EXPECT_EQ(dictionary.getString("key"), nullptr);
  EXPECT_EQ(dictionary.getInt64("key"), 2);
  dictionary.remove("key");
  EXPECT_EQ(dictionary.getInt64("key"), 0);
}

TEST(ValueDictionary, DuplicatesADescriptorAboveTheStandardStreamsAndClosesItOnExec) {
  const TemporaryDirectory directory;
  const UniqueFd file = openFile(directory.write("file", "x"));
  ValueDictionary dictionary;
  dictionary.set("fd", BorrowedFd{file.get()});
  const UniqueFd duplicate = dictionary.duplicateDescriptor("fd");
  ASSERT_TRUE(duplicate);
  EXPECT_NE(duplicate.get(), file.get());
  EXPECT_GE(duplicate.get(), 3);
  EXPECT_TRUE(::fcntl(duplicate.get(), F_GETFD) & FD_CLOEXEC);
}

TEST(ValueDictionary, GivesNoDuplicateOfAClosedDescriptor) {
  ValueDictionary dictionary;
  dictionary.set("fd", BorrowedFd{-1});
  EXPECT_FALSE(dictionary.duplicateDescriptor("fd"));
}

TEST(ValueDictionary, LeavesTheDescriptorOpenAtItsEnd) {
  const TemporaryDirectory directory;
  const UniqueFd file = openFile(directory.write("file", "x"));
  {
    ValueDictionary dictionary;
    dictionary.set("fd", BorrowedFd{file.get()});
  }
  EXPECT_TRUE(isOpen(file.get()));
}

TEST(ValueDictionary, AsksItsConnectorForATruncationConnection) {
  int asked = -1;
  ValueDictionary dictionary([&asked](int endpoint) {
    asked = endpoint;
    return nullptr;
  });
  dictionary.set("endpoint", BorrowedFd{17});
  dictionary.set("text", "17");
  EXPECT_EQ(dictionary.createTruncationConnection("text"), nullptr);
  EXPECT_EQ(asked, -1) << "a value that is no descriptor is no endpoint";
  EXPECT_EQ(dictionary.createTruncationConnection("endpoint"), nullptr);
  EXPECT_EQ(asked, 17);
}

TEST(UniqueFd, ClosesOnceAndHandsOver) {
  const TemporaryDirectory directory;
  UniqueFd file = openFile(directory.write("file", "x"));
  const int number = file.get();
  UniqueFd moved = std::move(file);
  EXPECT_EQ(moved.get(), number);
  EXPECT_TRUE(isOpen(number));
  moved.reset();
  EXPECT_FALSE(isOpen(number));
  UniqueFd other = openFile(directory.write("other", "x"));
  const int released = other.release();
  other.reset();
  EXPECT_TRUE(isOpen(released));
  ::close(released);
}

}  // namespace
}  // namespace tagwriter::test
