// Writes a plan into the file, in an order in which a full disk costs nothing.
#pragma once

#include "io/block_cache.h"
#include "io/fd_file_stream.h"
#include "io/piece_table.h"

namespace tagwriter {

/// Makes the file what `plan` says, which was made when the file had the extent `old`:
///
/// 1. If nothing differs, nothing is written.
/// 2. If the file grows, room for the growth is reserved where the file system can do that, and
///    everything behind the old end is written.
/// 3. What moves towards the end is moved, back to front; then what moves towards the start, front
///    to back. New bytes are written on the way.
/// 4. If the file shrinks it is truncated, by the player where the request has a truncation
///    endpoint.
///
/// Returns whether the file was changed, or needed no change. False means that the file is as it
/// was: there was no room, or no byte of the old file could be overwritten. A failure after the
/// first overwritten byte is counted (io/lost_writes.h), nothing more is written, and the result is
/// true; so is it if the file cannot be given its old length back.
///
/// The old bytes are read through `source`, which is borrowed like `file`.
bool commitPlan(const PieceTable& plan, const TagLib::FDFileStream::Extent& old, BlockCache& source,
                TagLib::FDFileStream& file);

}  // namespace tagwriter
