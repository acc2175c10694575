// What a file stream does, as plainly as possible: on bytes in memory.
#pragma once

#include <tiostream.h>

#include <algorithm>
#include <climits>
#include <string>

#include "tests/io/stream_file.h"

namespace tagwriter::test {

class StreamModel final : public TagLib::IOStream {
 public:
  explicit StreamModel(std::string bytes) : bytes_(std::move(bytes)) {}

  const std::string& bytes() const { return bytes_; }

  TagLib::FileName name() const override { return ""; }
  bool readOnly() const override { return false; }
  bool isOpen() const override { return true; }
  void clear() override {}
  long tell() const override { return static_cast<long>(position_); }
  long length() override { return static_cast<long>(bytes_.size()); }
  void truncate(long length) override { bytes_.resize(static_cast<std::size_t>(length)); }

  TagLib::ByteVector readBlock(unsigned long length) override {
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

  void insert(const TagLib::ByteVector& data, unsigned long start, unsigned long replace) override {
    if (!isOffset(start, replace) || !isOffset(start, data.size())) return;
    if (data.size() == replace) {
      position_ = start;
      writeBlock(data);
    } else {
      splice(stringOf(data), start, replace);
    }
  }

  void removeBlock(unsigned long start, unsigned long length) override {
    if (isOffset(start, length)) splice("", start, length);
  }

  void seek(long offset, Position position) override {
    const long target = offset + (position == Current ? tell() : position == End ? length() : 0);
    if (target >= 0) position_ = static_cast<std::size_t>(target);
  }

 private:
  static bool isOffset(unsigned long start, unsigned long length) {
    return start <= LONG_MAX && length <= LONG_MAX - start;
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
