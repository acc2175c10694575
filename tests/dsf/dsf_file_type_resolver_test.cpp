// Which names open as DSF files, and that a stream's name is never opened.
#include "dsf/dsf_file_type_resolver.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <tbytevectorstream.h>

#include <memory>

#include "dsf/dsf_file.h"
#include "tests/dsf/dsf_bytes.h"
#include "tests/dsf/open_dsf.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

using TagLib::DSFFileTypeResolver;

/// A DSF file of no length under a name.
class NamedStream : public TagLib::ByteVectorStream {
 public:
  explicit NamedStream(const char* name) : ByteVectorStream(TagLib::ByteVector()), name_(name) {}
  TagLib::FileName name() const override { return name_; }

 private:
  const char* name_;
};

bool acceptsName(const char* name) {
  const std::unique_ptr<TagLib::File> file(DSFFileTypeResolver().createFile(name));
  EXPECT_TRUE(!file || dynamic_cast<TagLib::DSF::File*>(file.get()));
  return file != nullptr;
}

bool acceptsStream(const char* name) {
  NamedStream stream(name);
  const std::unique_ptr<TagLib::File> file(DSFFileTypeResolver().createFileFromStream(&stream));
  EXPECT_TRUE(!file || dynamic_cast<TagLib::DSF::File*>(file.get()));
  return file != nullptr;
}

TEST(DsfFileTypeResolverTest, AcceptsTheExtensionInAnyCase) {
  for (const char* name : {"a.dsf", "a.DSF", "A.Dsf", "a.dSf", "a.dsF", "/music/song.DSF", "..dsf",
                           "a.mp3.dsf", "/.dsf", "ä.dsf"}) {
    EXPECT_TRUE(acceptsName(name)) << name;
    EXPECT_TRUE(acceptsStream(name)) << name;
  }
}

TEST(DsfFileTypeResolverTest, RefusesEveryOtherName) {
  for (const char* name : {".dsf", ".DSF", "", "f", "sf", "dsf", "x.dsff", "x.dsf.", "x.dsf ",
                           "x.dff", "xxdsf", "x.mp3", "x.dsx", "x.esf", "x\016dsf", "dsf.x"}) {
    EXPECT_FALSE(acceptsName(name)) << name;
    EXPECT_FALSE(acceptsStream(name)) << name;
  }
  EXPECT_FALSE(acceptsName(nullptr));
  EXPECT_FALSE(acceptsStream(nullptr));
}

TEST(DsfFileTypeResolverTest, PassesOnWhetherPropertiesAreWanted) {
  const std::string path = dataFile("dsf_tagged.dsf");
  NamedStream foreign("a.dsf");
  for (const bool wanted : {false, true}) {
    const std::unique_ptr<TagLib::File> named(
        DSFFileTypeResolver().createFile(path.c_str(), wanted));
    ASSERT_NE(named, nullptr);
    EXPECT_EQ(named->audioProperties() != nullptr, wanted);

    TagLib::FDFileStream stream(openFile(path, O_RDONLY).release(), path.c_str(), nullptr);
    const std::unique_ptr<TagLib::File> streamed(
        DSFFileTypeResolver().createFileFromStream(&stream, wanted));
    ASSERT_NE(streamed, nullptr);
    EXPECT_EQ(streamed->audioProperties() != nullptr, wanted);
  }
}

class DsfFileRefTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    static const DSFFileTypeResolver resolver;
    static const auto* registered = TagLib::FileRef::addFileTypeResolver(&resolver);
    ASSERT_EQ(registered, &resolver);
  }

  /// Edits the DSF file at `path` through a stream that goes by another name.
  static void editUnderTheName(const std::string& name, const std::string& path) {
    TagLib::FDFileStream stream(openFile(path).release(), name.c_str(), nullptr);
    TagLib::FileRef file(&stream);
    ASSERT_FALSE(file.isNull());
    EXPECT_NE(dynamic_cast<TagLib::DSF::File*>(file.file()), nullptr);
    EXPECT_EQ(file.tag()->title().to8Bit(true), "");
    file.tag()->setTitle("through the stream");
    EXPECT_TRUE(file.save());
  }

  TemporaryDirectory directory;
  const std::string plain = directory.copyOf("dsf_plain.dsf", "the file itself");
};

TEST_F(DsfFileRefTest, NeverOpensTheNameOfAStream) {
  const std::string decoy = directory.copyOf("dsf_tagged.dsf", "decoy.dsf");
  const std::string decoyBefore = readFile(decoy);

  const UniqueFd watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  ASSERT_TRUE(watch);
  ASSERT_GE(::inotify_add_watch(watch.get(), decoy.c_str(), IN_ALL_EVENTS), 0);
  char event[512];
  editUnderTheName(decoy, plain);
  EXPECT_EQ(::read(watch.get(), event, sizeof event), -1) << "the path was touched";

  EXPECT_EQ(readFile(decoy), decoyBefore);
  EXPECT_GT(::read(watch.get(), event, sizeof event), 0) << "the watch saw nothing at all";
  EXPECT_EQ(OpenDsf(plain).file.tag()->title().to8Bit(true), "through the stream");
}

TEST_F(DsfFileRefTest, NeedsNoFileOfTheStreamsName) {
  const std::string absent = directory.path() / "absent.DSF";
  editUnderTheName(absent, plain);
  EXPECT_FALSE(std::filesystem::exists(absent));
  EXPECT_EQ(OpenDsf(plain).file.tag()->title().to8Bit(true), "through the stream");
}

TEST_F(DsfFileRefTest, OpensAPathByItsName) {
  const TagLib::FileRef file(directory.copyOf("dsf_tagged.dsf").c_str());
  ASSERT_FALSE(file.isNull());
  EXPECT_EQ(file.tag()->title().to8Bit(true), "Rising Tone");
  EXPECT_EQ(file.audioProperties()->sampleRate(), 2822400);
}

TEST_F(DsfFileRefTest, IsNullOverAFileThatIsNoDsfFile) {
  const std::string path = directory.write("text.dsf", "no audio at all");
  TagLib::FDFileStream stream(openFile(path).release(), path.c_str(), nullptr);
  EXPECT_TRUE(TagLib::FileRef(&stream).isNull());
}

TEST_F(DsfFileRefTest, LeavesOtherNamesToTheLibrary) {
  const std::string path = directory.copyOf("mp3_plain.mp3");
  TagLib::FDFileStream stream(openFile(path).release(), path.c_str(), nullptr);
  const TagLib::FileRef file(&stream);
  ASSERT_FALSE(file.isNull());
  EXPECT_EQ(dynamic_cast<TagLib::DSF::File*>(file.file()), nullptr);
}

}  // namespace
}  // namespace tagwriter::test
