// Which texts are strings on the wire: those that sd-bus takes as such.
#include "reading/text_value.h"

#include <gtest/gtest.h>

#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/handles.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::test {
namespace {

/// A message that can be filled.
dbus::MessageHandle newMessage() {
  sd_bus* bus = nullptr;
  sd_bus_message* message = nullptr;
  EXPECT_GE(sd_bus_new(&bus), 0);
  dbus::SocketPair sockets = dbus::makeSocketPair();
  const int socket = sockets.ours.release();  // the connection closes it
  EXPECT_GE(sd_bus_set_fd(bus, socket, socket), 0);
  EXPECT_GE(sd_bus_start(bus), 0);
  EXPECT_GE(sd_bus_message_new(bus, &message, SD_BUS_MESSAGE_METHOD_CALL), 0);
  sd_bus_unref(bus);
  return dbus::MessageHandle(message);
}

bool isTaken(const ValueDictionary::Value& value) {
  ValueDictionary dictionary;
  dictionary.set("key", value);
  return dbus::appendDictionary(newMessage().get(), dictionary) >= 0;
}

TEST(TextValue, IsAStringIfTheMessageTakesIt) {
  using namespace std::string_literals;
  std::vector<std::string> texts = {"", "text", "a\0b"s, "\xc3", "\xc3\xc3", "\xff", "\x80"};
  // The first and the last character of each length, and those around the exceptions, encoded in
  // every length, of which only the shortest is valid.
  for (const unsigned character :
       {0U,       1U,       0x7fU,     0x80U,     0x7ffU,    0x800U,    0xd7ffU,  0xd800U, 0xdfffU,
        0xe000U,  0xfdcfU,  0xfdd0U,   0xfdefU,   0xfdf0U,   0xfffdU,   0xfffeU,  0xffffU, 0x10000U,
        0x1fffdU, 0x1fffeU, 0x10fffdU, 0x10fffeU, 0x10ffffU, 0x110000U, 0x1fffffU}) {
    const auto next = [character](int shift) {
      return static_cast<char>(0x80 | (character >> shift & 0x3f));
    };
    const auto first = [character](int mark, int shift) {
      return static_cast<char>(mark | character >> shift);
    };
    if (character < 0x80) texts.push_back({first(0, 0)});
    if (character < 0x800) texts.push_back({first(0xc0, 6), next(0)});
    if (character < 0x10000) texts.push_back({first(0xe0, 12), next(6), next(0)});
    texts.push_back({first(0xf0, 18), next(12), next(6), next(0), 'x'});
    texts.push_back({first(0xf0, 18), next(12), next(6)});
  }
  int strings = 0;
  for (const std::string& text : texts) {
    const ValueDictionary::Value value = textValue(text);
    EXPECT_TRUE(isTaken(value));
    const bool isString = std::holds_alternative<std::string>(value);
    EXPECT_EQ(isString, isTaken(text)) << testing::PrintToString(text);
    strings += isString;
    if (!isString) {
      EXPECT_EQ(std::get<ByteString>(value).bytes, text);
    }
  }
  EXPECT_GT(strings, 10);
}

}  // namespace
}  // namespace tagwriter::test
