// The format-dispatched write: opens the file as what its name says, edits the tag that its format
// carries, saves.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"
#include "tagging/writing_blocks.h"

namespace tagwriter {

/// Runs the editor of the file's tag family and saves.
/// `fd` is closed on every path. `path` (UTF-8, never opened, may be null) picks the format by its
/// extension and names the stream. `request` is borrowed.
/// Returns true only when an editor ran and the save succeeded. A type without a writer, a file
/// without a tag to edit and a missing editor give false, and the file is not saved. A standard
/// exception is logged and gives false; others pass through.
bool writeTagToFile(UniqueFd fd, const char* path, const VQNTagWritingBlocks& editors,
                    const Dictionary& request);

}  // namespace tagwriter
