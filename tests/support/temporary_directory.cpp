#include "tests/support/temporary_directory.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>

namespace tagwriter::test {
namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = fs::temp_directory_path() / "tagwriter-test-XXXXXX";
  if (!::mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), pattern);
  path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryDirectory::copyOf(const std::string& name, const std::string& as) const {
  const fs::path copy = path_ / (as.empty() ? name : as);
  fs::copy_file(dataFile(name), copy, fs::copy_options::overwrite_existing);
  return copy;
}

std::string TemporaryDirectory::write(const std::string& name, const std::string& bytes) const {
  const fs::path path = path_ / name;
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

std::string dataFile(const std::string& name) {
  return fs::path(TAGWRITER_TEST_DATA) / name;
}

std::vector<std::string> audioFileNames() {
  static const std::set<std::string> kNoAudio = {"",     ".md",  ".png", ".jpg",
                                                 ".gif", ".bmp", ".tiff"};
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(TAGWRITER_TEST_DATA)) {
    const fs::path& path = entry.path();
    if (!kNoAudio.count(path.extension())) names.push_back(path.filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

UniqueFd openFile(const std::string& path) {
  return openFile(path, O_RDWR);
}

UniqueFd openFile(const std::string& path, int flags) {
  UniqueFd file(::open(path.c_str(), flags | O_CLOEXEC));
  EXPECT_TRUE(file) << path << ": " << std::strerror(errno);
  return file;
}

}  // namespace tagwriter::test
