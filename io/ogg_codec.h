// Detects the codec in an Ogg file whose extension does not determine it.
#pragma once

namespace tagwriter {

/// Reads the first packet of the Ogg file `fd` (borrowed) and sets `isFLAC` for Ogg FLAC or
/// `isVorbis` for Vorbis, and clears the other flag. Otherwise, or if the read fails or the file is
/// too short, leaves both unchanged. The descriptor's offset is 0 afterwards.
/// Formats: RFC 3533 (Ogg page), the Vorbis I specification 4.2.1, the Ogg mapping of FLAC.
void sniffOggCodec(int fd, bool& isVorbis, bool& isFLAC);

}  // namespace tagwriter
