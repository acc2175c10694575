// What becomes of an ID3v2 picture when memory runs out.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "artwork/picture_stores.h"
#include "tests/artwork/stored_pictures.h"
#include "tests/support/log_capture.h"

// Present when the leak checker is.
extern "C" {
[[gnu::weak]] void __lsan_disable();
[[gnu::weak]] void __lsan_enable();
}

namespace {

/// How many allocations still work before one fails; negative when none is going to.
thread_local int allocationsLeft = -1;

bool isToFail() {
  return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

}  // namespace

// The whole program's, so that the library's allocations fail as well.
void* operator new(std::size_t size) {
  void* memory = isToFail() ? nullptr : std::malloc(size ? size : 1);
  if (!memory) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace tagwriter::test {
namespace {

/// For its life, leaks are not looked for.
class LeakCheckPause {
 public:
  LeakCheckPause() {
    if (__lsan_disable) __lsan_disable();
  }
  ~LeakCheckPause() {
    if (__lsan_enable) __lsan_enable();
  }
  LeakCheckPause(const LeakCheckPause&) = delete;
  LeakCheckPause& operator=(const LeakCheckPause&) = delete;
};

TEST(ID3v2Artwork, IsRefusedWithALogLineWhenMemoryRunsOut) {
  const TagLib::String mimeType("image/png");
  const TagLib::ByteVector image("image");
  // The library's constructors and lists lose what they hold when an allocation fails in them. What
  // they do while they remove a frame is worse, so there is none to remove here.
  const LeakCheckPause pause;
  int failures = 0;
  for (int allocations = 0;; ++allocations) {
    SCOPED_TRACE(allocations);
    ASSERT_LT(allocations, 1000);
    TagLib::ID3v2::Tag tag;
    const LogCapture log;
    allocationsLeft = allocations;
    const bool result = setID3v2Artwork(tag, mimeType, image, true);
    const bool failed = allocationsLeft < 0;
    allocationsLeft = -1;
    if (result) {
      EXPECT_FALSE(failed);
      EXPECT_EQ(log.text(), "");
      EXPECT_EQ(picturesOf(tag), Pictures{frontCover(Family::kID3v2, 1, "image")});
      break;
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(log.text(), "Error allocating memory for new AttachedPictureFrame\n");
    ++failures;
  }
  EXPECT_GT(failures, 3);
}

}  // namespace
}  // namespace tagwriter::test
