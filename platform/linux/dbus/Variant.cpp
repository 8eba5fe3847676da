#include "platform/linux/dbus/Variant.h"

#include <utility>

namespace tessel::platform {
namespace {

// Reads a basic type as the C type `Raw` that sd-bus has for it, and keeps it as a `Kept`.
template <typename Raw, typename Kept>
std::optional<Variant> readBasic(sd_bus_message* message, char type) {
  Raw value{};
  if (sd_bus_message_read_basic(message, type, &value) <= 0) return std::nullopt;
  return Variant{static_cast<Kept>(value)};
}

std::optional<Variant> readBytes(sd_bus_message* message) {
  const void* bytes = nullptr;
  std::size_t size = 0;
  if (sd_bus_message_read_array(message, 'y', &bytes, &size) < 0) return std::nullopt;
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  return Variant{Bytes{first, first + size}};
}

std::optional<Variant> readStrings(sd_bus_message* message) {
  Variant::Strings strings;
  const char* text = nullptr;
  int r = 0;
  while ((r = sd_bus_message_read_basic(message, 's', &text)) > 0) strings.emplace_back(text);
  if (r < 0) return std::nullopt;
  return Variant{std::move(strings)};
}

std::optional<Variant> readList(sd_bus_message* message) {
  Variant::List list;
  while (sd_bus_message_at_end(message, 0) == 0) {
    auto value = readValue(message);
    if (!value) return std::nullopt;
    list.push_back(std::move(*value));
  }
  return Variant{std::move(list)};
}

// `contents`: the types of key and value.
std::optional<Variant> readDictionary(sd_bus_message* message, const std::string& contents) {
  Variant::Dictionary entries;
  int r = 0;
  while ((r = sd_bus_message_enter_container(message, 'e', contents.c_str())) > 0) {
    auto key = readValue(message);
    auto value = key ? readValue(message) : std::nullopt;
    if (!value || sd_bus_message_exit_container(message) < 0) return std::nullopt;
    entries.push_back({std::move(*key), std::move(*value)});
  }
  if (r < 0) return std::nullopt;
  return Variant{std::move(entries)};
}

// An array, a structure or a variant.
std::optional<Variant> readContainer(sd_bus_message* message, char type,
                                     const std::string& contents) {
  if (type == 'a' && contents == "y") return readBytes(message);
  if (sd_bus_message_enter_container(message, type, contents.c_str()) <= 0) return std::nullopt;
  std::optional<Variant> value;
  if (type == 'v') {
    value = readValue(message);
  } else if (type == 'a' && contents == "s") {
    value = readStrings(message);
  } else if (type == 'a' && contents.starts_with('{')) {
    value = readDictionary(message, contents.substr(1, contents.size() - 2));
  } else {
    value = readList(message);
  }
  if (!value || sd_bus_message_exit_container(message) < 0) return std::nullopt;
  return value;
}

}  // namespace

std::optional<Variant> readValue(sd_bus_message* message) {
  char type = 0;
  const char* contents = nullptr;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0) return std::nullopt;
  switch (type) {
    case 'b':
      return readBasic<int, bool>(message, type);
    case 'y':
      return readBasic<std::uint8_t, std::int64_t>(message, type);
    case 'n':
      return readBasic<std::int16_t, std::int64_t>(message, type);
    case 'q':
      return readBasic<std::uint16_t, std::int64_t>(message, type);
    case 'i':
      return readBasic<std::int32_t, std::int64_t>(message, type);
    case 'u':
      return readBasic<std::uint32_t, std::int64_t>(message, type);
    case 'x':
      return readBasic<std::int64_t, std::int64_t>(message, type);
    case 't':
      return readBasic<std::uint64_t, std::uint64_t>(message, type);
    case 'd':
      return readBasic<double, double>(message, type);
    case 's':
    case 'o':
    case 'g':
      return readBasic<const char*, std::string>(message, type);
    case 'a':
    case 'r':
    case 'v':
      return readContainer(message, type, contents);
    default:  // a file descriptor
      return sd_bus_message_skip(message, "h") < 0 ? std::nullopt : std::optional{Variant{}};
  }
}

std::optional<VariantMap> readVariantMap(sd_bus_message* message) {
  VariantMap values;
  if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) return std::nullopt;
  int r = 0;
  while ((r = sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
    const char* name = nullptr;
    if (sd_bus_message_read_basic(message, 's', &name) <= 0) return std::nullopt;
    auto value = readValue(message);
    if (!value || sd_bus_message_exit_container(message) < 0) return std::nullopt;
    values[name] = std::move(*value);
  }
  if (r < 0 || sd_bus_message_exit_container(message) < 0) return std::nullopt;
  return values;
}

}  // namespace tessel::platform
