// What compiles against the library, and what must not change in its binary interface.
#include <concepts>
#include <filesystem>
#include <initializer_list>
#include <string_view>

#include "tests/client/client_test.h"

namespace tagwriter::test {
namespace {

template <typename Value>
concept Settable = requires(TagWriter& writer, AudioFile file, Value value) {
  writer.setField(file, "title", value);
  Edit::setField("title", value);
};
template <typename Key>
concept FieldKey = requires(TagWriter& writer, TagReader& reader, AudioFile file, Key key) {
  writer.setField(file, key, 1);
  writer.clearField(file, key);
  reader.readField(file, key);
  Edit::setField(key, 1);
  Edit::clearField(key);
};
template <typename Name>
concept File =
    std::constructible_from<AudioFile, Name> && std::constructible_from<AudioFile, int, Name> &&
    std::constructible_from<TagWriter, Name> && std::constructible_from<TagReader, Name>;

template <typename Text>
constexpr bool kIsText = Settable<Text>&& FieldKey<Text>&& File<Text>;

static_assert(kIsText<const char*> && kIsText<std::string> && kIsText<std::string_view>);
static_assert(File<std::filesystem::path> && std::convertible_to<const char*, AudioFile>);
static_assert(Settable<int> && Settable<double> && Settable<bool> && Settable<TrackValue>);
static_assert(!Settable<std::nullptr_t> && !FieldKey<std::nullptr_t>);
static_assert(!std::constructible_from<AudioFile, std::nullptr_t> &&
              !std::constructible_from<AudioFile, int, std::nullptr_t> &&
              !std::constructible_from<TagWriter, std::nullptr_t> &&
              !std::constructible_from<TagReader, std::nullptr_t>);

// A program allocates these, so their sizes stay: see docs/LIBRARY.md. On 64-bit systems.
static_assert(sizeof(void*) != 8 ||
              (sizeof(Outcome) == 24 && sizeof(Edit) == 16 && sizeof(AudioFile) == 40 &&
               sizeof(TagWriter) == 8 && sizeof(TagReader) == 8 && sizeof(WriteOptions) == 72));

TEST(Interface, TakesEditsInBraces) {
  const TemporaryDirectory directory;
  const std::filesystem::path path = directory.copyOf("mp3_plain.mp3");
  TagWriter writer(std::filesystem::path(TAGWRITER_WORKER));
  TagReader reader;
  const std::string_view artist = "Artist and more";
  EXPECT_STATUS(Status::kWritten,
                writer.write(path, {Edit::setField("title", "Title"),
                                    Edit::setField("artist", artist.substr(0, 6))}));
  EXPECT_EQ(reader.readField(path, "title"), TrackValue("Title"));
  EXPECT_EQ(reader.readField(path, "artist"), TrackValue("Artist"));
  EXPECT_STATUS(Status::kWritten, writer.write(path, {Edit::clearField("title")}, {.safe = true}));
  EXPECT_EQ(reader.readField(path, "title"), std::nullopt);
  EXPECT_STATUS(Status::kWritten, writer.write(path, {}));
}

TEST(Interface, HasTheSameVersionInHeaderAndLibrary) {
  EXPECT_STREQ(version(), TAGWRITER_VERSION_STRING);
  EXPECT_EQ(std::to_string(TAGWRITER_VERSION / 10000) + "." +
                std::to_string(TAGWRITER_VERSION / 100 % 100) + "." +
                std::to_string(TAGWRITER_VERSION % 100),
            version());
}

TEST(Interface, OutcomesAreCopiedWithTheirDetails) {
  const Outcome failed(Status::kRefused, "why");
  Outcome copy = failed;
  EXPECT_EQ(copy.detail(), "why");
  copy = Outcome(Status::kNotFound);
  EXPECT_EQ(copy.detail(), "");
  EXPECT_EQ(failed.detail(), "why");
}

}  // namespace
}  // namespace tagwriter::test
