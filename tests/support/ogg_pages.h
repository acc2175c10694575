// Ogg files page by page (RFC 3533), for taking the headers of a real file apart.
#pragma once

#include <string>
#include <vector>

namespace tagwriter::test {

/// One page. The numbers of the header that nobody changes stay in `header`.
struct OggPage {
  std::string header;  ///< 26 bytes before the segment table; checksum and number are recomputed
  std::string body;    ///< one whole packet, or what the encoder put on a page of audio
  std::string segments;
};

/// All pages of the file in `bytes`.
std::vector<OggPage> oggPages(const std::string& bytes);

/// A page like `model` with `packet`, shorter than 64 KiB, as its only one.
OggPage oggPage(const OggPage& model, const std::string& packet);

/// The file that these pages make, numbered in this order and with their checksums.
std::string oggFile(const std::vector<OggPage>& pages);

}  // namespace tagwriter::test
