// Everything about a file that an edit may or may not change.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace tagwriter::test {

struct FileState {
  std::string bytes;
  ino_t inode = 0;
  mode_t mode = 0;
  uid_t owner = 0;
  gid_t group = 0;
  std::int64_t modified = 0;                      ///< nanoseconds
  std::map<std::string, std::string> attributes;  ///< extended

  bool operator==(const FileState&) const = default;
};

/// All bytes of a file, however many.
std::string bytesOf(const std::string& path);

/// What GoogleTest says of a state in which something is wrong.
std::ostream& operator<<(std::ostream& out, const FileState& state);

/// Reads the state of the file itself, no symbolic link followed for anything but the content.
FileState stateOf(const std::string& path);

/// Waits until a change of a file gets a later time than the last change of `path`: the clock for
/// files may go in steps of some milliseconds.
void waitForLaterTime(const std::string& path);

/// The names in a directory, hidden ones included, sorted.
std::vector<std::string> namesIn(const std::filesystem::path& directory);

/// The program's mark that lets it open network sockets: one that every write takes away.
std::string capability();
inline constexpr char kCapability[] = "security.capability";

/// The extended attribute that holds an access list which lets the user `uid` read.
std::string accessListFor(uid_t uid);
inline constexpr char kAccessList[] = "system.posix_acl_access";
inline constexpr char kDefaultAccessList[] = "system.posix_acl_default";

/// Sets an extended attribute; false when the file system has none.
bool setAttribute(const std::string& path, const char* name, const std::string& value);

/// Sets the times of access and of modification.
void setTimes(const std::string& path, timespec accessed, timespec modified);

/// Makes a file without content that is `size` bytes long and takes no room on the disk.
void makeSparse(const std::string& path, std::uint64_t size);

}  // namespace tagwriter::test
