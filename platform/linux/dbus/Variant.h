#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/linux/dbus/SdBus.h"
#include "tessel/Types.h"

namespace tessel::platform {

/// A value of a D-Bus message, of any type:
///
/// | D-Bus         | here                                                                     |
/// |---------------|--------------------------------------------------------------------------|
/// | b             | bool                                                                     |
/// | y n q i u x   | std::int64_t                                                             |
/// | t             | std::uint64_t                                                            |
/// | d             | double                                                                   |
/// | s o g         | std::string                                                              |
/// | ay            | Bytes                                                                    |
/// | as            | Strings                                                                  |
/// | a{..}         | Dictionary                                                               |
/// | a.. (..)      | List: the elements of any other array, the members of a structure        |
/// | v             | what it holds                                                            |
/// | h             | std::monostate: a file descriptor belongs to its message                 |
struct Variant {
  struct Entry;
  using Strings = std::vector<std::string>;
  using List = std::vector<Variant>;
  using Dictionary = std::vector<Entry>;

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Bytes,
               Strings, List, Dictionary>
      value;

  /// The value when it is of this type; else null.
  template <typename T>
  const T* as() const {
    return std::get_if<T>(&value);
  }
};

struct Variant::Entry {
  Variant key;
  Variant value;
};

/// Named values, such as the properties of an interface or the options of a call.
using VariantMap = std::map<std::string, Variant>;

/// The value under `name` when it is there and of this type; else null.
template <typename T>
const T* findValue(const VariantMap& values, const std::string& name) {
  const auto entry = values.find(name);
  return entry == values.end() ? nullptr : entry->second.as<T>();
}

/// Reads the value at the cursor of `message`; none when that is malformed or there is none.
std::optional<Variant> readValue(sd_bus_message* message);

/// Reads the named values (a{sv}) at the cursor of `message`; none when there are none there.
std::optional<VariantMap> readVariantMap(sd_bus_message* message);

}  // namespace tessel::platform
