#include "platform/linux/bluez/BlueZProperties.h"

#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

namespace tessel::platform {
namespace {

template <typename T>
std::optional<BusValue> readInteger(sd_bus_message* message, char type) {
  T value{};
  if (sd_bus_message_read_basic(message, type, &value) <= 0) return std::nullopt;
  return BusValue{static_cast<std::int64_t>(value)};
}

std::optional<BusValue> readBasic(sd_bus_message* message, char type) {
  switch (type) {
    case 'b': {
      int value = 0;
      if (sd_bus_message_read_basic(message, type, &value) <= 0) return std::nullopt;
      return BusValue{value != 0};
    }
    case 'y':
      return readInteger<std::uint8_t>(message, type);
    case 'n':
      return readInteger<std::int16_t>(message, type);
    case 'q':
      return readInteger<std::uint16_t>(message, type);
    case 'i':
      return readInteger<std::int32_t>(message, type);
    case 'u':
      return readInteger<std::uint32_t>(message, type);
    case 's':
    case 'o': {
      const char* text = nullptr;
      if (sd_bus_message_read_basic(message, type, &text) <= 0) return std::nullopt;
      return BusValue{std::string{text}};
    }
    default:
      return std::nullopt;
  }
}

std::optional<BusValue> readStrings(sd_bus_message* message) {
  std::vector<std::string> strings;
  if (sd_bus_message_enter_container(message, 'a', "s") <= 0) return std::nullopt;
  const char* text = nullptr;
  while (sd_bus_message_read_basic(message, 's', &text) > 0) strings.emplace_back(text);
  sd_bus_message_exit_container(message);
  return BusValue{std::move(strings)};
}

// a{qv} whose values are arrays of bytes; entries of another type are left out.
std::optional<BusValue> readManufacturerData(sd_bus_message* message) {
  ManufacturerData data;
  if (sd_bus_message_enter_container(message, 'a', "{qv}") <= 0) return std::nullopt;
  while (sd_bus_message_enter_container(message, 'e', "qv") > 0) {
    std::uint16_t company = 0;
    if (sd_bus_message_read_basic(message, 'q', &company) <= 0) return std::nullopt;
    if (sd_bus_message_enter_container(message, 'v', "ay") > 0) {
      const void* bytes = nullptr;
      std::size_t size = 0;
      if (sd_bus_message_read_array(message, 'y', &bytes, &size) < 0) return std::nullopt;
      const auto* first = static_cast<const std::uint8_t*>(bytes);
      data[company] = {first, first + size};
      sd_bus_message_exit_container(message);
    } else if (sd_bus_message_skip(message, "v") < 0) {
      return std::nullopt;
    }
    sd_bus_message_exit_container(message);
  }
  sd_bus_message_exit_container(message);
  return BusValue{std::move(data)};
}

bool isKnown(std::string_view type) {
  return type == "as" || type == "a{qv}" ||
         (type.size() == 1 && std::string_view{"bynqiuso"}.find(type) != std::string_view::npos);
}

// The variant at the cursor; none, and skipped, when its type is of no use.
int readVariant(sd_bus_message* message, std::optional<BusValue>& value) {
  const char* type = nullptr;
  char container = 0;
  int r = sd_bus_message_peek_type(message, &container, &type);
  if (r < 0) return r;
  if (container != 'v' || type == nullptr) return -EBADMSG;
  if (!isKnown(type)) return sd_bus_message_skip(message, "v");
  const std::string contents = type;  // which entering replaces
  r = sd_bus_message_enter_container(message, 'v', contents.c_str());
  if (r <= 0) return r < 0 ? r : -EBADMSG;
  if (contents == "as") {
    value = readStrings(message);
  } else if (contents == "a{qv}") {
    value = readManufacturerData(message);
  } else {
    value = readBasic(message, contents[0]);
  }
  return value ? sd_bus_message_exit_container(message) : -EBADMSG;
}

}  // namespace

int readProperties(sd_bus_message* message, BusProperties& properties) {
  int r = sd_bus_message_enter_container(message, 'a', "{sv}");
  if (r <= 0) return r < 0 ? r : -EBADMSG;
  while ((r = sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
    const char* name = nullptr;
    if (sd_bus_message_read_basic(message, 's', &name) <= 0) return -EBADMSG;
    std::optional<BusValue> value;
    if ((r = readVariant(message, value)) < 0) return r;
    if (value) properties[name] = std::move(*value);
    if ((r = sd_bus_message_exit_container(message)) < 0) return r;
  }
  return r < 0 ? r : sd_bus_message_exit_container(message);
}

void readInterfaces(sd_bus_message* message, const std::string& path,
                    const InterfaceVisitor& visit) {
  if (sd_bus_message_enter_container(message, 'a', "{sa{sv}}") <= 0) return;
  while (sd_bus_message_enter_container(message, 'e', "sa{sv}") > 0) {
    const char* interface = nullptr;
    BusProperties properties;
    if (sd_bus_message_read_basic(message, 's', &interface) <= 0 ||
        readProperties(message, properties) < 0) {
      return;
    }
    visit(path, interface, properties);
    if (sd_bus_message_exit_container(message) < 0) return;
  }
  sd_bus_message_exit_container(message);
}

void readManagedObjects(sd_bus_message* message, const InterfaceVisitor& visit) {
  if (sd_bus_message_enter_container(message, 'a', "{oa{sa{sv}}}") <= 0) return;
  while (sd_bus_message_enter_container(message, 'e', "oa{sa{sv}}") > 0) {
    const char* path = nullptr;
    if (sd_bus_message_read_basic(message, 'o', &path) <= 0) return;
    readInterfaces(message, path, visit);
    if (sd_bus_message_exit_container(message) < 0) return;
  }
}

}  // namespace tessel::platform
