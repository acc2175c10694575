// Makes messages from the input.
#pragma once

#include <systemd/sd-bus.h>

#include <string>
#include <string_view>

#include "fuzz/input.h"

namespace tagwriter::fuzz {

/// Appends an a{sv} to `message` with keys and values from `input`. Returns the text (textOf) of
/// what it decodes to.
std::string buildDictionary(sd_bus_message* message, Input& input);

/// The bytes of a call to Write or Read whose a{sv} has these bytes as its entries, and that says
/// that it has so many descriptors.
std::string callWith(std::string_view entries, bool isReader, std::size_t descriptors);

}  // namespace tagwriter::fuzz
