#include "platform/linux/bluez/BlueZClient.h"

#include <cassert>
#include <string_view>
#include <utility>

#include "platform/linux/dbus/ObjectManager.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kService = "org.bluez";
constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";
constexpr auto kListAgainDelay = 1s;

bool isAbsence(std::string_view errorName) {
  return errorName == SD_BUS_ERROR_NAME_HAS_NO_OWNER || errorName == SD_BUS_ERROR_SERVICE_UNKNOWN;
}

bool isRefusal(std::string_view errorName) {
  return errorName == SD_BUS_ERROR_ACCESS_DENIED || errorName == SD_BUS_ERROR_AUTH_FAILED;
}

}  // namespace

BlueZClient::BlueZClient(Listener& listener, const std::string& threadName)
    : listener_{listener},
      threadName_{threadName},
      connection_{thread_, &sd_bus_open_system,
                  [this](BusConnection::State state) { connectionChanged(state); }},
      listAgain_{thread_, [this] { listObjects(); }} {
  watch();
}

BlueZClient::~BlueZClient() { thread_.stop(); }

void BlueZClient::start() {
  post([this] { connection_.connect(); });
  thread_.start(threadName_);
}

void BlueZClient::watch() {
  connection_.match(
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
      "member='NameOwnerChanged',arg0='org.bluez'",
      [this](sd_bus_message* message) { ownerChanged(message); });
  connection_.match(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
      "member='InterfacesAdded'",
      [this](sd_bus_message* message) { interfacesAdded(message); });
  connection_.match(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
      "member='InterfacesRemoved'",
      [this](sd_bus_message* message) { interfacesRemoved(message); });
  connection_.match(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.Properties',"
      "member='PropertiesChanged'",
      [this](sd_bus_message* message) { propertiesChanged(message); });
}

void BlueZClient::connectionChanged(BusConnection::State state) {
  ++listing_;
  listAgain_.disarm();
  switch (state) {
    case BusConnection::State::kConnected:
      listObjects();
      return;
    case BusConnection::State::kUnreachable:
      report(Service::kNoBus);
      return;
    case BusConnection::State::kRefused:
      report(Service::kRefused);
      return;
  }
}

void BlueZClient::report(Service service) {
  assert(thread_.isCurrent());
  if (service != Service::kListed) owner_.clear();
  listener_.serviceChanged(service);
  listener_.settled();
}

void BlueZClient::listObjects() {
  report(Service::kStarting);
  const auto fill = [](sd_bus_message* message) {
    // Listening is no reason to start a service that the machine's owner keeps off.
    sd_bus_message_set_auto_start(message, 0);
  };
  connection_.call({kService, "/", kObjectManager, "GetManagedObjects", fill},
                   [this, number = ++listing_](sd_bus_message* answer, const char* errorName) {
                     if (number == listing_) objectsListed(answer, errorName);
                   });
}

void BlueZClient::objectsListed(sd_bus_message* answer, const char* errorName) {
  if (errorName != nullptr) {
    if (isRefusal(errorName)) {
      report(Service::kRefused);
    } else if (isAbsence(errorName)) {
      report(Service::kAbsent);
    } else {
      // bluetoothd has its name but does not answer yet, or the call could not be sent.
      listAgain_.arm(kListAgainDelay);
    }
    return;
  }
  const char* sender = sd_bus_message_get_sender(answer);
  owner_ = sender != nullptr ? sender : "";
  readManagedObjects(answer, [this](const auto& path, const auto& interface, const auto& values) {
    listener_.interfaceAdded(path, interface, values);
  });
  report(Service::kListed);
}

void BlueZClient::call(const std::string& path, const char* interface, const char* member,
                       const Fill& fill, const Reply& reply) {
  const auto fillCall = [&fill](sd_bus_message* message) {
    sd_bus_message_set_auto_start(message, 0);
    if (fill) fill(message);
  };
  connection_.call({kService, path, interface, member, fillCall},
                   [reply](sd_bus_message*, const char* errorName) {
                     if (reply) reply(errorName);
                   });
}

// Signals of any sender but the bluetoothd whose objects are listed are ignored.
bool BlueZClient::fromService(sd_bus_message* message) const {
  const char* sender = sd_bus_message_get_sender(message);
  return !owner_.empty() && sender != nullptr && owner_ == sender;
}

void BlueZClient::ownerChanged(sd_bus_message* message) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &after) < 0) return;
  ++listing_;
  listAgain_.disarm();
  if (*before != '\0') report(Service::kAbsent);
  if (*after != '\0') listObjects();
}

void BlueZClient::interfacesAdded(sd_bus_message* message) {
  const char* path = nullptr;
  if (!fromService(message) || sd_bus_message_read_basic(message, 'o', &path) <= 0) return;
  readInterfaces(message, path,
                 [this](const auto& object, const auto& interface, const auto& values) {
                   listener_.interfaceAdded(object, interface, values);
                 });
  listener_.settled();
}

void BlueZClient::interfacesRemoved(sd_bus_message* message) {
  const char* path = nullptr;
  if (!fromService(message) || sd_bus_message_read_basic(message, 'o', &path) <= 0 ||
      sd_bus_message_enter_container(message, 'a', "s") <= 0) {
    return;
  }
  const char* interface = nullptr;
  while (sd_bus_message_read_basic(message, 's', &interface) > 0) {
    listener_.interfaceRemoved(path, interface);
  }
  listener_.settled();
}

void BlueZClient::propertiesChanged(sd_bus_message* message) {
  const char* path = sd_bus_message_get_path(message);
  const char* interface = nullptr;
  if (!fromService(message) || path == nullptr ||
      sd_bus_message_read_basic(message, 's', &interface) <= 0) {
    return;
  }
  const auto changed = readVariantMap(message);
  if (!changed) return;
  const auto invalidated = readValue(message);
  const auto* names = invalidated ? invalidated->as<Variant::Strings>() : nullptr;
  listener_.propertiesChanged(path, interface, *changed, names ? *names : Variant::Strings{});
  listener_.settled();
}

}  // namespace tessel::platform
