// The library's generic file reference opens DSF files only with our resolver.
#pragma once

namespace tagwriter {

/// Registers the resolver with the tag library, once in the process; later calls do nothing.
void registerDSFFiles();

}  // namespace tagwriter
