#pragma once

#include <functional>
#include <string>

#include "platform/linux/dbus/SdBus.h"
#include "platform/linux/dbus/Variant.h"

/// The messages of org.freedesktop.DBus.ObjectManager, which lists a service's objects.
namespace tessel::platform {

/// Called for each interface of an object.
using InterfaceVisitor = std::function<void(const std::string& path, const std::string& interface,
                                            const VariantMap& properties)>;

/// Reads the interfaces (a{sa{sv}}) of the object at `path`, as far as they are well formed.
void readInterfaces(sd_bus_message* message, const std::string& path,
                    const InterfaceVisitor& visit);

/// Reads an answer of GetManagedObjects, as far as it is well formed.
void readManagedObjects(sd_bus_message* message, const InterfaceVisitor& visit);

}  // namespace tessel::platform
