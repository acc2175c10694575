// Opens a file as the format that its name indicates, edits the tag of that format, and saves.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"
#include "tagging/writing_blocks.h"

namespace tagwriter {

/// Runs the editor of the file's tag family and saves.
/// Always closes `fd`. `path` (UTF-8, never opened, may be null) determines the format by its
/// extension and names the stream. `request` is borrowed.
/// Returns true only if an editor ran and the save succeeded. Without a writer for the type, a tag
/// to edit or an editor, returns false and does not save the file. A standard exception is logged,
/// and false is returned; other exceptions are not caught.
bool writeTagToFile(UniqueFd fd, const char* path, const VQNTagWritingBlocks& editors,
                    const Dictionary& request);

}  // namespace tagwriter
