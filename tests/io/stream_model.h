// What a file stream does, as plainly as possible: on bytes in memory.
#pragma once

#include <tiostream.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "dsf/stream_types.h"
#include "tests/io/stream_file.h"

namespace tagwriter::test {

class StreamModel final : public TagLib::IOStream {
  using Offset = TagLib::StreamOffset;
  using Start = TagLib::StreamStart;
  using Size = TagLib::StreamSize;

 public:
  explicit StreamModel(std::string bytes) : bytes_(std::move(bytes)) {}

  const std::string& bytes() const { return bytes_; }

  TagLib::FileName name() const override { return ""; }
  bool readOnly() const override { return false; }
  bool isOpen() const override { return true; }
  void clear() override {}
  Offset tell() const override { return static_cast<Offset>(position_); }
  Offset length() override { return static_cast<Offset>(bytes_.size()); }
  void truncate(Offset length) override { bytes_.resize(static_cast<std::size_t>(length)); }

  TagLib::ByteVector readBlock(Size length) override {
    const std::string data = from(position_).substr(0, length);
    position_ += data.size();
    return vectorOf(data);
  }

  void writeBlock(const TagLib::ByteVector& data) override {
    if (data.isEmpty()) return;
    bytes_.resize(std::max(bytes_.size(), position_ + data.size()));
    bytes_.replace(position_, data.size(), stringOf(data));
    position_ += data.size();
  }

  void insert(const TagLib::ByteVector& data, Start start, Size replace) override {
    if (!isOffset(start, replace) || !isOffset(start, data.size())) return;
    if (data.size() == replace) {
      position_ = start;
      writeBlock(data);
    } else {
      splice(stringOf(data), start, replace);
    }
  }

  void removeBlock(Start start, Size length) override {
    if (isOffset(start, length)) splice("", start, length);
  }

  void seek(Offset offset, Position position) override {
    const Offset target = offset + (position == Current ? tell() : position == End ? length() : 0);
    if (target >= 0) position_ = static_cast<std::size_t>(target);
  }

 private:
  static bool isOffset(std::uint64_t start, std::uint64_t length) {
    constexpr std::uint64_t kMax = std::numeric_limits<Offset>::max();
    return start <= kMax && length <= kMax - start;
  }

  std::string from(std::size_t start) const {
    return start < bytes_.size() ? bytes_.substr(start) : std::string();
  }

  /// Leaves the position at the end of the file.
  void splice(const std::string& data, std::size_t start, std::size_t length) {
    const std::string rest = from(start + length);
    bytes_.resize(start);
    bytes_ += data + rest;
    position_ = bytes_.size();
  }

  std::string bytes_;
  std::size_t position_ = 0;
};

}  // namespace tagwriter::test
