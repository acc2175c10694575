// Finds a dictionary in a dictionary. The build chooses the implementation for the oldest system
// that the service has to run on.
#pragma once

#include <xpc/xpc.h>

namespace tagwriter::xpc {

/// The dictionary under `key`, borrowed from `dictionary`; null if the value is missing or has
/// another type.
xpc_object_t nestedDictionary(xpc_object_t dictionary, const char* key);

}  // namespace tagwriter::xpc
