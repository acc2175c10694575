// A file stream as simple as it can be said: bytes in memory and a position. What a real stream
// does is compared with it.
#pragma once

#include <tiostream.h>

#include <ostream>
#include <string>

namespace tagwriter::test {

/// One call of a stream with its arguments.
struct StreamCall {
  enum class Kind {
    kReadBlock,
    kWriteBlock,
    kInsert,
    kRemoveBlock,
    kSeek,
    kTell,
    kLength,
    kTruncate,
    kClear,
  };

  Kind kind;
  /// writeBlock, insert
  std::string data{};
  /// insert, removeBlock
  unsigned long start = 0;
  /// readBlock and removeBlock; how much insert replaces
  unsigned long length = 0;
  /// seek; truncate's length
  long offset = 0;
  TagLib::IOStream::Position position = TagLib::IOStream::Beginning;
};

std::ostream& operator<<(std::ostream& out, const StreamCall& call);

/// What a call answered: readBlock's bytes, or the number that tell and length gave.
struct StreamAnswer {
  std::string bytes;
  long number = 0;
  bool operator==(const StreamAnswer&) const = default;
};

/// Makes the call on a real stream.
StreamAnswer perform(const StreamCall& call, TagLib::IOStream& stream);

class StreamModel {
 public:
  explicit StreamModel(std::string bytes) : bytes_(std::move(bytes)) {}

  /// Makes the call on the model.
  StreamAnswer perform(const StreamCall& call);

  const std::string& bytes() const { return bytes_; }
  long position() const { return static_cast<long>(position_); }

 private:
  std::string readBlock(unsigned long length);
  void writeBlock(const std::string& data);
  void insert(const std::string& data, unsigned long start, unsigned long replace);
  void removeBlock(unsigned long start, unsigned long length);
  void seek(long offset, TagLib::IOStream::Position position);
  void moveTo(std::size_t position);

  std::string bytes_;
  std::size_t position_ = 0;
  // A read that has met the end makes all later ones give nothing, even when the file has become
  // longer, until a seek or clear().
  bool metEnd_ = false;
};

}  // namespace tagwriter::test
