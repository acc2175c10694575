// Between a{sv} on the wire and a ValueDictionary in memory.
//
//   wire          dictionary
//   s             std::string
//   ay            Data, lent by the message; under "path" a ByteString
//   x t d b       int64, uint64, double, bool
//   h             BorrowedFd, lent by the message
//   a{sv}         ValueDictionary
#pragma once

#include <systemd/sd-bus.h>

#include "protocol/value_dictionary.h"

namespace tagwriter::dbus {

/// Dictionaries nested deeper than this are skipped; the body of a message is level 1.
inline constexpr int kMaxNesting = 8;

/// Reads the a{sv} at the read position of `message` into `dictionary`. Data and descriptors stay
/// the message's, which must outlive the dictionary. Keys and types that nobody asks for are
/// skipped; of a key that comes twice the last one stands. Returns 0, or a negative errno when the
/// bytes do not decode.
int readDictionary(sd_bus_message* message, ValueDictionary& dictionary);

/// Appends `dictionary` to `message` as a{sv}. Returns 0 or a negative errno.
int appendDictionary(sd_bus_message* message, const ValueDictionary& dictionary);

}  // namespace tagwriter::dbus
