// Dispatches requests to the writers.
//
// The transport decodes a message into a Dictionary and later sends the reply. In between, this
// code finds out which change the request asks for, and makes it on the serial queue while the
// caller waits.
#pragma once

#include "protocol/dictionary.h"

namespace tagwriter {

/// Initializes the process: creates the queue and registers the DSF file type. Only the first call
/// has an effect. Thread-safe.
void setUpOnce();

/// Makes the change that `request` asks for and returns the writer's result. Duplicates the file's
/// descriptor; the writer closes the duplicate. Quirk: if the request asks for no change (it has
/// neither artwork to write or clear nor a track), the duplicate stays open. Returns false if the
/// descriptor is not a regular file or was opened with O_APPEND. Does not catch the writers'
/// exceptions. Thread-safe: one file is written at a time.
bool handleRequest(const Dictionary& request);

}  // namespace tagwriter
