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

/// For GoogleTest's messages.
std::ostream& operator<<(std::ostream& out, const FileState& state);

/// Reads the state of a file; does not follow a symbolic link, except for the content.
FileState stateOf(const std::string& path);

/// Waits until a new change gets a later ctime than that of `path`: the clock for files may advance
/// in steps of several milliseconds.
void waitForLaterTime(const std::string& path);

/// The names in a directory, hidden ones included, sorted.
std::vector<std::string> namesIn(const std::filesystem::path& directory);

/// A file capability (to open raw sockets, say): every write to the file clears it.
std::string capability();
inline constexpr char kCapability[] = "security.capability";

/// An access list that lets the user `uid` read, as an extended attribute.
std::string accessListFor(uid_t uid);
inline constexpr char kAccessList[] = "system.posix_acl_access";
inline constexpr char kDefaultAccessList[] = "system.posix_acl_default";

/// Sets an extended attribute; false if that is not supported or not permitted.
bool setAttribute(const std::string& path, const char* name, const std::string& value);

/// Sets the times of access and of modification.
void setTimes(const std::string& path, timespec accessed, timespec modified);

/// Makes a sparse file of this size, without content.
void makeSparse(const std::string& path, std::uint64_t size);

}  // namespace tagwriter::test
