// What can be known to go wrong before a request is sent.
#pragma once

#include "base/unique_fd.h"
#include "client/tag_writer.h"
#include "protocol/value_dictionary.h"

namespace tagwriter {

/// Opens `file` for reading and writing, or duplicates the caller's descriptor, and checks that it
/// can be edited. On success `fd` is the new owner of the descriptor; otherwise the outcome says
/// what is wrong with the file.
Outcome openForEdit(const AudioFile& file, UniqueFd& fd);

/// Whether `request` can be sent for the file behind `fd` (lent) called `path`. It must stay below
/// 64 MiB on the wire (D-Bus specification, maximum length of an array), or a caller on the session
/// bus would lose its connection; a WAV or AIFF file must not outgrow its 32-bit sizes (RIFF and
/// AIFF chunk headers); and a picture that is not to be replaced must not be there, whatever the
/// service makes of it in the file's format.
Outcome checkRequest(int fd, const std::string& path, const ValueDictionary& request);

/// An upper bound for the bytes of `request` on the wire.
std::uint64_t wireSizeOf(const ValueDictionary& request);

}  // namespace tagwriter
