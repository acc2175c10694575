#include "dsf/dsf_properties.h"

#include <algorithm>
#include <limits>

#include "dsf/dsf_file.h"

namespace TagLib::DSF {
namespace {

// The fmt chunk (DSF File Format Specification, version 1.01), behind the DSD chunk.
//  28  4  "fmt "
//  32  8  size of this chunk
//  40     the body:
//       0  4  format version: not used
//       4  4  format ID: not used
//       8  4  channel type: not used
//      12  4  channel count
//      16  4  sampling frequency in Hz
//      20  4  bits per sample
//      24  8  sample count per channel
//      32  4  block size per channel: not used
constexpr const char* kFmtChunkId = "fmt ";
constexpr long kFmtChunkOffset = 28;
constexpr long long kFmtHeaderSize = 12;
constexpr long long kFmtSizeLimit = 128;  // of a longer chunk no more than this is read
constexpr unsigned int kChannelCount = 12;
constexpr unsigned int kSamplingFrequency = 16;
constexpr unsigned int kBitsPerSample = 20;
constexpr unsigned int kSampleCount = 24;

// The data chunk, directly behind the part of the fmt chunk that was read.
//   0  4  "data"
//   4  8  size of this chunk, with these 12 bytes
constexpr const char* kDataChunkId = "data";
constexpr unsigned long long kDataHeaderBits = 96;

constexpr unsigned long kChunkIdWidth = 4;
constexpr unsigned long kChunkSizeWidth = 8;
constexpr bool kMostSignificantByteFirst = false;  // in every number of the file

/// Seconds of audio, rounded towards zero; 0 where the division is not defined.
long long lengthOf(long long sampleCount, int sampleRate) {
  constexpr long long kMin = std::numeric_limits<long long>::min();
  if (sampleRate == 0 || (sampleRate == -1 && sampleCount == kMin)) return 0;
  return sampleCount / sampleRate;
}

/// The bit rate in kbit/s of a data chunk of `dataSize` bytes that plays for `length` seconds,
/// which are more than 0. The product may not fit: it wraps around.
int bitrateOf(long long dataSize, long long length) {
  const unsigned long long bits = static_cast<unsigned long long>(dataSize) * 8 - kDataHeaderBits;
  return static_cast<int>(static_cast<long long>(bits) / length / 1000);
}

}  // namespace

class Properties::PropertiesPrivate {
 public:
  long long length = 0;
  int bitrate = 0;
  int sampleRate = 0;
  int channels = 0;
  int bitsPerSample = 0;  // nobody asks for it (kept)
};

Properties::Properties(File* file, ReadStyle style)
    : AudioProperties(style), d(std::make_unique<PropertiesPrivate>()) {
  read(file);
}

Properties::~Properties() = default;

int Properties::length() const {
  return static_cast<int>(d->length);
}

int Properties::bitrate() const {
  return d->bitrate;
}

int Properties::sampleRate() const {
  return d->sampleRate;
}

int Properties::channels() const {
  return d->channels;
}

void Properties::read(File* file) {
  file->seek(kFmtChunkOffset);
  if (file->readBlock(kChunkIdWidth) != kFmtChunkId) return;

  const long long fmtSize = file->readBlock(kChunkSizeWidth).toLongLong(kMostSignificantByteFirst);
  if (fmtSize < kFmtHeaderSize) return;

  // What the body is too short for counts as 0: the library's numbers end with the bytes.
  const ByteVector body = file->readBlock(
      static_cast<unsigned long>(std::min(fmtSize, kFmtSizeLimit) - kFmtHeaderSize));
  d->channels = static_cast<int>(body.toUInt(kChannelCount, kMostSignificantByteFirst));
  d->sampleRate = static_cast<int>(body.toUInt(kSamplingFrequency, kMostSignificantByteFirst));
  d->bitsPerSample = static_cast<int>(body.toUInt(kBitsPerSample, kMostSignificantByteFirst));
  d->length = lengthOf(body.toLongLong(kSampleCount, kMostSignificantByteFirst), d->sampleRate);

  if (file->readBlock(kChunkIdWidth) != kDataChunkId) return;
  const long long dataSize = file->readBlock(kChunkSizeWidth).toLongLong(kMostSignificantByteFirst);
  if (d->length > 0) d->bitrate = bitrateOf(dataSize, d->length);
}

}  // namespace TagLib::DSF
