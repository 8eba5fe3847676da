#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "platform/linux/dbus/SdBus.h"

namespace tessel::platform {

/// Manufacturer data of an advertisement by company identifier.
using ManufacturerData = std::map<std::uint16_t, std::vector<std::uint8_t>>;

/// A property's value, of the types that are of use here: integers of every size are one type,
/// object paths are text.
using BusValue =
    std::variant<bool, std::int64_t, std::string, std::vector<std::string>, ManufacturerData>;

/// Properties of one D-Bus interface. Values of any other type are left out when they are read.
using BusProperties = std::map<std::string, BusValue>;

/// The property `name` if it is there and of this type; else null.
template <typename T>
const T* findProperty(const BusProperties& properties, const std::string& name) {
  const auto entry = properties.find(name);
  return entry == properties.end() ? nullptr : std::get_if<T>(&entry->second);
}

/// Reads the dictionary (a{sv}) at the cursor of `message`. Returns a negative error when there is
/// none.
int readProperties(sd_bus_message* message, BusProperties& properties);

/// Told of each interface of an object.
using InterfaceVisitor = std::function<void(const std::string& path, const std::string& interface,
                                            const BusProperties& properties)>;

/// Reads the interfaces (a{sa{sv}}) of the object at `path`, as far as they are well formed.
void readInterfaces(sd_bus_message* message, const std::string& path,
                    const InterfaceVisitor& visit);

/// Reads an answer of GetManagedObjects, as far as it is well formed.
void readManagedObjects(sd_bus_message* message, const InterfaceVisitor& visit);

}  // namespace tessel::platform
