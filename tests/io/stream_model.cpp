#include "tests/io/stream_model.h"

#include <algorithm>
#include <climits>

#include "tests/io/stream_file.h"

namespace tagwriter::test {
namespace {

using Kind = StreamCall::Kind;
using TagLib::IOStream;

bool isOffset(unsigned long start, unsigned long length) {
  return start <= LONG_MAX && length <= LONG_MAX - start;
}

/// The bytes from `start` on; nothing when they end before it.
std::string from(const std::string& bytes, std::size_t start) {
  return start < bytes.size() ? bytes.substr(start) : std::string();
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const StreamCall& call) {
  switch (call.kind) {
    case Kind::kReadBlock:
      return out << "readBlock(" << call.length << ")";
    case Kind::kWriteBlock:
      return out << "writeBlock(" << call.data.size() << " bytes)";
    case Kind::kInsert:
      return out << "insert(" << call.data.size() << " bytes, " << call.start << ", " << call.length
                 << ")";
    case Kind::kRemoveBlock:
      return out << "removeBlock(" << call.start << ", " << call.length << ")";
    case Kind::kSeek:
      return out << "seek(" << call.offset << ", " << call.position << ")";
    case Kind::kTell:
      return out << "tell()";
    case Kind::kLength:
      return out << "length()";
    case Kind::kTruncate:
      return out << "truncate(" << call.offset << ")";
    case Kind::kClear:
      return out << "clear()";
  }
  return out;
}

StreamAnswer perform(const StreamCall& call, IOStream& stream) {
  switch (call.kind) {
    case Kind::kReadBlock:
      return {stringOf(stream.readBlock(call.length)), 0};
    case Kind::kWriteBlock:
      stream.writeBlock(vectorOf(call.data));
      return {};
    case Kind::kInsert:
      stream.insert(vectorOf(call.data), call.start, call.length);
      return {};
    case Kind::kRemoveBlock:
      stream.removeBlock(call.start, call.length);
      return {};
    case Kind::kSeek:
      stream.seek(call.offset, call.position);
      return {};
    case Kind::kTell:
      return {{}, stream.tell()};
    case Kind::kLength:
      return {{}, stream.length()};
    case Kind::kTruncate:
      stream.truncate(call.offset);
      return {};
    case Kind::kClear:
      stream.clear();
      return {};
  }
  return {};
}

StreamAnswer StreamModel::perform(const StreamCall& call) {
  switch (call.kind) {
    case Kind::kReadBlock:
      return {readBlock(call.length), 0};
    case Kind::kWriteBlock:
      writeBlock(call.data);
      return {};
    case Kind::kInsert:
      insert(call.data, call.start, call.length);
      return {};
    case Kind::kRemoveBlock:
      removeBlock(call.start, call.length);
      return {};
    case Kind::kSeek:
      seek(call.offset, call.position);
      return {};
    case Kind::kTell:
      return {{}, position()};
    case Kind::kLength:
      metEnd_ = false;  // it seeks
      return {{}, static_cast<long>(bytes_.size())};
    case Kind::kTruncate:
      if (call.offset >= 0) bytes_.resize(static_cast<std::size_t>(call.offset));
      return {};
    case Kind::kClear:
      metEnd_ = false;
      return {};
  }
  return {};
}

std::string StreamModel::readBlock(unsigned long length) {
  if (length == 0) return {};
  if (length > 1024) {
    metEnd_ = false;  // it asks for the length
    length = std::min<unsigned long>(length, bytes_.size());
  }
  if (metEnd_) return {};
  std::string data = from(bytes_, position_).substr(0, length);
  metEnd_ = data.size() < length;
  position_ += data.size();
  return data;
}

void StreamModel::writeBlock(const std::string& data) {
  if (data.empty()) return;
  if (bytes_.size() < position_ + data.size()) bytes_.resize(position_ + data.size());
  bytes_.replace(position_, data.size(), data);
  position_ += data.size();
}

void StreamModel::insert(const std::string& data, unsigned long start, unsigned long replace) {
  if (!isOffset(start, replace) || !isOffset(start, data.size())) return;
  if (data.size() <= replace) {
    moveTo(start);
    writeBlock(data);
    if (data.size() < replace) removeBlock(start + data.size(), replace - data.size());
    return;
  }
  const std::string rest = from(bytes_, start + replace);
  bytes_.resize(start);
  bytes_ += data + rest;
  moveTo(bytes_.size());
}

void StreamModel::removeBlock(unsigned long start, unsigned long length) {
  if (!isOffset(start, length)) return;
  const std::string rest = from(bytes_, start + length);
  bytes_.resize(start);
  bytes_ += rest;
  moveTo(bytes_.size());
}

void StreamModel::seek(long offset, IOStream::Position position) {
  const long target = offset + (position == IOStream::Current ? this->position()
                                : position == IOStream::End   ? static_cast<long>(bytes_.size())
                                                              : 0);
  if (target >= 0) moveTo(static_cast<std::size_t>(target));
}

void StreamModel::moveTo(std::size_t position) {
  position_ = position;
  metEnd_ = false;
}

}  // namespace tagwriter::test
