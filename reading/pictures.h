// Lists the pictures in a file of any format.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reading/image_info.h"

namespace tagwriter {

/// One embedded picture.
struct PictureInfo {
  std::string role;      ///< for example "Front Cover"; empty if the format does not store it
  std::string mimeType;  ///< from the tag, or else from the image's first bytes; may be empty
  std::size_t size;      ///< in bytes
  std::optional<Dimensions> dimensions;
};

/// Lists the pictures in the file `fd`, which is borrowed (its offset changes). `path` determines
/// the format and is not opened. Empty if there are none or the file cannot be read.
std::vector<PictureInfo> readPictures(int fd, const std::string& path);

}  // namespace tagwriter
