// The five fields that every format knows: title, artist, album, genre, year.
//
// They go through the tag library's generic file reference and tag, so the frame, atom or field
// that carries them is the library's choice for the format. The library finds the format by the
// stream's name first and by content second: an MP3 named ".xyz" takes a title.
//
// Each writer takes `fd` over and closes it; `path` (UTF-8, never opened, may be null) names the
// stream; `request` is borrowed. Each returns whether the save succeeded; a file that the library
// cannot read is logged and gives false. Exceptions of the library pass through.
#pragma once

#include <cstdint>

#include "protocol/dictionary.h"

namespace tagwriter {

/// Sets the title to `value` (UTF-8), or clears it when null.
bool writeTitle(int fd, const char* path, const char* value, const Dictionary& request);
/// Sets the artist to `value` (UTF-8), or clears it when null.
bool writeArtist(int fd, const char* path, const char* value, const Dictionary& request);
/// Sets the album to `value` (UTF-8), or clears it when null.
bool writeAlbum(int fd, const char* path, const char* value, const Dictionary& request);
/// Sets the genre to `value` (UTF-8), or clears it when null.
bool writeGenre(int fd, const char* path, const char* value, const Dictionary& request);
/// Sets the year to the low 32 bits of `value`, unsigned; 0 clears it.
bool writeYear(int fd, const char* path, std::int64_t value, const Dictionary& request);

}  // namespace tagwriter
