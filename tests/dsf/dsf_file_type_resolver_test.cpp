// Which names open as DSF files, and that a stream's name is never opened.
#include "dsf/dsf_file_type_resolver.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <tbytevectorstream.h>
#include <unistd.h>

#include <memory>

#include "tests/dsf/dsf_bytes.h"

namespace tagwriter::test {
namespace {

using TagLib::DSFFileTypeResolver;

/// A stream with this name, over these bytes.
class NamedStream : public TagLib::ByteVectorStream {
 public:
  explicit NamedStream(const char* name, const std::string& bytes = {})
      : ByteVectorStream(vectorOf(bytes)), name_(name) {}
  TagLib::FileName name() const override { return name_; }

 private:
  const char* name_;
};

void expectOpened(const char* name, bool expected) {
  SCOPED_TRACE(name ? name : "null");
  NamedStream stream(name);
  const DSFFileTypeResolver resolver;
  const std::unique_ptr<TagLib::File> files[] = {
      std::unique_ptr<TagLib::File>(resolver.createFile(name)),
      std::unique_ptr<TagLib::File>(resolver.createFileFromStream(&stream))};
  for (const auto& file : files) {
    EXPECT_EQ(dynamic_cast<TagLib::DSF::File*>(file.get()) != nullptr, expected);
    EXPECT_EQ(file != nullptr, expected);
  }
}

TEST(DsfFileTypeResolver, OpensNamesThatEndInItsExtension) {
  for (const char* name : {"a.dsf", "a.DSF", "A.Dsf", "a.dSf", "/music/song.DSF", "..dsf",
                           "a.mp3.dsf", "/.dsf", "ä.dsf"}) {
    expectOpened(name, true);
  }
  for (const char* name :
       {".dsf", ".DSF", "", "f", "dsf", "x.dsff", "x.dsf.", "x.dsf ", "x.dff", "xxdsf", "x.mp3",
        "x.dsx", "x.esf", "x\016dsf", "dsf.x", static_cast<const char*>(nullptr)}) {
    expectOpened(name, false);
  }
}

TEST(DsfFileTypeResolver, PassesOnWhetherPropertiesAreWanted) {
  const std::string path = dataFile("dsf_tagged.dsf");
  for (const bool wanted : {false, true}) {
    TagLib::FDFileStream stream(openFile(path, O_RDONLY).release(), path.c_str(), nullptr);
    const DSFFileTypeResolver resolver;
    const std::unique_ptr<TagLib::File> named(resolver.createFile(path.c_str(), wanted));
    const std::unique_ptr<TagLib::File> streamed(resolver.createFileFromStream(&stream, wanted));
    ASSERT_TRUE(named && streamed);
    EXPECT_EQ(named->audioProperties() != nullptr, wanted);
    EXPECT_EQ(streamed->audioProperties() != nullptr, wanted);
  }
}

class DsfFileRef : public testing::Test {
 protected:
  DsfFileRef() { TagLib::registerDSFFileTypeResolver(); }

  /// Edits the DSF file at `path` through a stream with another name.
  void editUnderTheName(const std::string& name) {
    {
      TagLib::FDFileStream stream(openFile(plain_).release(), name.c_str(), nullptr);
      TagLib::FileRef file(&stream);
      ASSERT_FALSE(file.isNull());
      file.tag()->setTitle("through the stream");
      EXPECT_TRUE(file.save());
    }
    EXPECT_EQ(OpenDsf(plain_).title(), "through the stream");
  }

  TemporaryDirectory directory_;
  const std::string plain_ = directory_.copyOf("dsf_plain.dsf", "the file itself");
};

TEST_F(DsfFileRef, NeverOpensTheNameOfAStream) {
  const std::string decoy = directory_.copyOf("dsf_tagged.dsf", "decoy.dsf");
  const UniqueFd watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  ASSERT_GE(::inotify_add_watch(watch.get(), decoy.c_str(), IN_ALL_EVENTS), 0);
  char event[512];
  editUnderTheName(decoy);
  EXPECT_EQ(::read(watch.get(), event, sizeof event), -1) << "the path was touched";
  readFile(decoy);
  EXPECT_GT(::read(watch.get(), event, sizeof event), 0) << "the watch works";

  editUnderTheName(directory_.path() / "absent.DSF");
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "absent.DSF"));
}

/// TagLib 2 has a class with the name of ours. It recognizes the content of a stream whose name is
/// not for the resolver.
TEST_F(DsfFileRef, GetsOurClassAndDoesNotTakeTheOneOfTagLibForIt) {
  const std::string bytes = readFile(dataFile("dsf_tagged.dsf"));
  NamedStream named("song.dsf", bytes);
  NamedStream unnamed("song", bytes);
  const TagLib::FileRef ours(&named);
  const TagLib::FileRef theirs(&unnamed);
  EXPECT_NE(dynamic_cast<TagLib::DSF::File*>(ours.file()), nullptr);
  EXPECT_EQ(theirs.isNull(), TAGLIB_MAJOR_VERSION == 1);
  EXPECT_EQ(dynamic_cast<TagLib::DSF::File*>(theirs.file()), nullptr);
  if (theirs.isNull()) return;
  EXPECT_EQ(theirs.tag()->title(), ours.tag()->title());
  EXPECT_EQ(dynamic_cast<TagLib::DSF::Properties*>(theirs.audioProperties()), nullptr);
}

TEST_F(DsfFileRef, OpensDsfFilesOnly) {
  TagLib::registerDSFFileTypeResolver();  // once more makes no difference
  const TagLib::FileRef file(dataFile("dsf_tagged.dsf").c_str());
  ASSERT_FALSE(file.isNull());
  EXPECT_EQ(file.tag()->title().to8Bit(true), "Rising Tone");

  const std::string text = directory_.write("text.dsf", "no audio at all");
  EXPECT_TRUE(TagLib::FileRef(text.c_str()).isNull());
  const TagLib::FileRef mp3(dataFile("mp3_plain.mp3").c_str());
  ASSERT_FALSE(mp3.isNull());
  EXPECT_EQ(dynamic_cast<TagLib::DSF::File*>(mp3.file()), nullptr);
}

}  // namespace
}  // namespace tagwriter::test
