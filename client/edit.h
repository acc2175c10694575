// The changes that can be made to a file's tags.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "export.h"
#include "text.h"

namespace tagwriter {

/// The value of a field, in the type of the field: UTF-8 text, an integer, a decimal or a flag.
using TrackValue = std::variant<std::string, std::int64_t, double, bool>;

/// Formats of cover art.
enum class ImageType : std::int64_t {
  kOther = 0,
  kPNG = 1,
  kJPEG = 2,
  kTIFF = 3,
  kGIF = 4,
  kBMP = 5
};

/// Detects the format by the first bytes; kOther if it is none of the five.
TAGWRITER_API ImageType detectImageType(std::span<const std::byte> image);

/// One change to a file's tags, reusable for any number of files.
class TAGWRITER_API Edit {
 public:
  /// Sets a field. `key` is a field key ("title", "trackNumber", ...), `value` has its type. The
  /// number of discs can only be set with setDisc. An unknown key or a value of the wrong type is
  /// reported as kUnknownField when the edit is written.
  static Edit setField(Text key, const TrackValue& value);
  /// Sets a text field.
  static Edit setField(Text key, std::string_view text) {
    return setField(key, TrackValue(std::string(text)));
  }
  static Edit setField(Text key, const std::string& text) {
    return setField(key, std::string_view(text));
  }
  static Edit setField(Text key, const char* text) { return setField(key, std::string_view(text)); }
  static Edit setField(Text key, std::nullptr_t) = delete;
  /// Clears a field.
  static Edit clearField(Text key);
  /// Sets the disc number and the number of discs; 0 means unknown.
  static Edit setDisc(std::int64_t number, std::int64_t total);
  /// Sets the front cover to the encoded image `cover`, which must outlive the edit. Existing
  /// pictures are replaced if `replace` is true; otherwise a file with a picture is left unchanged
  /// (kHasPicture).
  static Edit setCover(std::span<const std::byte> cover, ImageType type, bool replace);
  /// Removes all pictures.
  static Edit clearCovers();

 private:
  friend class TagWriter;
  struct Content;
  explicit Edit(Content content);

  std::shared_ptr<const Content> content_;
};

}  // namespace tagwriter
