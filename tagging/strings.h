// The tag library's strings, from the values that arrive with a request.
#pragma once

#include <tstring.h>

namespace tagwriter {

/// The library's null string, which its setters and removals tell from an empty one.
const TagLib::String& nullString();

/// `value` (UTF-8) as a string of the library; null gives the null string.
TagLib::String toTagString(const char* value);

}  // namespace tagwriter
