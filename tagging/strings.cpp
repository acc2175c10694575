#include "tagging/strings.h"

namespace tagwriter {

const TagLib::String& nullString() {
// Deprecated in favour of String(), but TagLib's removals still compare with this object and treat
// an empty string differently.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  return TagLib::String::null;
#pragma GCC diagnostic pop
}

TagLib::String toTagString(const char* value) {
  return value ? TagLib::String(value, TagLib::String::UTF8) : nullString();
}

}  // namespace tagwriter
