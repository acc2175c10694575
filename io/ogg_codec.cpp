#include "io/ogg_codec.h"

#include <unistd.h>

#include <string_view>

namespace tagwriter {
namespace {

/// Offset of the first packet: after a 27-byte page header and a segment table of one byte.
constexpr off_t kFirstPacket = 28;
constexpr std::string_view kFLACSignature =
    "\x7f"
    "FLAC";
constexpr std::string_view kVorbisSignature = "\x01vorbis";

}  // namespace

void sniffOggCodec(int fd, bool& isVorbis, bool& isFLAC) {
  char packet[kVorbisSignature.size()] = {};
  ::lseek(fd, kFirstPacket, SEEK_SET);
  if (::read(fd, packet, sizeof packet) == static_cast<ssize_t>(sizeof packet)) {
    const std::string_view start(packet, sizeof packet);
    if (start.starts_with(kFLACSignature)) {
      isFLAC = true;
      isVorbis = false;
    } else if (start == kVorbisSignature) {
      isVorbis = true;
      isFLAC = false;
    }
  }
  ::lseek(fd, 0, SEEK_SET);
}

}  // namespace tagwriter
