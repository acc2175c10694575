// Editors of the tests' own, one a tag family, that tell which of them ran.
#pragma once

#include <functional>
#include <vector>

#include "tagging/writing_blocks.h"

namespace tagwriter::test {

enum class Family { kId3v2, kId3v1, kMp4, kXiph, kAsf, kApe };

/// What every editor writes: as the composer, or as the comment of an ID3v1 tag.
inline constexpr char kMark[] = "marked by the test";

class RecordingEditors {
 public:
  /// Sets all six editors. Each checks that it is given a tag object of exactly its own class,
  /// marks it and calls `afterwards`.
  RecordingEditors();
  RecordingEditors(const RecordingEditors&) = delete;
  RecordingEditors& operator=(const RecordingEditors&) = delete;

  /// Takes the editors of these families away.
  void remove(const std::vector<Family>& families);
  /// Takes all editors away but those of these families.
  void keepOnly(const std::vector<Family>& families);

  VQNTagWritingBlocks blocks;
  std::vector<Family> ran;           ///< the families whose editors have run, in order
  std::function<void()> afterwards;  ///< may be empty; may throw

 private:
  template <typename Tag>
  FieldEditor<Tag> recording(Family family);
};

}  // namespace tagwriter::test
