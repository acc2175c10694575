// The piece table and its commit against a plain array of bytes, with faults in the system calls.
//
// Input, from its end: the fault (4 bytes), the scale of all sizes, the length of the file, and the
// calls until the input is used up. The first bytes of the input come last.
#include <cstring>
#include <string>

#include "fuzz/memory_file.h"
#include "fuzz/target.h"
#include "io/lost_writes.h"
#include "io/staged_stream.h"
#include "tests/faults/system_calls.h"
#include "tests/io/stream_model.h"

namespace tagwriter::fuzz {
namespace {

using TagLib::IOStream;
using test::Action;
using test::Call;
using test::Fault;
using test::patternOf;
using test::StreamModel;
using test::vectorOf;

constexpr std::size_t kMaxHandled = 4 << 20;  // by all calls together, so that an input is quick
constexpr std::uint64_t kMaxGrowth = 1 << 30;
/// Of all sizes. With the largest, moves take several blocks, and each input takes long.
constexpr std::size_t kScales[] = {1, 1, 1, 1, 16, 16, 300, 5000};

/// Bytes without a period, which differ from seed to seed. Made once, because that is slow.
std::string newBytes(std::size_t size, std::uint8_t seed) {
  static const std::string kPattern = patternOf(3 << 20);
  constexpr std::size_t kApart = 3001;
  return kPattern.substr(seed * kApart, size);
}

bool areEqual(const TagLib::ByteVector& a, const TagLib::ByteVector& b) {
  return a.size() == b.size() && (a.isEmpty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

/// Makes the same calls on a stream and on the model, and compares the answers.
class Calls {
 public:
  Calls(IOStream& stream, StreamModel& model, Input& input, std::size_t scale)
      : stream_(stream), model_(model), input_(input), scale_(scale) {}

  void makeAll() {
    for (std::size_t handled = 0; !input_.isEmpty() && handled <= kMaxHandled;) {
      makeOne();
      handled += length();
      promise(stream_.tell() == model_.tell(), "the plan is at the position of the model");
      promise(stream_.length() == model_.length(), "the plan has the length of the model");
    }
    compareContents();
  }

 private:
  std::size_t length() { return model_.bytes().size(); }
  std::size_t size() { return input_.byte() * scale_ + input_.byte() % scale_; }
  /// In the file, or a little beyond its end.
  std::size_t position() { return size() % (length() + 300); }

  /// New bytes, or those at `position` with one of them changed, or not.
  std::string dataFor(std::size_t position) {
    const std::uint8_t seed = input_.byte();
    std::string data = newBytes(size(), seed);
    if (seed % 4 != 0 || position >= length()) return data;
    const std::string there = model_.bytes().substr(position, data.size());
    data.replace(0, there.size(), there);
    if (seed % 8 != 0 && !data.empty()) data[seed * scale_ % data.size()] ^= 1;
    return data;
  }

  void makeOne() {
    switch (input_.byte() % 8) {
      case 0:
        return truncate(static_cast<long>(position()));
      case 1:
        return remove(position(), size());
      case 2:
        return insert(position(), 0);
      case 3:
        return insert(position(), size());
      case 4:
      case 5:
        return write();
      case 6:
        return seek(static_cast<long>(position()), input_.byte() % 3);
      default:
        return read(size());
    }
  }

  void truncate(long length) {
    stream_.truncate(length);
    model_.truncate(length);
  }
  void remove(std::size_t start, std::size_t length) {
    stream_.removeBlock(start, length);
    model_.removeBlock(start, length);
  }
  void insert(std::size_t start, std::size_t replaced) {
    const TagLib::ByteVector data = vectorOf(dataFor(start));
    stream_.insert(data, start, replaced);
    model_.insert(data, start, replaced);
  }
  void write() {
    const TagLib::ByteVector data = vectorOf(dataFor(static_cast<std::size_t>(model_.tell())));
    stream_.writeBlock(data);
    model_.writeBlock(data);
  }
  void seek(long target, int from) {
    const auto position = static_cast<IOStream::Position>(from);
    const long base = from == IOStream::Current ? model_.tell()
                      : from == IOStream::End   ? model_.length()
                                                : 0;
    stream_.seek(target - base, position);
    model_.seek(target - base, position);
  }
  void read(std::size_t length) {
    promise(areEqual(stream_.readBlock(length), model_.readBlock(length)),
            "the plan reads as the model");
    stream_.clear();
    model_.clear();
  }
  void compareContents() {
    seek(0, IOStream::Beginning);
    read(length());
  }

  IOStream& stream_;
  StreamModel& model_;
  Input& input_;
  std::size_t scale_;
};

Fault faultFrom(Input& input) {
  static constexpr Action kActions[] = {Action::kNone, Action::kFail, Action::kFailHalf,
                                        Action::kFindEnd};
  static constexpr Call kCalls[] = {Call::kWrite, Call::kRead, Call::kReserve, Call::kTruncate,
                                    Call::kClose};
  Fault fault;
  fault.action = input.oneOf(kActions);
  fault.call = input.oneOf(kCalls);
  if (fault.action == Action::kFailHalf) fault.call = Call::kWrite;
  if (fault.action == Action::kFindEnd) fault.call = Call::kRead;
  fault.nth = 1 + input.byte() % 16;
  const unsigned options = input.byte();
  fault.fromThenOn = options & 1;
  fault.canReserve = options & 2;
  fault.canTruncate = options & 4;
  fault.error = options & 8 ? EIO : ENOSPC;
  return fault;
}

/// What the answer promises about the file.
void check(const test::Trace& trace, bool canTruncate, const std::string& before,
           const std::string& planned, const std::string& after) {
  const bool isLost = trace.incomplete;
  promise(trace.hit || !canTruncate || !isLost, "nothing is lost without a fault");
  promise(trace.result || after == before, "after false the file is as it was");
  promise(!trace.result || isLost || after == planned, "after true the file is as planned");
  const bool isWhole = after == before || after == planned;
  if (!trace.hit || trace.oldBytesWrittenBeforeHit || isWhole) return;
  promise(!canTruncate, "a fault before the first overwritten byte does no harm");
  promise(after.starts_with(before) || after.starts_with(planned),
          "without truncation the file has more bytes at its end, and no other difference");
}

}  // namespace

void setUp() {
  silenceLog();
}

void run(Input input) {
  const Fault fault = faultFrom(input);
  const std::size_t scale = input.oneOf(kScales);
  const std::string before = newBytes(input.byte() * scale, 0);

  const DescriptorCheck descriptors;
  const MemoryFile content(before);
  StreamModel model(before);
  test::Trace trace;
  const std::uint64_t lost = lostWrites();
  {
    TagLib::FDFileStream file(duplicateFd(content.descriptor()).release(), "name", nullptr);
    TagLib::StagedStream stream(file, kMaxGrowth);
    Calls(stream, model, input, scale).makeAll();
    promise(content.bytes() == before, "nothing is written before the commit");
    test::startFault(content.descriptor(), fault, trace);
    trace.result = stream.commit();
  }
  test::endFault();
  trace.incomplete = lostWrites() != lost;
  check(trace, fault.canTruncate, before, model.bytes(), content.bytes());
}

}  // namespace tagwriter::fuzz
