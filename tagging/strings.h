// TagLib's strings, from the values that arrive with a request.
#pragma once

#include <tstring.h>

namespace tagwriter {

/// TagLib's null string, which its setters and removals tell from an empty one.
const TagLib::String& nullString();

/// `value` (UTF-8) as a TagLib string; null gives the null string.
TagLib::String toTagString(const char* value);

}  // namespace tagwriter
