#include "tests/client/file_state.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <utility>

#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

std::map<std::string, std::string> attributesOf(const std::string& path) {
  std::string names(64 << 10, '\0');
  const ssize_t listed = ::llistxattr(path.c_str(), names.data(), names.size());
  std::map<std::string, std::string> attributes;
  for (const char* name = names.c_str(); name < names.c_str() + listed;
       name += std::strlen(name) + 1) {
    std::string value(64 << 10, '\0');
    const ssize_t size = ::lgetxattr(path.c_str(), name, value.data(), value.size());
    EXPECT_GE(size, 0) << path << ": " << name;
    value.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    attributes[name] = value;
  }
  return attributes;
}

template <typename Number>
void append(std::string& bytes, Number number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const FileState& state) {
  return out << state.bytes.size() << " bytes, inode " << state.inode << ", mode " << state.mode
             << ", owner " << state.owner << ':' << state.group << ", modified " << state.modified
             << ", " << state.attributes.size() << " attributes";
}

FileState stateOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  FileState state;
  state.bytes = readFile(path);
  state.inode = status.st_ino;
  state.mode = status.st_mode;
  state.owner = status.st_uid;
  state.group = status.st_gid;
  state.modified = std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
  state.attributes = attributesOf(path);
  return state;
}

void waitForLaterTime(const std::string& path) {
  const auto changed = [](const std::string& file) {
    struct stat status {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0) << file;
    return std::pair(status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
  };
  const TemporaryDirectory directory;
  while (changed(directory.write("clock", "tick")) <= changed(path)) {
  }
}

std::vector<std::string> namesIn(const std::filesystem::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string capability() {
  std::string bytes;  // version 2 and "effective"; then permitted and inheritable, twice
  for (const std::uint32_t word : {0x0200'0001U, 1U << 10, 0U, 0U, 0U}) append(bytes, word);
  return bytes;
}

std::string accessListFor(uid_t uid) {
  struct Entry {
    std::uint16_t tag, permissions;
    std::uint32_t id;
  };
  constexpr std::uint32_t kNobody = 0xffffffff;
  std::string list;
  append(list,
         std::uint32_t{2});  // version; then owner, user, group, mask, others (linux/posix_acl.h)
  for (const Entry& entry : {Entry{1, 6, kNobody},
                             {2, 4, uid},
                             {4, 4, kNobody},
                             {0x10, 4, kNobody},
                             {0x20, 0, kNobody}}) {
    append(list, entry);
  }
  return list;
}

bool setAttribute(const std::string& path, const char* name, const std::string& value) {
  return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

void setTimes(const std::string& path, timespec accessed, timespec modified) {
  const timespec times[] = {accessed, modified};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

void makeSparse(const std::string& path, std::uint64_t size) {
  std::ofstream(path, std::ios::binary);
  std::filesystem::resize_file(path, size);
}

}  // namespace tagwriter::test
