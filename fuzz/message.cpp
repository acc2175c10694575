// The decoder of requests, in two ways. The last byte of the input chooses.
//
// - A message that is made from the input: any types, nested in any way. What should be decoded is
//   made along with it.
// - Bytes on the socket of a server, either as they are, or as the entries of a dictionary in a
//   call whose header is right. Before the last byte: how many descriptors come with them.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>

#include "fuzz/loose_message.h"
#include "fuzz/memory_file.h"
#include "fuzz/message_builder.h"
#include "fuzz/target.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"
#include "transport/dbus/peer_connection.h"
#include "transport/dbus/peer_server.h"
#include "transport/dbus/read_server.h"
#include "transport/dbus/write_server.h"

namespace tagwriter::fuzz {
namespace {

constexpr std::string_view kHandshake{"\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n",
                                      48};
static_assert(kHandshake.ends_with("BEGIN\r\n"));
constexpr std::size_t kMaxDescriptors = 3;
constexpr std::size_t kMaxSent = 64 << 10;  // so that a socket takes it without a reader

void decodeBuilt(Input input) {
  const dbus::MessageHandle message = newMessage();
  const std::string expected = buildDictionary(message.get(), input);
  startReading(message.get());
  ValueDictionary decoded;
  promise(dbus::readDictionary(message.get(), decoded) == 0, "a well-formed message is decoded");
  promise(textOf(decoded) == expected, "the values of a message are decoded");
  checkRoundTrip(decoded);
}

void send(int socket, std::string_view bytes, std::size_t descriptors) {
  iovec part = {const_cast<char*>(bytes.data()), bytes.size()};
  std::array<char, CMSG_SPACE(kMaxDescriptors * sizeof(int))> control{};
  msghdr header{};
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  if (descriptors > 0) {
    header.msg_control = control.data();
    header.msg_controllen = CMSG_SPACE(descriptors * sizeof(int));
    cmsghdr* rights = CMSG_FIRSTHDR(&header);
    *rights = {CMSG_LEN(descriptors * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
    const int fds[kMaxDescriptors] = {STDERR_FILENO, STDERR_FILENO, STDERR_FILENO};
    std::memcpy(CMSG_DATA(rights), fds, descriptors * sizeof(int));
  }
  promise(::sendmsg(socket, &header, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()),
          "a socket takes the bytes");
}

/// How many replies, of any kind, are in the socket.
std::size_t countReplies(int socket) {
  std::string bytes;
  std::array<char, 4096> block{};
  for (ssize_t n; (n = ::recv(socket, block.data(), block.size(), MSG_DONTWAIT)) > 0;) {
    bytes.append(block.data(), static_cast<std::size_t>(n));
  }
  constexpr std::string_view kLastLine = "AGREE_UNIX_FD\r\n";
  const std::size_t lines = bytes.find(kLastLine);
  if (lines == std::string::npos) return 0;
  std::size_t count = 0;
  for (std::size_t at = lines + kLastLine.size(); at + 16 <= bytes.size(); ++count) {
    std::uint32_t body = 0;
    std::uint32_t fields = 0;
    std::memcpy(&body, &bytes[at + 4], sizeof body);
    std::memcpy(&fields, &bytes[at + 12], sizeof fields);
    at += 16 + (fields + 7) / 8 * 8 + body;
  }
  return count;
}

void serve(std::string_view bytes, std::size_t descriptors, bool isReader) {
  dbus::SocketPair sockets = dbus::makeSocketPair();
  send(sockets.ours.get(), kHandshake, 0);
  if (!bytes.empty()) send(sockets.ours.get(), bytes, descriptors);
  ::shutdown(sockets.ours.get(), SHUT_WR);
  std::size_t handled = 0;
  const auto echo = [&handled](const ValueDictionary& request) {
    ++handled;
    checkRoundTrip(request);
    return request;
  };
  const auto answer = [&handled](const Dictionary& request) {
    ++handled;
    const std::string text = textOf(static_cast<const ValueDictionary&>(request));
    return Answer{text.size() % 2 == 0, text.size() % 3 == 0};
  };
  isReader ? dbus::serveReads(std::move(sockets.theirs), echo)
           : dbus::serveWrites(std::move(sockets.theirs), answer);
  promise(countReplies(sockets.ours.get()) >= handled, "every request that is handled is answered");
}

}  // namespace

void setUp() {
  // The connection of all messages stays open.
  newMessage();
  dbus::prepareToServe();
}

void run(Input input) {
  const DescriptorCheck descriptors;
  const unsigned way = input.byte();
  if (way % 4 == 0) return decodeBuilt(input);
  const bool isReader = way & 4;
  const std::size_t count = input.byte() % (kMaxDescriptors + 1);
  const std::string bytes =
      way % 4 == 1 ? std::string(input.rest()) : callWith(input.rest(), isReader, count);
  if (bytes.size() <= kMaxSent) serve(bytes, count, isReader);
}

}  // namespace tagwriter::fuzz
