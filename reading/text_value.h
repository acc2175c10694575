// Text from a file as a value of a reply.
#pragma once

#include <string>

#include "protocol/value_dictionary.h"

namespace tagwriter {

/// `text` as a string; or as bytes if a string on the wire cannot hold it, because it is not valid
/// UTF-8 or contains a zero byte or a noncharacter.
ValueDictionary::Value textValue(std::string text);

}  // namespace tagwriter
