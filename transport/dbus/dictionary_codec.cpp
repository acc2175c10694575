#include "transport/dbus/dictionary_codec.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "protocol/keys.h"
#include "transport/dbus/names.h"

namespace tagwriter::dbus {
namespace {

/// Reads one basic value; `Wire` is the C type that sd-bus uses for it.
template <typename Wire>
int readBasic(sd_bus_message* message, char type, Wire& value) {
  const int r = sd_bus_message_read_basic(message, type, &value);
  return r == 0 ? -EBADMSG : r;
}

int readBytes(sd_bus_message* message, std::span<const std::byte>& bytes) {
  const void* data = nullptr;
  std::size_t size = 0;
  const int r = sd_bus_message_read_array(message, SD_BUS_TYPE_BYTE, &data, &size);
  if (r >= 0) bytes = {static_cast<const std::byte*>(data), size};
  return r;
}

/// Reads one integer of the D-Bus type `type`; `Wire` is the C type for it.
template <typename Wire>
int readInteger(sd_bus_message* message, char type, std::optional<ValueDictionary::Value>& value) {
  Wire number = 0;
  const int r = readBasic(message, type, number);
  if (r >= 0) value = static_cast<std::int64_t>(number);
  return r;
}

/// Reads one integer, of any type that always fits into int64: bindings choose the type by the
/// number, or by the type that their language has.
int readInteger(sd_bus_message* message, char type, std::optional<ValueDictionary::Value>& value) {
  switch (type) {
    case SD_BUS_TYPE_BYTE:
      return readInteger<std::uint8_t>(message, type, value);
    case SD_BUS_TYPE_INT16:
      return readInteger<std::int16_t>(message, type, value);
    case SD_BUS_TYPE_UINT16:
      return readInteger<std::uint16_t>(message, type, value);
    case SD_BUS_TYPE_INT32:
      return readInteger<std::int32_t>(message, type, value);
    case SD_BUS_TYPE_UINT32:
      return readInteger<std::uint32_t>(message, type, value);
    default:
      return readInteger<std::int64_t>(message, type, value);
  }
}

bool isInteger(std::string_view contents) {
  return contents.size() == 1 && std::string_view("ynqiux").find(contents[0]) != contents.npos;
}

int readDictionaryAt(sd_bus_message* message, ValueDictionary& dictionary, int level);

int readList(sd_bus_message* message, ValueDictionary::List& list, int level) {
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, kDictionarySignature);
  if (r < 0) return r;
  while ((r = sd_bus_message_at_end(message, 0)) == 0) {
    if ((r = readDictionaryAt(message, list.emplace_back(), level)) < 0) return r;
  }
  return r < 0 ? r : sd_bus_message_exit_container(message);
}

/// Reads the contents of a variant with the signature `contents`, at the nesting `level`. Leaves
/// `value` empty for a type that we do not use.
int readValue(sd_bus_message* message, std::string_view contents, std::string_view key, int level,
              std::optional<ValueDictionary::Value>& value) {
  int r = 0;
  if (contents == "s") {
    const char* string = nullptr;
    if ((r = readBasic(message, SD_BUS_TYPE_STRING, string)) >= 0) value = BorrowedText{string};
  } else if (contents == "ay") {
    std::span<const std::byte> bytes;
    if ((r = readBytes(message, bytes)) < 0) return r;
    if (key == key::kPath && level == 1) {
      value = ByteString{{reinterpret_cast<const char*>(bytes.data()), bytes.size()}};
    } else {
      value = bytes;
    }
  } else if (isInteger(contents)) {
    r = readInteger(message, contents[0], value);
  } else if (contents == "t") {
    std::uint64_t number = 0;
    if ((r = readBasic(message, SD_BUS_TYPE_UINT64, number)) >= 0) value = number;
  } else if (contents == "d") {
    double number = 0;
    if ((r = readBasic(message, SD_BUS_TYPE_DOUBLE, number)) >= 0) value = number;
  } else if (contents == "b") {
    int flag = 0;
    if ((r = readBasic(message, SD_BUS_TYPE_BOOLEAN, flag)) >= 0) value = flag != 0;
  } else if (contents == "h") {
    int fd = -1;
    if ((r = readBasic(message, SD_BUS_TYPE_UNIX_FD, fd)) >= 0) value = BorrowedFd{fd};
  } else if (contents == kDictionarySignature && level < kMaxNesting) {
    ValueDictionary nested;
    if ((r = readDictionaryAt(message, nested, level + 1)) >= 0) {
      value = std::make_shared<const ValueDictionary>(std::move(nested));
    }
  } else if (contents == kListSignature && level < kMaxNesting) {
    ValueDictionary::List list;
    if ((r = readList(message, list, level + 1)) >= 0) {
      value = std::make_shared<const ValueDictionary::List>(std::move(list));
    }
  } else {
    r = sd_bus_message_skip(message, std::string(contents).c_str());
  }
  return r;
}

int readVariant(sd_bus_message* message, std::string_view key, int level,
                std::optional<ValueDictionary::Value>& value) {
  const char* contents = nullptr;
  char type = 0;
  int r = sd_bus_message_peek_type(message, &type, &contents);
  if (r < 0) return r;
  if (r == 0 || type != SD_BUS_TYPE_VARIANT) return -EBADMSG;
  if ((r = sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, contents)) < 0) return r;
  if ((r = readValue(message, contents, key, level, value)) < 0) return r;
  return sd_bus_message_exit_container(message);
}

int readDictionaryAt(sd_bus_message* message, ValueDictionary& dictionary, int level) {
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
  if (r < 0) return r;
  while ((r = sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv")) > 0) {
    const char* key = nullptr;
    if ((r = readBasic(message, SD_BUS_TYPE_STRING, key)) < 0) return r;
    std::optional<ValueDictionary::Value> value;
    if ((r = readVariant(message, key, level, value)) < 0) return r;
    if (value) {
      dictionary.set(key, std::move(*value));
    } else {
      dictionary.remove(key);
    }
    if ((r = sd_bus_message_exit_container(message)) < 0) return r;
  }
  return r < 0 ? r : sd_bus_message_exit_container(message);
}

/// Appends one value as a variant, by its type.
struct VariantAppender {
  sd_bus_message* message;

  int operator()(const std::string& string) const {
    // The text would end at the zero byte.
    if (string.find('\0') != std::string::npos) return -EINVAL;
    return (*this)(BorrowedText{string.c_str()});
  }
  int operator()(BorrowedText string) const {
    return sd_bus_message_append(message, "v", "s", string.text);
  }
  int operator()(const ByteString& string) const {
    return appendBytes(string.bytes.data(), string.bytes.size());
  }
  int operator()(std::int64_t number) const {
    return sd_bus_message_append(message, "v", "x", number);
  }
  int operator()(std::uint64_t number) const {
    return sd_bus_message_append(message, "v", "t", number);
  }
  int operator()(double number) const { return sd_bus_message_append(message, "v", "d", number); }
  int operator()(bool flag) const {
    return sd_bus_message_append(message, "v", "b", static_cast<int>(flag));
  }
  int operator()(ValueDictionary::Data data) const { return appendBytes(data.data(), data.size()); }
  int operator()(BorrowedFd descriptor) const {
    return sd_bus_message_append(message, "v", "h", descriptor.fd);
  }
  int operator()(const std::shared_ptr<const ValueDictionary>& dictionary) const {
    return inVariant(kDictionarySignature, [&] { return appendDictionary(message, *dictionary); });
  }
  int operator()(const std::shared_ptr<const ValueDictionary::List>& list) const {
    return inVariant(kListSignature, [&] {
      int r = sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, kDictionarySignature);
      for (auto item = list->begin(); r >= 0 && item != list->end(); ++item) {
        r = appendDictionary(message, *item);
      }
      return r < 0 ? r : sd_bus_message_close_container(message);
    });
  }

 private:
  int appendBytes(const void* data, std::size_t size) const {
    return inVariant(
        "ay", [&] { return sd_bus_message_append_array(message, SD_BUS_TYPE_BYTE, data, size); });
  }

  template <typename Append>
  int inVariant(const char* contents, Append append) const {
    int r = sd_bus_message_open_container(message, SD_BUS_TYPE_VARIANT, contents);
    if (r < 0) return r;
    if ((r = append()) < 0) return r;
    return sd_bus_message_close_container(message);
  }
};

int appendEntry(sd_bus_message* message, const std::string& key,
                const ValueDictionary::Value& value) {
  int r = sd_bus_message_open_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
  if (r < 0) return r;
  if ((r = sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, key.c_str())) < 0) return r;
  if ((r = std::visit(VariantAppender{message}, value)) < 0) return r;
  return sd_bus_message_close_container(message);
}

}  // namespace

int readDictionary(sd_bus_message* message, ValueDictionary& dictionary) {
  const int r = readDictionaryAt(message, dictionary, 1);
  return r < 0 ? r : 0;
}

int appendDictionary(sd_bus_message* message, const ValueDictionary& dictionary) {
  int r = sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
  if (r < 0) return r;
  for (const auto& [key, value] : dictionary.values()) {
    if ((r = appendEntry(message, key, value)) < 0) return r;
  }
  r = sd_bus_message_close_container(message);
  return r < 0 ? r : 0;
}

}  // namespace tagwriter::dbus
