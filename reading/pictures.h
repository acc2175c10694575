// The pictures in a file, wherever its format stores them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reading/image_info.h"

namespace tagwriter {

/// One embedded picture.
struct PictureInfo {
  std::string role;      ///< "Front Cover" and the like; empty when the format does not say
  std::string mimeType;  ///< as the tag states it, or else by the image's first bytes; may be empty
  std::size_t size;      ///< in bytes
  std::optional<Dimensions> dimensions;
};

/// Lists the pictures of the file behind `fd`, which stays the caller's (its offset moves); `path`
/// picks the format and is not opened. Empty when there are none or the file cannot be read.
std::vector<PictureInfo> readPictures(int fd, const std::string& path);

}  // namespace tagwriter
