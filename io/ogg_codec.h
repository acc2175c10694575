// The codec inside an Ogg file whose name does not say.
#pragma once

namespace tagwriter {

/// Looks at the first packet of the Ogg file behind `fd`, which stays the caller's, and sets
/// `isFLAC` for Ogg FLAC or `isVorbis` for Vorbis, clearing the other flag. Anything else, a short
/// file and a failed read leave both unchanged. The descriptor's offset is 0 afterwards.
/// Formats: RFC 3533 (Ogg page), the Vorbis I specification 4.2.1, the Ogg mapping of FLAC.
void sniffOggCodec(int fd, bool& isVorbis, bool& isFLAC);

}  // namespace tagwriter
