// Random calls of a stream, for the tests that compare streams.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <tuple>

#include "tests/io/stream_model.h"

namespace tagwriter::test {

using TagLib::IOStream;

struct Call {
  std::string name;
  std::function<std::string(IOStream&)> make;  ///< returns what the stream answered
  bool isOutOfReach = false;
};

/// Makes up calls with sizes and positions around the limits of the buffer and of the file.
class Caller {
 public:
  explicit Caller(unsigned seed) : random_(seed) {}

  unsigned long below(unsigned long limit) { return random_() % limit; }

  unsigned long size() {
    static constexpr unsigned long kSizes[] = {0,    1,    2,    100,  1023, 1024, 1025,
                                               2047, 2048, 2049, 4095, 4096, 4097, 5000};
    if (below(40) == 0) return 70000;
    if (below(4) == 0) return below(3000);
    return kSizes[below(std::size(kSizes))];
  }

  /// A position in or near a file of `length` bytes.
  unsigned long positionIn(unsigned long length) {
    switch (below(6)) {
      case 0:
        return length;
      case 1:
        return length + size();
      case 2:
        return length - std::min(length, size());
      case 3:
        return std::min(length, size());
      default:
        return below(length + 1);
    }
  }

  /// Bytes to be put at a position: new ones, or those that are there with a few changes.
  std::string dataFor(const StreamModel& model, unsigned long position) {
    std::string data = patternOf(size(), random_());
    if (below(2) == 0 || position >= model.bytes().size()) return data;
    const std::string there = model.bytes().substr(position, data.size());
    data.replace(0, there.size(), there);
    for (unsigned long changes = below(4); changes > 0 && !data.empty(); --changes) {
      data[below(data.size())] ^= 1;
    }
    return data;
  }

  Call next(StreamModel& model) {
    const auto length = static_cast<unsigned long>(model.length());
    if (length > 40'000) return truncate(size());  // keeps the test fast
    if (below(50) == 0) return outOfReach();
    switch (below(16)) {
      case 0:
        return truncate(positionIn(length));
      case 1:
        return {"length()", [](IOStream& s) { return std::to_string(s.length()); }};
      case 2:
      case 3:
        return seek(model);
      case 4:
      case 5:
        return remove(positionIn(length), size());
      case 6:
      case 7:
      case 8: {
        const unsigned long start = positionIn(length);
        const std::string data = dataFor(model, start);
        return insert(data, start, below(4) == 0 ? data.size() : size());
      }
      case 9:
      case 10:
      case 11:
        return write(dataFor(model, static_cast<unsigned long>(model.tell())));
      default:
        return read(size());
    }
  }

 private:
  static std::string nameOf(const char* operation, unsigned long a, unsigned long b = 0,
                            unsigned long c = 0) {
    return testing::PrintToString(std::tuple(operation, a, b, c));
  }

  static Call read(unsigned long length) {
    return {nameOf("readBlock", length), [=](IOStream& s) {
              const std::string data = stringOf(s.readBlock(length));
              if (data.size() < length) s.clear();
              return data;
            }};
  }
  static Call write(const std::string& data) {
    return {nameOf("writeBlock", data.size()),
            [=](IOStream& s) { return s.writeBlock(vectorOf(data)), ""; }};
  }
  static Call insert(const std::string& data, unsigned long start, unsigned long replace) {
    return {nameOf("insert", data.size(), start, replace),
            [=](IOStream& s) { return s.insert(vectorOf(data), start, replace), ""; }};
  }
  static Call remove(unsigned long start, unsigned long length) {
    return {nameOf("removeBlock", start, length),
            [=](IOStream& s) { return s.removeBlock(start, length), ""; }};
  }
  static Call truncate(unsigned long length) {
    return {nameOf("truncate", length),
            [=](IOStream& s) { return s.truncate(static_cast<long>(length)), ""; }};
  }

  Call seek(StreamModel& model) {
    const auto length = static_cast<unsigned long>(model.length());
    const long target = below(20) == 0 ? -1 : static_cast<long>(positionIn(length));
    const auto from = static_cast<IOStream::Position>(below(3));
    const long offset = target - (from == IOStream::Current ? model.tell()
                                  : from == IOStream::End   ? model.length()
                                                            : 0);
    return {nameOf("seek", static_cast<unsigned long>(offset), from),
            [=](IOStream& s) { return s.seek(offset, from), ""; }};
  }

  /// An edit of a range that starts or ends at an offset that no file can have.
  Call outOfReach() {
    unsigned long start = (1UL << 63) + below(1UL << 63);
    unsigned long length = size();
    if (below(2) == 0) std::swap(start, length);
    Call call = below(2) == 0 ? insert(patternOf(size()), start, length) : remove(start, length);
    call.isOutOfReach = true;
    return call;
  }

  std::mt19937_64 random_;
};

}  // namespace tagwriter::test
