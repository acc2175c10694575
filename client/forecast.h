// What the service will do with a request, by what is in the file.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "client/reader.h"
#include "protocol/file_type.h"
#include "protocol/value_dictionary.h"

namespace tagwriter {

/// Whether checkContents can say anything about `request` for a file of `type`.
bool needsContents(TagFileType type, const ValueDictionary& request);

/// Whether `request` may be sent for a file with `contents`, although the service would accept it.
/// If not:
/// - kHasPicture: there is a picture, which must be kept.
/// - kNeedsTrackNumber: the format keeps the number of tracks only beside a track number.
Outcome checkContents(TagFileType type, const ValueDictionary& request,
                      const FileContents& contents);

/// Why the service refuses `request` for a file with `contents`; a success if no reason is known:
/// - kNotThisType: it cannot be read as what its name says.
/// - kNothingToRemove: there is no picture.
/// - kFieldNotKept: a cue sheet needs a tag that is there.
/// - kBlockTooLarge: a FLAC block would be too large, with what is in it already.
Outcome reasonToRefuse(TagFileType type, const ValueDictionary& request,
                       const FileContents& contents);

/// Makes the change of `request` in `contents`, as far as these functions look at it.
void apply(const ValueDictionary& request, FileContents& contents);

/// The request that has to follow `request` in a file that had `contents` before, if any: clearing
/// the number of tracks removes the track number in some formats, so it is written again.
std::optional<ValueDictionary> requestAfter(TagFileType type, const ValueDictionary& request,
                                            const FileContents& contents);

/// The order in which requests are sent, as indices: the number of tracks after the track number,
/// because some formats keep it only beside one.
std::vector<std::size_t> sendingOrder(const std::vector<const ValueDictionary*>& requests);

}  // namespace tagwriter
