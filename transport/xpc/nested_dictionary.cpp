// For OS X 10.11 or later (Core Foundation 1253), which has a getter for it.
#include "transport/xpc/nested_dictionary.h"

namespace tagwriter::xpc {

xpc_object_t nestedDictionary(xpc_object_t dictionary, const char* key) {
  return xpc_dictionary_get_dictionary(dictionary, key);
}

}  // namespace tagwriter::xpc
