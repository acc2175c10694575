// For systems before OS X 10.11 (Core Foundation 1253), which have no getter for it.
#include "transport/xpc/nested_dictionary.h"

namespace tagwriter::xpc {

xpc_object_t nestedDictionary(xpc_object_t dictionary, const char* key) {
  const xpc_object_t value = xpc_dictionary_get_value(dictionary, key);
  return value && xpc_get_type(value) == XPC_TYPE_DICTIONARY ? value : nullptr;
}

}  // namespace tagwriter::xpc
