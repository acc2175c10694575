#include "tests/dsf/open_dsf.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

OpenDsf::OpenDsf(const std::string& path, int flags)
    : stream(openFile(path, flags).release(), path.c_str(), nullptr), file(&stream) {}

void OpenDsf::emptyTag() {
  auto* tag = dynamic_cast<TagLib::ID3v2::Tag*>(file.tag());
  ASSERT_NE(tag, nullptr);
  while (!tag->frameList().isEmpty()) tag->removeFrame(tag->frameList().front());
}

bool editTitle(const std::string& path, const std::string& title) {
  OpenDsf dsf(path);
  if (!dsf.file.tag()) {
    ADD_FAILURE() << "no tag in " << path;
    return false;
  }
  dsf.file.tag()->setTitle(TagLib::String(title, TagLib::String::UTF8));
  return dsf.file.save();
}

bool saveEmptied(const std::string& path) {
  OpenDsf dsf(path);
  dsf.emptyTag();
  return dsf.file.save();
}

std::string titleByMutagen(const std::string& path) {
  const std::string command = TAGWRITER_PYTHON
                              " -c 'import sys, mutagen.dsf\n"
                              "print(mutagen.dsf.DSF(sys.argv[1]).tags[\"TIT2\"], end=\"\")' '" +
                              path + "' 2>&1";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return "popen failed";
  std::string output;
  char buffer[256];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, count);
  }
  ::pclose(pipe);
  return output;
}

}  // namespace tagwriter::test
