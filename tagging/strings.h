// Converts the texts of a request to TagLib strings.
#pragma once

#include <tstring.h>

namespace tagwriter {

/// `value` (UTF-8) as a TagLib string; null gives an empty one.
TagLib::String toTagString(const char* value);

}  // namespace tagwriter
