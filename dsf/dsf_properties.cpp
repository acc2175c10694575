#include "dsf/dsf_properties.h"

#include <algorithm>
#include <limits>

#include "dsf/dsf_file.h"
#include "dsf/stream_types.h"

namespace TagLib::DSF {
inline namespace tagwriter {
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
constexpr unsigned kFmtChunkOffset = 28;
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

constexpr unsigned kChunkIdWidth = 4;
constexpr unsigned kChunkSizeWidth = 8;
constexpr bool kMostSignificantByteFirst = false;  // in all numbers of the file

/// Whether the samples divided by the rate are a number of seconds.
bool isDefined(long long sampleCount, int sampleRate) {
  constexpr long long kMin = std::numeric_limits<long long>::min();
  return sampleRate != 0 && (sampleRate != -1 || sampleCount != kMin);
}

/// The milliseconds beyond whole seconds, truncated towards zero.
int millisecondsOf(long long sampleCount, int sampleRate) {
  return static_cast<int>(sampleCount % sampleRate * 1000 / sampleRate);
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
  int bitrate = 0;
  int sampleRate = 0;
  int channels = 0;
  int bitsPerSample = 0;  // AudioProperties has no accessor for it
};

int Lengths::lengthInSeconds() const {
  return static_cast<int>(seconds_);
}

int Lengths::lengthInMilliseconds() const {
  // A number that does not fit wraps around, as that of the seconds does.
  return static_cast<int>(1000U * static_cast<unsigned>(seconds_) +
                          static_cast<unsigned>(milliseconds_));
}

Properties::Properties(File* file, ReadStyle style)
    : Lengths(style), d(std::make_unique<PropertiesPrivate>()) {
  read(file);
}

Properties::~Properties() = default;

int Properties::length() const {
  return lengthInSeconds();
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
  const ByteVector body =
      file->readBlock(static_cast<StreamSize>(std::min(fmtSize, kFmtSizeLimit) - kFmtHeaderSize));
  d->channels = static_cast<int>(body.toUInt(kChannelCount, kMostSignificantByteFirst));
  d->sampleRate = static_cast<int>(body.toUInt(kSamplingFrequency, kMostSignificantByteFirst));
  d->bitsPerSample = static_cast<int>(body.toUInt(kBitsPerSample, kMostSignificantByteFirst));
  const long long sampleCount = body.toLongLong(kSampleCount, kMostSignificantByteFirst);
  if (isDefined(sampleCount, d->sampleRate)) {
    seconds_ = sampleCount / d->sampleRate;
    milliseconds_ = millisecondsOf(sampleCount, d->sampleRate);
  }

  if (file->readBlock(kChunkIdWidth) != kDataChunkId) return;
  const long long dataSize = file->readBlock(kChunkSizeWidth).toLongLong(kMostSignificantByteFirst);
  if (seconds_ > 0) d->bitrate = bitrateOf(dataSize, seconds_);
}

}  // namespace tagwriter
}  // namespace TagLib::DSF
