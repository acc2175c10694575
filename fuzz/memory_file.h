// A file in memory, and the names that a file may have.
#pragma once

#include <string>
#include <string_view>

#include "base/unique_fd.h"

namespace tagwriter::fuzz {

/// A name for each type of file, then one that tells nothing, one without tags and none at all.
inline constexpr const char* kNames[] = {
    "a.mp3", "a.m4a", "a.flac", "a.ogg", "a.oga", "a.opus", "a.wma", "a.aiff",
    "a.wav", "a.ape", "a.wv",   "a.mpc", "a.dsf", "a.xyz",  "a.au",  nullptr,
};

/// A file that no directory contains.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes);

  /// Its descriptor, for reading and writing.
  int descriptor() const { return fd_.get(); }
  /// All bytes of the file.
  std::string bytes() const;

 private:
  UniqueFd fd_;
};

/// Breaks a promise at its end if there are more open descriptors than at its start.
class DescriptorCheck {
 public:
  DescriptorCheck() : free_(lowestFree()) {}
  ~DescriptorCheck();
  DescriptorCheck(const DescriptorCheck&) = delete;
  DescriptorCheck& operator=(const DescriptorCheck&) = delete;

 private:
  static int lowestFree();
  int free_;
};

/// Drops all diagnostics of the service: most inputs cause some.
void silenceLog();

}  // namespace tagwriter::fuzz
