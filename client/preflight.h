// Checks before sending.
#pragma once

#include "base/unique_fd.h"
#include "client/tag_writer.h"
#include "protocol/value_dictionary.h"

namespace tagwriter {

/// Opens `file` for reading and writing, or duplicates the caller's descriptor, and checks that it
/// can be edited. On success `fd` owns the descriptor; otherwise the outcome says what is wrong
/// with the file.
Outcome openForEdit(const AudioFile& file, UniqueFd& fd);

/// The same, and unless `options` say anyFile, checks that it is audio (checkContent).
Outcome openAudio(const AudioFile& file, const WriteOptions& options, UniqueFd& fd);

/// Checks whether `request` can be sent for the open file `fd` (borrowed) with the name `path`:
/// - kRequestTooLarge: it would reach 64 MiB on the wire (D-Bus specification, maximum length of an
///   array); the session bus would disconnect us.
/// - kFileTooLarge: a WAV or AIFF file would exceed the 32-bit sizes in its headers.
Outcome checkRequest(int fd, const std::string& path, const ValueDictionary& request);

/// Whether `request` sets a cover and must not replace a picture. The service does not check for
/// one in every format.
bool mustKeepPictures(const ValueDictionary& request);

/// Returns an upper bound for the size of `request` on the wire, in bytes.
std::uint64_t wireSizeOf(const ValueDictionary& request);

}  // namespace tagwriter
