#include "reading/dsf_registration.h"

#include <fileref.h>

#include "dsf/dsf_file_type_resolver.h"

namespace tagwriter {

void registerDSFFiles() {
  static const auto* const kRegistered =
      TagLib::FileRef::addFileTypeResolver(new TagLib::DSFFileTypeResolver);
  (void)kRegistered;
}

}  // namespace tagwriter
