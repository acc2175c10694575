// Answers requests to read.
#pragma once

#include "protocol/value_dictionary.h"

namespace tagwriter {

/// Reads the file that `request` carries and returns the reply; docs/WIRE.md lists the keys of
/// both. The reply is always small enough for a message: what is too large is left out. Without a
/// regular file that is open for reading, nothing is read, and the reply says that it is no audio.
ValueDictionary handleReadRequest(const ValueDictionary& request);

}  // namespace tagwriter
