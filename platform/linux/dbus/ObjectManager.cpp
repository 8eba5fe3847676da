#include "platform/linux/dbus/ObjectManager.h"

namespace tessel::platform {

void readInterfaces(sd_bus_message* message, const std::string& path,
                    const InterfaceVisitor& visit) {
  if (sd_bus_message_enter_container(message, 'a', "{sa{sv}}") <= 0) return;
  while (sd_bus_message_enter_container(message, 'e', "sa{sv}") > 0) {
    const char* interface = nullptr;
    if (sd_bus_message_read_basic(message, 's', &interface) <= 0) return;
    const auto properties = readVariantMap(message);
    if (!properties) return;
    visit(path, interface, *properties);
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
