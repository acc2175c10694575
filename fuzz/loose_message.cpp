#include "fuzz/loose_message.h"

#include <cstdint>
#include <cstring>

#include "fuzz/input.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/peer_connection.h"

namespace tagwriter::fuzz {
namespace {

/// A connection that never gets beyond its start: a message needs one.
sd_bus* connection() {
  static const dbus::SocketPair kSockets = dbus::makeSocketPair();
  static const dbus::BusHandle kBus = [] {
    dbus::BusHandle bus;
    promise(dbus::startJoining(duplicateFd(kSockets.ours.get()), bus) >= 0, "a connection starts");
    return bus;
  }();
  return kBus.get();
}

std::string sized(std::string_view kind, std::string_view bytes) {
  return std::string(kind) + std::to_string(bytes.size()) + ":" + std::string(bytes);
}

struct ValueText {
  std::string operator()(const std::string& text) const { return sized("s", text); }
  std::string operator()(BorrowedText text) const { return sized("s", text.text); }
  std::string operator()(const ByteString& text) const { return sized("y", text.bytes); }
  std::string operator()(std::int64_t number) const { return "x" + std::to_string(number); }
  std::string operator()(std::uint64_t number) const { return "t" + std::to_string(number); }
  std::string operator()(double number) const {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return "d" + std::to_string(bits);
  }
  std::string operator()(bool flag) const { return flag ? "b1" : "b0"; }
  std::string operator()(ValueDictionary::Data data) const {
    return sized("y", {reinterpret_cast<const char*>(data.data()), data.size()});
  }
  std::string operator()(BorrowedFd) const { return "h"; }
  std::string operator()(const std::shared_ptr<const ValueDictionary>& nested) const {
    return textOf(*nested);
  }
  std::string operator()(const std::shared_ptr<const ValueDictionary::List>& list) const {
    std::string text = "[";
    for (const ValueDictionary& item : *list) text += textOf(item);
    return text + "]";
  }
};

}  // namespace

dbus::MessageHandle newMessage() {
  sd_bus_message* message = nullptr;
  promise(sd_bus_message_new_signal(connection(), &message, "/a", "a.b", "c") >= 0,
          "a message can be made");
  return dbus::MessageHandle(message);
}

void startReading(sd_bus_message* message) {
  promise(sd_bus_message_seal(message, 1, 0) >= 0 && sd_bus_message_rewind(message, 1) >= 0,
          "a message can be read");
}

std::string textOf(const ValueDictionary& dictionary) {
  std::string text = "{";
  for (const auto& [key, value] : dictionary.values()) {
    text += sized("k", key) + std::visit(ValueText(), value);
  }
  return text + "}";
}

void checkRoundTrip(const ValueDictionary& dictionary) {
  const dbus::MessageHandle message = newMessage();
  promise(dbus::appendDictionary(message.get(), dictionary) >= 0, "what was decoded can be sent");
  startReading(message.get());
  ValueDictionary decoded;
  promise(dbus::readDictionary(message.get(), decoded) == 0, "what was encoded can be decoded");
  promise(textOf(decoded) == textOf(dictionary), "encoding and decoding change nothing");
}

}  // namespace tagwriter::fuzz
