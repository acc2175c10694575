#include "fuzz/message_builder.h"

#include <unistd.h>

#include <cstring>
#include <map>
#include <optional>

#include "fuzz/loose_message.h"
#include "protocol/keys.h"
#include "transport/dbus/dictionary_codec.h"
#include "transport/dbus/names.h"

namespace tagwriter::fuzz {
namespace {

constexpr const char* kKeys[] = {key::kFd,         key::kPath,  key::kArtwork, key::kArtworkType,
                                 key::kChangedTag, key::kTrack, "title",       ""};
constexpr int kMaxBuilt = dbus::kMaxNesting + 2;
constexpr std::size_t kMaxEntries = 5;

/// Builds one dictionary, and what it decodes to: an entry without a text is not decoded.
class Builder {
 public:
  Builder(sd_bus_message* message, Input& input) : message_(message), input_(input) {}

  std::string dictionary(int level) {
    open(SD_BUS_TYPE_ARRAY, "{sv}");
    std::map<std::string, std::string> texts;
    for (std::size_t count = input_.byte() % (kMaxEntries + 1); count > 0; --count) {
      const char* name = input_.oneOf(kKeys);
      open(SD_BUS_TYPE_DICT_ENTRY, "sv");
      append("s", name);
      if (const auto text = value(name, level)) {
        texts[name] = *text;
      } else {
        texts.erase(name);
      }
      close();
    }
    close();
    std::string text = "{";
    for (const auto& [name, contents] : texts) {
      text.append("k")
          .append(std::to_string(name.size()))
          .append(":")
          .append(name)
          .append(contents);
    }
    return text + "}";
  }

 private:
  void open(char type, const char* contents) {
    promise(sd_bus_message_open_container(message_, type, contents) >= 0, "a container opens");
  }
  void close() { promise(sd_bus_message_close_container(message_) >= 0, "a container closes"); }
  template <typename... Values>
  void append(const char* types, Values... values) {
    promise(sd_bus_message_append(message_, types, values...) >= 0, "a value can be appended");
  }

  /// A variant; returns the text of what it decodes to, if it is decoded.
  std::optional<std::string> value(std::string_view name, int level) {
    switch (input_.byte() % 16) {
      case 0:
        return string();
      case 1:
        return bytes();
      case 2:
        return flag();
      case 3:
        return real();
      case 4:
        append("v", "h", STDERR_FILENO);
        return "h";
      case 5:
        return integer<std::uint8_t>("y");
      case 6:
        return integer<std::int16_t>("n");
      case 7:
        return integer<std::uint16_t>("q");
      case 8:
        return integer<std::int32_t>("i");
      case 9:
        return integer<std::uint32_t>("u");
      case 10:
        return integer<std::int64_t>("x");
      case 11:
        return integer<std::uint64_t>("t");
      case 12:
      case 13:
        return nested(level);
      case 14:
        return list(level);
      default:
        return other(name);
    }
  }

  std::string string() {
    std::string text(input_.bytes(input_.byte()));
    for (char& c : text) c = static_cast<char>(1 + static_cast<unsigned char>(c) % 127);
    append("v", "s", text.c_str());
    return "s" + std::to_string(text.size()) + ":" + text;
  }

  std::string bytes() {
    const std::string_view data = input_.bytes(input_.number(2) % 2000);
    open(SD_BUS_TYPE_VARIANT, "ay");
    promise(sd_bus_message_append_array(message_, 'y', data.data(), data.size()) >= 0, "bytes fit");
    close();
    return "y" + std::to_string(data.size()) + ":" + std::string(data);
  }

  std::string flag() {
    const int value = input_.byte() % 2;
    append("v", "b", value);
    return value ? "b1" : "b0";
  }

  std::string real() {
    const std::uint64_t bits = input_.number(8);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    append("v", "d", value);
    return "d" + std::to_string(bits);
  }

  template <typename Number>
  std::string integer(const char* type) {
    const auto number = static_cast<Number>(input_.number(sizeof(Number)));
    append("v", type, number);
    return (*type == 't' ? "t" : "x") + std::to_string(number);
  }

  std::optional<std::string> nested(int level) {
    if (level >= kMaxBuilt) return flag();
    open(SD_BUS_TYPE_VARIANT, dbus::kDictionarySignature);
    std::string text = dictionary(level + 1);
    close();
    return level < dbus::kMaxNesting ? std::optional(text) : std::nullopt;
  }

  /// The dictionaries in it are one level below the list, which counts as this level.
  std::optional<std::string> list(int level) {
    if (level >= kMaxBuilt) return flag();
    open(SD_BUS_TYPE_VARIANT, dbus::kListSignature);
    open(SD_BUS_TYPE_ARRAY, dbus::kDictionarySignature);
    std::string text = "[";
    for (std::size_t count = input_.byte() % 3; count > 0; --count) text += dictionary(level + 1);
    close();
    close();
    return level < dbus::kMaxNesting ? std::optional(text + "]") : std::nullopt;
  }

  /// A type that is skipped.
  std::optional<std::string> other(std::string_view name) {
    switch (input_.byte() % 4) {
      case 0:
        append("v", "as", 2, "a", "b");
        break;
      case 1:
        append("v", "v", "s", "a");
        break;
      case 2:
        append("v", "(sa{sv})", "a", 1, "b", "x", std::int64_t{1});
        break;
      default:
        append("v", "o", name.empty() ? "/" : "/a");
    }
    return std::nullopt;
  }

  sd_bus_message* message_;
  Input& input_;
};

/// Bytes of a message, little-endian and aligned.
class Bytes {
 public:
  void align(std::size_t size) { bytes_.resize((bytes_.size() + size - 1) / size * size); }
  void number(std::size_t value) {
    align(4);
    for (int shift = 0; shift < 32; shift += 8) bytes_ += static_cast<char>(value >> shift);
  }
  /// A header field; signatures have a shorter length.
  void field(char code, char type, std::string_view text) {
    align(8);
    bytes_ += {code, 1, type, '\0'};
    if (type == 'g') {
      bytes_ += static_cast<char>(text.size());
    } else {
      number(text.size());
    }
    bytes_ += std::string(text) + '\0';
  }
  void field(char code, std::size_t value) {
    align(8);
    bytes_ += {code, 1, 'u', '\0'};
    number(value);
  }
  void append(std::string_view bytes) { bytes_ += bytes; }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace

std::string buildDictionary(sd_bus_message* message, Input& input) {
  return Builder(message, input).dictionary(1);
}

std::string callWith(std::string_view entries, bool isReader, std::size_t descriptors) {
  Bytes fields;
  fields.field(1, 'o', isReader ? dbus::kReadObject : dbus::kWriteObject);
  fields.field(2, 's', isReader ? dbus::kReadInterface : dbus::kWriteInterface);
  fields.field(3, 's', isReader ? dbus::kReadMethod : dbus::kWriteMethod);
  fields.field(8, 'g', dbus::kDictionarySignature);
  if (descriptors > 0) fields.field(9, descriptors);

  Bytes body;
  body.number(entries.size());
  body.align(8);
  body.append(entries);

  Bytes message;
  message.append({"l\1\0\1", 4});
  message.number(body.bytes().size());
  message.number(1);
  message.number(fields.bytes().size());
  message.append(fields.bytes());
  message.align(8);
  message.append(body.bytes());
  return message.bytes();
}

}  // namespace tagwriter::fuzz
