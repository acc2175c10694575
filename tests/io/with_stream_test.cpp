// From a descriptor to the file as planned: what is written when, and what a failure leaves.
#include "io/with_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <csignal>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "io/lost_writes.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/io/stream_file.h"

namespace tagwriter::test {
namespace {

using TagLib::StagedStream;

long cpuSecondsLeft() {
  itimerval left{};
  ::getitimer(ITIMER_PROF, &left);
  return left.it_value.tv_sec;
}

/// A request whose truncation endpoint calls a function and says that it did its work.
ValueDictionary requestWith(std::function<void(int, std::uint64_t)> truncate) {
  class Connection final : public TruncationConnection {
   public:
    explicit Connection(std::function<void(int, std::uint64_t)> call) : call_(std::move(call)) {}
    std::optional<std::string> truncate(int fd, std::uint64_t size) override {
      call_(fd, size);
      return std::nullopt;
    }

   private:
    std::function<void(int, std::uint64_t)> call_;
  };
  ValueDictionary request([truncate](int) { return std::make_unique<Connection>(truncate); });
  request.set(key::kTruncateConnection, BorrowedFd{0});
  return request;
}

TEST(WithStream, LimitsTheTimeOfThePlanAndNotOfTheCommit) {
  const StreamFile file(patternOf(100));
  long atTheCommit = -1;
  const auto request = requestWith([&](int, std::uint64_t) { atTheCommit = cpuSecondsLeft(); });
  EXPECT_TRUE(withStream(UniqueFd(file.open()), "name", request, [](StagedStream& stream) {
    EXPECT_NEAR(cpuSecondsLeft(), kMaxPlanningSeconds, 1);
    stream.truncate(50);
    return true;
  }));
  EXPECT_EQ(atTheCommit, 0);
}

TEST(CpuLimitDeathTest, EndsTheProcess) {
  EXPECT_EXIT(
      {
        std::signal(SIGPROF, SIG_DFL);
        const CpuLimit limit(1);
        while (cpuSecondsLeft() >= 0) {
        }
      },
      testing::KilledBySignal(SIGPROF), "");
}

TEST(WithStream, ReleasesTheRoomThatItDoesNotUse) {
  const int fd = ::memfd_create("file", MFD_ALLOW_SEALING);
  const UniqueFd kept(::dup(fd));
  ASSERT_EQ(::write(fd, "old", 3), 3);
  ASSERT_EQ(::fcntl(fd, F_ADD_SEALS, F_SEAL_WRITE), 0);  // which permits reservations
  const auto blocks = [&kept] {
    struct stat status {};
    ::fstat(kept.get(), &status);
    return status.st_blocks;
  };
  const auto before = blocks();
  EXPECT_FALSE(withStream(UniqueFd(fd), "name", ValueDictionary(), [](StagedStream& stream) {
    stream.truncate(1 << 20);
    return true;
  }));
  EXPECT_EQ(blocks(), before);
}

TEST(WithStream, DoesNotTrustAPlayerThatSaysItHasTruncated) {
  const StreamFile file(patternOf(100));
  const auto request = requestWith([](int, std::uint64_t) {});
  const std::uint64_t lost = lostWrites();
  EXPECT_TRUE(withStream(UniqueFd(file.open()), "name", request, [](StagedStream& stream) {
    stream.truncate(50);
    return true;
  }));
  EXPECT_EQ(lostWrites(), lost + 1);
}

TEST(WithStream, DropsThePlanOfAnOperationThatFails) {
  const std::string before = patternOf(1000);
  const StreamFile file(before);
  const auto failing = [](StagedStream& stream) {
    stream.insert(vectorOf("front"), 0, 0);
    return false;
  };
  EXPECT_FALSE(withStream(UniqueFd(file.open()), "name", ValueDictionary(), failing));
  EXPECT_EQ(file.bytes(), before);
}

TEST(WithStream, AllowsTwiceTheRequestAndPadding) {
  const auto fits = [](const ValueDictionary& request, std::uint64_t growth) {
    const StreamFile file("x");
    return withStream(UniqueFd(file.open()), "name", request, [growth](StagedStream& stream) {
      stream.truncate(static_cast<long>(1 + growth));
      return true;
    });
  };
  constexpr std::uint64_t kPadding = 16 << 20;
  const std::vector<std::byte> image(1000);
  ValueDictionary artwork;
  artwork.set(key::kArtwork, std::span(image));
  ValueDictionary track;
  track.set("lyrics", std::string(3000, 'x'));
  track.set("title", std::string(5000, 'x'));
  ValueDictionary change;
  change.set(key::kChangedTag, std::string("lyrics"));
  change.set(key::kTrack, track);
  EXPECT_TRUE(fits(ValueDictionary(), kPadding));
  EXPECT_FALSE(fits(ValueDictionary(), kPadding + 1));
  EXPECT_TRUE(fits(artwork, kPadding + 2000));
  EXPECT_FALSE(fits(artwork, kPadding + 2001));
  EXPECT_TRUE(fits(change, kPadding + 6000));
  EXPECT_FALSE(fits(change, kPadding + 6001));
}

/// What an edit of a sealed file returns: one that writes in the middle and changes the length.
struct Outcome {
  bool result;
  bool lost;
  bool untouched;
  bool operator==(const Outcome&) const = default;
};

Outcome editSealed(int seal, long growth) {
  const std::string before = patternOf(1000);
  const int fd = ::memfd_create("file", MFD_ALLOW_SEALING);
  const UniqueFd kept(::dup(fd));
  EXPECT_EQ(::write(fd, before.data(), before.size()), 1000);
  EXPECT_EQ(::fcntl(fd, F_ADD_SEALS, seal), 0);
  const std::uint64_t lost = lostWrites();
  const bool result =
      withStream(UniqueFd(fd), "name", ValueDictionary(), [growth](StagedStream& stream) {
        stream.seek(500);
        stream.writeBlock(vectorOf("other"));
        stream.truncate(1000 + growth);
        return true;
      });
  std::string after(2000, '\0');
  after.resize(static_cast<std::size_t>(::pread(kept.get(), after.data(), after.size(), 0)));
  return {result, lostWrites() != lost, after == before};
}

TEST(WithStream, TellsRefusedFromLost) {
  constexpr Outcome kRefused = {false, false, true};
  constexpr Outcome kWritten = {true, false, false};
  constexpr Outcome kLost = {true, true, false};
  EXPECT_EQ(editSealed(F_SEAL_GROW, 100), kRefused);
  EXPECT_EQ(editSealed(F_SEAL_WRITE, 0), kRefused);
  EXPECT_EQ(editSealed(F_SEAL_WRITE, -100), kRefused);
  EXPECT_EQ(editSealed(F_SEAL_SHRINK, 100), kWritten);
  EXPECT_EQ(editSealed(F_SEAL_SHRINK, -100), kLost);
}

TEST(WithStream, TellsAnExceptionAfterTheFirstOverwrittenByteFromOneBefore) {
  const std::string before = patternOf(1000);
  for (const bool overwrites : {false, true}) {
    const StreamFile file(before);
    const auto request =
        requestWith([](int, std::uint64_t) { throw std::runtime_error("memory"); });
    const std::uint64_t lost = lostWrites();
    const bool result =
        withStream(UniqueFd(file.open()), "name", request, [&](StagedStream& stream) {
          if (overwrites) stream.writeBlock(vectorOf("other"));
          stream.truncate(500);
          return true;
        });
    EXPECT_EQ(result, overwrites);
    EXPECT_EQ(lostWrites() - lost, overwrites ? 1 : 0);
    EXPECT_EQ(file.bytes() == before, !overwrites);
  }
}

}  // namespace
}  // namespace tagwriter::test
