// The ID3v2 editors that survive running out of memory: each logs its message, and the file
// is saved without the new frame.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "artwork/picture_stores.h"
#include "protocol/value_dictionary.h"
#include "tagging/field_table.h"
#include "tagging/tag_write.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

// Present when the leak checker is.
extern "C" {
[[gnu::weak]] void __lsan_disable();
[[gnu::weak]] void __lsan_enable();
}

namespace {

thread_local int allocationsMade = 0;
/// How many allocations still work before one fails; negative when none is going to.
thread_local int allocationsLeft = -1;

bool isToFail() {
  ++allocationsMade;
  return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

}  // namespace

// The whole program's, so that TagLib's allocations fail as well.
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

// TagLib's constructors and lists leak their contents if an allocation fails in them. If one fails
// while TagLib removes frames, even if there are none, it frees memory twice. So no allocation
// fails during a removal here.
class AllocationFailure : public testing::Test {
 protected:
  AllocationFailure() {
    if (__lsan_disable) __lsan_disable();
  }
  ~AllocationFailure() override {
    if (__lsan_enable) __lsan_enable();
  }

  /// Lets allocation after allocation fail in `edit`, from the one numbered `first` on, until it
  /// has failed `most` times or needs no more. It has to log `line` then and let the file be
  /// saved. Where an exception leaves `edit` before its first line, the file must not be.
  template <typename Edit>
  void check(const std::string& line, const Edit& edit, int first = 0, int most = 1000) {
    int failures = 0;
    for (int allocations = first; failures < most; ++allocations) {
      SCOPED_TRACE(allocations);
      const std::string path = directory_.copyOf("mp3_plain.mp3");
      const std::string before = readFile(path);
      const LogCapture log;
      bool failed = false;
      bool escaped = true;
      VQNTagWritingBlocks blocks;
      blocks.id3v2Block = [&](TagLib::ID3v2::Tag* tag) {
        tag->setArtist("somebody");
        struct Disarm {
          bool& failed;
          ~Disarm() {
            failed = allocationsLeft < 0;
            allocationsLeft = -1;
          }
        };
        {
          const Disarm disarm{failed};
          allocationsLeft = allocations;
          edit(*tag);
        }
        escaped = false;
      };
      const bool written = writeTagToFile(openFile(path), path.c_str(), blocks, ValueDictionary());
      EXPECT_EQ(written, !escaped);
      EXPECT_EQ(readFile(path) == before, escaped);
      if (!failed) {
        EXPECT_EQ(log.text(), "");
        EXPECT_GT(failures, 3);
        return;
      }
      if (escaped) {
        EXPECT_EQ(failures, 0);
        EXPECT_EQ(log.text(), "writeTagToFile exception: std::bad_alloc\n");
        continue;
      }
      EXPECT_EQ(log.text(), line);
      ++failures;
    }
  }

  /// check() for the editor of a field.
  void checkField(const char* key, const FieldChange& change, const std::string& line,
                  int first = 0, int most = 1000) {
    const auto editor = findFieldRow(key)->id3v2.editor(change);
    check(
        line, [&](TagLib::ID3v2::Tag& tag) { editor(&tag); }, first, most);
  }

  /// How many allocations it takes to remove no frame.
  static int allocationsOfRemoval(const char* frame) {
    TagLib::ID3v2::Tag tag;
    tag.setArtist("somebody");
    const int before = allocationsMade;
    tag.removeFrames(frame);
    return allocationsMade - before;
  }

 private:
  TemporaryDirectory directory_;
};

TEST_F(AllocationFailure, OfAText) {
  // The frame is made before the others are removed.
  checkField("composer", {.text = "A. Composer"}, "std::bad_alloc\n", 0, 4);
}

TEST_F(AllocationFailure, OfLyrics) {
  checkField("lyrics", {.text = "la la", .path = "/music/a.mp3"},
             "Error writing lyrics to track at path /music/a.mp3. std::bad_alloc\n",
             allocationsOfRemoval("USLT"));
}

TEST_F(AllocationFailure, OfARating) {
  checkField("rating", {.real = 3.5, .path = "/music/a.mp3"},
             "Error writing lyrics id3 to track at path /music/a.mp3\n",
             allocationsOfRemoval("POPM"));
}

TEST_F(AllocationFailure, OfAPicture) {
  const TagLib::String mimeType("image/png");
  const TagLib::ByteVector image("image");
  bool failed = false;
  check("Error allocating memory for new AttachedPictureFrame\n", [&](TagLib::ID3v2::Tag& tag) {
    const bool result = setID3v2Artwork(tag, mimeType, image, true);
    EXPECT_EQ(result, allocationsLeft >= 0);
    failed = failed || !result;
  });
  EXPECT_TRUE(failed);
}

}  // namespace
}  // namespace tagwriter::test
