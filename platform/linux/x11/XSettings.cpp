#include "platform/linux/x11/XSettings.h"

#include <cstddef>

namespace tessel::platform {
namespace {

// Settings are a few KiB.
constexpr std::size_t kMaxSettingsBytes = 256 * 1024;

xcb_intern_atom_cookie_t askForAtom(const XConnection& connection, std::string_view name) {
  constexpr std::uint8_t kOnlyIfExists = 1;
  return connection.request(xcb_intern_atom, kOnlyIfExists, static_cast<std::uint16_t>(name.size()),
                            name.data());
}

// Takes fields off the front of some bytes. Once it has run out of bytes every field is empty or 0.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : left_{bytes} {}

  void setBigEndian(bool bigEndian) { bigEndian_ = bigEndian; }
  bool failed() const { return failed_; }

  std::span<const std::uint8_t> take(std::size_t length) {
    if (length > left_.size()) {
      failed_ = true;
      left_ = {};
      return {};
    }
    const auto bytes = left_.first(length);
    left_ = left_.subspan(length);
    return bytes;
  }

  std::uint32_t number(std::size_t length) {
    std::uint32_t value = 0;
    const auto bytes = take(length);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      value = value << 8 | bytes[bigEndian_ ? i : bytes.size() - 1 - i];
    }
    return value;
  }

  // `length` bytes, and what fills them up to a multiple of four.
  std::span<const std::uint8_t> padded(std::size_t length) {
    const auto bytes = take(length);
    take((4 - length % 4) % 4);
    return bytes;
  }

 private:
  std::span<const std::uint8_t> left_;
  bool bigEndian_ = false;
  bool failed_ = false;
};

}  // namespace

std::vector<std::uint8_t> readXSettings(const XConnection& connection) {
  const auto selectionCookie = askForAtom(connection, "_XSETTINGS_S0");
  const auto propertyCookie = askForAtom(connection, "_XSETTINGS_SETTINGS");
  const auto selection = connection.reply(xcb_intern_atom_reply, selectionCookie);
  const auto property = connection.reply(xcb_intern_atom_reply, propertyCookie);
  if (!selection || !property || selection->atom == XCB_NONE || property->atom == XCB_NONE) {
    return {};
  }
  const auto owner = connection.reply(xcb_get_selection_owner_reply,
                                      connection.request(xcb_get_selection_owner, selection->atom));
  if (!owner || owner->owner == XCB_NONE) return {};
  const auto value = connection.reply(
      xcb_get_property_reply, connection.request(xcb_get_property, 0, owner->owner, property->atom,
                                                 property->atom, 0, kMaxSettingsBytes / 4));
  if (!value || value->format != 8) return {};
  const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(value.get()));
  return {bytes, bytes + xcb_get_property_value_length(value.get())};
}

// The settings, in the byte order that the first byte tells:
//   at  size  field
//    0     1  byte order          0 little-endian, 1 big-endian
//    1     3  -
//    4     4  serial
//    8     4  number of settings
//   12        the settings, each:
//         1  type                0 integer, 1 string, 2 color
//         1  -
//         2  length of the name
//         n  name                padded to a multiple of 4
//         4  serial
//            value               integer: 4 bytes; color: 8; string: its length, 4 bytes, and its
//                                bytes, padded to a multiple of 4
std::optional<std::int32_t> integerXSetting(std::span<const std::uint8_t> settings,
                                            std::string_view name) {
  enum Type : std::uint32_t { kInteger = 0, kString = 1, kColor = 2 };
  Reader reader{settings};
  const std::uint32_t byteOrder = reader.number(1);
  if (byteOrder > 1) return std::nullopt;
  reader.setBigEndian(byteOrder == 1);
  reader.take(7);
  for (std::uint32_t left = reader.number(4); left > 0 && !reader.failed(); --left) {
    const std::uint32_t type = reader.number(1);
    reader.take(1);
    const auto bytes = reader.padded(reader.number(2));
    const std::string_view found{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    reader.take(4);
    if (type == kInteger) {
      const auto value = static_cast<std::int32_t>(reader.number(4));
      if (found == name && !reader.failed()) return value;
    } else if (type == kString) {
      reader.padded(reader.number(4));
    } else if (type == kColor) {
      reader.take(8);
    } else {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace tessel::platform
