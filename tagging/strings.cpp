#include "tagging/strings.h"

namespace tagwriter {

TagLib::String toTagString(const char* value) {
  return value ? TagLib::String(value, TagLib::String::UTF8) : TagLib::String();
}

}  // namespace tagwriter
