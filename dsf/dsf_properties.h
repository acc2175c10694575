// The audio properties in the "fmt " and "data" chunks of a DSF file.
#pragma once

#include <audioproperties.h>

#include <memory>

namespace TagLib::DSF {
inline namespace tagwriter {

class File;

/// The lengths that a class answers in TagLib 2, where they are virtual, but not in TagLib 1. They
/// are in a class of their own because `override` would be right in one series only.
class Lengths : public AudioProperties {
 public:
  /// The length in whole seconds, truncated towards zero.
  int lengthInSeconds() const;

  /// The same in milliseconds.
  int lengthInMilliseconds() const;

 protected:
  using AudioProperties::AudioProperties;

  long long seconds_ = 0;
  int milliseconds_ = 0;  ///< beyond the whole seconds
};

/// The audio properties of a DSF file (DSF File Format Specification, version 1.01, fmt chunk and
/// data chunk). A missing value is 0; if the fmt chunk is not where it belongs, all are 0. Values
/// are returned as the file states them, unchecked.
class Properties : public Lengths {
 public:
  /// Reads the properties from `file`, which is borrowed for this call; its position changes.
  /// `style` makes no difference.
  explicit Properties(File* file, ReadStyle style = Average);
  ~Properties() override;

  /// The same as lengthInSeconds().
  int length() const override;

  /// The bitrate of the audio data in kbit/s; 0 for less than a second of audio.
  int bitrate() const override;

  /// The sampling frequency in Hz.
  int sampleRate() const override;

  /// The number of channels.
  int channels() const override;

 private:
  void read(File* file);

  class PropertiesPrivate;
  std::unique_ptr<PropertiesPrivate> d;
};

}  // namespace tagwriter
}  // namespace TagLib::DSF
