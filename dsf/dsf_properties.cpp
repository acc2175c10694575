#include "dsf/dsf_properties.h"

#include <algorithm>
#include <limits>

#include "dsf/dsf_file.h"

namespace TagLib::DSF {
namespace {

// The fmt chunk (DSF File Format Specification, version 1.01), after the DSD chunk.
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
constexpr long long kFmtSizeLimit = 128;  // no more is read of a longer chunk
constexpr unsigned int kChannelCount = 12;
constexpr unsigned int kSamplingFrequency = 16;
constexpr unsigned int kBitsPerSample = 20;
constexpr unsigned int kSampleCount = 24;

// The data chunk, directly after the part of the fmt chunk that was read.
//   0  4  "data"
//   4  8  size of this chunk, including these 12 bytes
constexpr const char* kDataChunkId = "data";
constexpr unsigned long long kDataHeaderBits = 96;

constexpr unsigned long kChunkIdWidth = 4;
constexpr unsigned long kChunkSizeWidth = 8;
constexpr bool kMostSignificantByteFirst = false;  // in all numbers of the file

/// Seconds of audio, truncated towards zero; 0 if the division is undefined.
long long lengthOf(long long sampleCount, int sampleRate) {
  constexpr long long kMin = std::numeric_limits<long long>::min();
  if (sampleRate == 0 || (sampleRate == -1 && sampleCount == kMin)) return 0;
  return sampleCount / sampleRate;
}

/// The bitrate in kbit/s of a data chunk of `dataSize` bytes that plays for `length` > 0 seconds.
/// A number of bits that does not fit wraps around.
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
  int bitsPerSample = 0;  // AudioProperties has no accessor for it
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

  // Fields beyond the end of a short body read as 0.
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
