// What happens to a request between the transport and the writers.
//
// The transport decodes a message into a Dictionary, makes the reply and echoes the path; here the
// kind of work is chosen and done on the one serial queue while the caller waits.
#pragma once

#include "protocol/dictionary.h"

namespace tagwriter {

/// Sets up the process once, at its first event of any kind; later calls do nothing. May be called
/// from several threads.
void setUpOnce();

/// Does the work that `request` asks for and returns its result. The file's descriptor is
/// duplicated and handed to the writer, which closes the duplicate. Quirk: when the request has a
/// descriptor but names no work, nothing closes it. A descriptor of something other than a regular
/// file, or one opened with O_APPEND, gives false. Exceptions of the writers pass through.
/// May be called from several threads: one file is written at a time.
bool handleRequest(const Dictionary& request);

}  // namespace tagwriter
