// Converts the texts of a request to TagLib strings.
#pragma once

#include <tstring.h>

namespace tagwriter {

/// TagLib's null string. TagLib treats it differently from an empty string.
const TagLib::String& nullString();

/// `value` (UTF-8) as a TagLib string; null gives the null string.
TagLib::String toTagString(const char* value);

}  // namespace tagwriter
