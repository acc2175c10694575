// The audio properties in the "fmt " and "data" chunks of a DSF file.
#pragma once

#include <audioproperties.h>

#include <memory>

namespace TagLib::DSF {

class File;

/// The audio properties of a DSF file (DSF File Format Specification, version 1.01, fmt chunk and
/// data chunk). A missing value is 0; if the fmt chunk is not where it belongs, all are 0. Values
/// are returned as the file states them, unchecked.
class Properties : public AudioProperties {
 public:
  /// Reads the properties from `file`, which is borrowed for this call; its position changes.
  /// `style` makes no difference.
  explicit Properties(File* file, ReadStyle style = Average);
  ~Properties() override;

  /// The length in whole seconds, truncated towards zero.
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

}  // namespace TagLib::DSF
