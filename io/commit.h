// Writes a plan into the file, in an order in which a full disk does no damage.
#pragma once

#include "io/block_cache.h"
#include "io/fd_file_stream.h"
#include "io/piece_table.h"

namespace tagwriter {

/// Carries out `plan`, which was made when the file had the extent `old`:
///
/// 1. If nothing differs, nothing is written.
/// 2. If the file grows, room for the growth is reserved where the file system can do that, and
///    everything beyond the old end is written.
/// 3. What moves towards the end is moved, back to front; then what moves towards the start, front
///    to back. New bytes are written on the way.
/// 4. If the file shrinks it is truncated, by the player where the request has a truncation
///    endpoint.
///
/// Returns whether the file was changed, or needed no change. False means that the file is as it
/// was: there was no room, it could not be read, or the first write to it failed. The result is
/// true, and the failure is counted (io/lost_writes.h), if a read or write fails after the first
/// overwritten byte, if the final truncation fails, or if the file cannot be given its old length
/// back. After a failed read or write, nothing more is written.
///
/// The old bytes are read through `source`. Both `source` and `file` are borrowed.
bool commitPlan(const PieceTable& plan, const TagLib::FDFileStream::Extent& old, BlockCache& source,
                TagLib::FDFileStream& file);

}  // namespace tagwriter
