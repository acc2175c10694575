// Messages of D-Bus without a connection, and dictionaries as text.
#pragma once

#include <string>

#include "protocol/value_dictionary.h"
#include "transport/dbus/handles.h"

namespace tagwriter::fuzz {

/// A new message without contents.
dbus::MessageHandle newMessage();

/// Ends the writing of `message`, so that it can be read from its start.
void startReading(sd_bus_message* message);

/// The dictionary as text: the same text means the same values in the same types, as far as the
/// wire has these types. Reads every byte. A descriptor is only counted.
std::string textOf(const ValueDictionary& dictionary);

/// Encodes the dictionary, decodes it, and breaks a promise if it has changed.
void checkRoundTrip(const ValueDictionary& dictionary);

}  // namespace tagwriter::fuzz
