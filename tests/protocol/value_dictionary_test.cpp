#include "protocol/value_dictionary.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/descriptors.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr std::array<std::byte, 3> kBytes = {std::byte{1}, std::byte{0}, std::byte{3}};

/// What every getter answers for `key`, without those that answer as for an absent one.
std::string answers(const ValueDictionary& dictionary, const char* key) {
  std::string text;
  const char* string = dictionary.getString(key);
  if (string) text += "string " + std::string(string);
  if (const auto value = dictionary.getInt64(key)) text += "int64 " + std::to_string(value);
  if (const auto value = dictionary.getUint64(key)) text += "uint64 " + std::to_string(*value);
  if (const auto value = dictionary.getDouble(key)) text += "double " + std::to_string(value);
  if (dictionary.getBool(key)) text += "bool";
  if (const auto data = dictionary.getData(key)) text += "data " + std::to_string(data->size());
  if (const Dictionary* value = dictionary.getDictionary(key)) {
    text += std::string("dictionary with ") + value->getString("inner");
  }
  if (dictionary.duplicateDescriptor(key)) text += "fd";
  EXPECT_EQ(dictionary.createTruncationConnection(key), nullptr) << "there is no connector";
  return text;
}

TEST(ValueDictionary, GivesEachValueToItsGetters) {
  ValueDictionary nested;
  nested.set("inner", "value");
  const std::pair<ValueDictionary::Value, std::string> values[] = {
      {std::string("text"), "string text"},
      {BorrowedText{"borrowed"}, "string borrowed"},
      {ByteString{"\xff.mp3"}, "string \xff.mp3"},
      {std::int64_t{-5}, "int64 -5double -5.000000"},
      {std::uint64_t{5}, "int64 5uint64 5double 5.000000"},
      {std::uint64_t{1} << 63, "uint64 9223372036854775808double 9223372036854775808.000000"},
      {2.5, "double 2.500000"},
      {true, "bool"},
      {ValueDictionary::Data(kBytes), "data 3"},
      {ValueDictionary::Data(), "data 0"},
      {std::make_shared<const ValueDictionary>(nested), "dictionary with value"},
      {BorrowedFd{0}, "fd"},
      {BorrowedFd{-1}, ""},
  };
  ValueDictionary dictionary;
  EXPECT_EQ(answers(dictionary, "key"), "");
  for (const auto& [value, expected] : values) {
    dictionary.set("key", value);  // in place of the one before
    EXPECT_EQ(answers(dictionary, "key"), expected);
  }
  dictionary.set("key", nested);
  EXPECT_EQ(answers(dictionary, "key"), "dictionary with value");
  dictionary.remove("key");
  EXPECT_EQ(answers(dictionary, "key"), "");
}

TEST(ValueDictionary, BorrowsDataAndDescriptors) {
  const UniqueFd file = openFile("/dev/null");
  {
    ValueDictionary dictionary;
    dictionary.set("data", ValueDictionary::Data(kBytes));
    EXPECT_EQ(dictionary.getData("data")->data(), kBytes.data()) << "not copied";
    dictionary.set("fd", BorrowedFd{file.get()});
    EXPECT_NE(dictionary.duplicateDescriptor("fd").get(), file.get());
  }
  EXPECT_TRUE(isOpen(file.get()));
}

TEST(ValueDictionary, AsksItsConnectorForATruncationConnection) {
  std::vector<int> asked;
  ValueDictionary dictionary([&asked](int endpoint) {
    asked.push_back(endpoint);
    return nullptr;
  });
  dictionary.set("endpoint", BorrowedFd{17});
  dictionary.set("text", "17");
  for (const char* key : {"text", "absent", "endpoint"}) {
    EXPECT_EQ(dictionary.createTruncationConnection(key), nullptr);
  }
  EXPECT_EQ(asked, std::vector<int>{17}) << "a value of another type is no endpoint";
}

}  // namespace
}  // namespace tagwriter::test
