// Keeps the fragments of an MP4 file playable when boxes in front of them change their size.
//
// A fragment may say where its data is by an offset from the start of the file (ISO/IEC 14496-12,
// 8.8.7). When TagLib's save() moves the fragments, it updates that offset in the first one only.
#pragma once

#include <mp4file.h>

#include <vector>

namespace tagwriter {

/// The offset in a fragment's header.
struct FragmentOffset {
  long long fragment;  ///< where the fragment starts
  long long position;  ///< where the offset is stored
  long long value;     ///< the offset
};

/// All such offsets in `file`, in order. None in most files.
std::vector<FragmentOffset> fragmentOffsets(TagLib::MP4::File& file);

/// Moves each offset that is still as it was in `before` by as much as its fragment has moved.
/// Returns whether the file still has the same fragments.
bool updateFragmentOffsets(TagLib::MP4::File& file, const std::vector<FragmentOffset>& before);

}  // namespace tagwriter
