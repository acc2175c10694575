// What the "fmt " and "data" chunks of a DSF file say about its audio.
#pragma once

#include <audioproperties.h>

#include <memory>

namespace TagLib::DSF {

class File;

/// The audio properties of a DSF file (DSF File Format Specification, version 1.01, fmt chunk and
/// data chunk). A value that the file does not give is 0, and a file without a fmt chunk in its
/// place has all of them 0. The values are as the file states them, unchecked.
class Properties : public AudioProperties {
 public:
  /// Reads the properties from `file`, which is borrowed for this call only; its position moves.
  /// `style` makes no difference.
  explicit Properties(File* file, ReadStyle style = Average);
  ~Properties() override;

  /// The length in whole seconds, rounded towards zero.
  int length() const override;

  /// The bit rate of the audio data in kbit/s; 0 for less than a second of audio.
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
