#include "client/extended_attributes.h"

#include <sys/types.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tagwriter {
namespace {

/// Returns the value of an extended attribute; nullopt, with errno set, if it cannot be read.
std::optional<std::string> attributeOf(int fd, const char* name) {
  const ssize_t size = ::fgetxattr(fd, name, nullptr, 0);
  if (size < 0) return std::nullopt;
  // A zero-size buffer would only query the size.
  std::string value(static_cast<std::size_t>(size) + 1, '\0');
  const ssize_t read = ::fgetxattr(fd, name, value.data(), value.size());
  if (read < 0) return std::nullopt;
  value.resize(static_cast<std::size_t>(read));
  return value;
}

/// Skips attributes that already match: some are inherited correctly and cannot be set.
bool copyAttribute(int from, int to, const char* name) {
  const auto value = attributeOf(from, name);
  return value && (attributeOf(to, name) == value ||
                   ::fsetxattr(to, name, value->data(), value->size(), 0) == 0);
}

/// Returns the names of all extended attributes; nullopt, with errno set, if listing fails.
std::optional<std::vector<std::string>> attributeNames(int fd) {
  const ssize_t size = ::flistxattr(fd, nullptr, 0);
  if (size < 0 && errno == ENOTSUP) return std::vector<std::string>();
  if (size < 0) return std::nullopt;
  std::string list(static_cast<std::size_t>(size) + 1, '\0');
  const ssize_t read = ::flistxattr(fd, list.data(), list.size());
  if (read < 0) return std::nullopt;
  list.resize(static_cast<std::size_t>(read));
  std::vector<std::string> names;
  for (std::size_t at = 0; at < list.size(); at += names.back().size() + 1) {
    names.emplace_back(list.c_str() + at);
  }
  return names;
}

}  // namespace

bool copyExtendedAttributes(int from, int to) {
  const auto wanted = attributeNames(from);
  const auto inherited = attributeNames(to);
  if (!wanted || !inherited) return false;
  for (const std::string& name : *inherited) {
    const bool keep = std::find(wanted->begin(), wanted->end(), name) != wanted->end();
    // ENODATA: listed under two names, and already removed under the other.
    if (!keep && ::fremovexattr(to, name.c_str()) != 0 && errno != ENODATA) return false;
  }
  return std::all_of(wanted->begin(), wanted->end(), [&](const std::string& name) {
    return copyAttribute(from, to, name.c_str());
  });
}

}  // namespace tagwriter
