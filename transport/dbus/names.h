// The names on the wire. They are stable: players in other languages depend on them.
#pragma once

namespace tagwriter::dbus {

/// Write(a{sv} request) -> (a{sv} reply), served by the service.
inline constexpr char kWriteInterface[] = "org.tagwriter.TagWriter1";
inline constexpr char kWriteObject[] = "/org/tagwriter/TagWriter";
inline constexpr char kWriteMethod[] = "Write";

/// Read(a{sv} request) -> (a{sv} reply), served by the reader.
inline constexpr char kReadInterface[] = "org.tagwriter.TagReader1";
inline constexpr char kReadObject[] = "/org/tagwriter/TagReader";
inline constexpr char kReadMethod[] = "Read";

/// Truncate(a{sv} {"fd": h, "truncatesize": t}) -> (a{sv} ignored), served by the player.
inline constexpr char kTruncationInterface[] = "org.tagwriter.Truncation1";
inline constexpr char kTruncationObject[] = "/org/tagwriter/Truncation";
inline constexpr char kTruncateMethod[] = "Truncate";

/// The type of all requests and replies.
inline constexpr char kDictionarySignature[] = "a{sv}";
/// The type of a list in them.
inline constexpr char kListSignature[] = "aa{sv}";

/// The well-known name of the front on the session bus.
inline constexpr char kBusName[] = "org.tagwriter.TagWriter";

}  // namespace tagwriter::dbus
