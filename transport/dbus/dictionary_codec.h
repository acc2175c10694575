// Converts between a{sv} on the wire and a ValueDictionary in memory.
//
//   wire          dictionary
//   s             std::string
//   ay            Data, borrowed from the message; ByteString under the key "path"
//   y n q i u x   int64
//   t             uint64, which getInt64 reads too
//   d b           double, bool
//   h             BorrowedFd, borrowed from the message
//   a{sv}         ValueDictionary
//   aa{sv}        ValueDictionary::List
#pragma once

#include <systemd/sd-bus.h>

#include "protocol/value_dictionary.h"

namespace tagwriter::dbus {

/// Dictionaries nested deeper than this are skipped; the body of a message is level 1. Those in a
/// list are one level below the list.
inline constexpr int kMaxNesting = 8;

/// Reads the a{sv} at the read position of `message` into `dictionary`. Texts, data and descriptors
/// still belong to the message, which must outlive the dictionary. Values of other types are
/// skipped; the last value of a duplicate key wins, even if its type makes it skipped. Returns 0,
/// or a negative errno when the message is malformed.
int readDictionary(sd_bus_message* message, ValueDictionary& dictionary);

/// Appends `dictionary` to `message` as a{sv}. Returns 0 or a negative errno: -EINVAL when a text
/// is not valid UTF-8 or contains a zero byte. Descriptors are duplicated into the message.
int appendDictionary(sd_bus_message* message, const ValueDictionary& dictionary);

}  // namespace tagwriter::dbus
