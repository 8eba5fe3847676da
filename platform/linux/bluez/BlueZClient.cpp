#include "platform/linux/bluez/BlueZClient.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr const char* kService = "org.bluez";
constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";
constexpr auto kReconnectAfter = 5s;
constexpr auto kListAgainAfter = 1s;

bool isAbsence(const sd_bus_error* error) {
  return sd_bus_error_has_name(error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0 ||
         sd_bus_error_has_name(error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0;
}

bool isRefusal(const sd_bus_error* error) {
  return sd_bus_error_has_name(error, SD_BUS_ERROR_ACCESS_DENIED) != 0 ||
         sd_bus_error_has_name(error, SD_BUS_ERROR_AUTH_FAILED) != 0;
}

// One call under way. Owned by its slot, which the connection owns.
int onReply(sd_bus_message* message, void* userdata, sd_bus_error*) {
  const auto& reply = *static_cast<BlueZClient::Reply*>(userdata);
  const sd_bus_error* error = sd_bus_message_get_error(message);
  if (reply) reply(error != nullptr ? error->name : nullptr);
  return 0;
}

void deleteReply(void* userdata) { delete static_cast<BlueZClient::Reply*>(userdata); }

}  // namespace

BlueZClient::BlueZClient(Listener& listener, const std::string& threadName)
    : listener_{listener},
      threadName_{threadName},
      reconnect_{thread_, [this] { connect(); }},
      listAgain_{thread_, [this] { listObjects(); }} {}

BlueZClient::~BlueZClient() { thread_.stop(); }

void BlueZClient::start() {
  post([this] { connect(); });
  thread_.start(threadName_);
}

void BlueZClient::connect() {
  sd_bus* bus = nullptr;
  const int opened = sd_bus_open_system(&bus);
  bus_.reset(bus);
  if (opened >= 0 && sd_bus_attach_event(bus, thread_.event(), SD_EVENT_PRIORITY_NORMAL) >= 0 &&
      watch()) {
    listObjects();
    return;
  }
  matches_.clear();
  bus_.reset();
  reconnect_.arm(kReconnectAfter);
  tell(opened == -EACCES || opened == -EPERM ? Service::refused : Service::noBus);
}

void BlueZClient::disconnected() {
  matches_.clear();
  listing_.reset();
  listAgain_.disarm();
  bus_.reset();
  reconnect_.arm(kReconnectAfter);
  tell(Service::noBus);
}

bool BlueZClient::match(const char* rule, sd_bus_message_handler_t handler) {
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus_.get(), &slot, rule, handler, nullptr, this) < 0) return false;
  matches_.emplace_back(slot);
  return true;
}

bool BlueZClient::watch() {
  return match(
             "type='signal',sender='org.freedesktop.DBus.Local',"
             "interface='org.freedesktop.DBus.Local',member='Disconnected'",
             &BlueZClient::onDisconnected) &&
         match(
             "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
             "member='NameOwnerChanged',arg0='org.bluez'",
             &BlueZClient::onOwnerChanged) &&
         match(
             "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
             "member='InterfacesAdded'",
             &BlueZClient::onInterfacesAdded) &&
         match(
             "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
             "member='InterfacesRemoved'",
             &BlueZClient::onInterfacesRemoved) &&
         match(
             "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.Properties',"
             "member='PropertiesChanged'",
             &BlueZClient::onPropertiesChanged);
}

void BlueZClient::tell(Service service) {
  if (service != Service::listed) owner_.clear();
  listener_.serviceChanged(service);
  listener_.settled();
}

void BlueZClient::listObjects() {
  tell(Service::starting);
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus_.get(), &message, kService, "/", kObjectManager,
                                     "GetManagedObjects") < 0) {
    return;
  }
  const SdMessage call{message};
  // Listening is no reason to start a service that the machine's owner keeps off.
  sd_bus_message_set_auto_start(message, 0);
  sd_bus_slot* slot = nullptr;
  sd_bus_call_async(bus_.get(), &slot, message, &BlueZClient::onObjectsListed, this, 0);
  listing_.reset(slot);
}

void BlueZClient::call(const std::string& path, const char* interface, const char* member,
                       const Fill& fill, Reply reply) {
  sd_bus_message* message = nullptr;
  if (!bus_ || sd_bus_message_new_method_call(bus_.get(), &message, kService, path.c_str(),
                                              interface, member) < 0) {
    return;
  }
  const SdMessage call{message};
  sd_bus_message_set_auto_start(message, 0);
  if (fill) fill(message);
  auto kept = std::make_unique<Reply>(std::move(reply));
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_.get(), &slot, message, &onReply, kept.get(), 0) < 0) return;
  // From here on the connection owns the slot, and the slot the reply.
  sd_bus_slot_set_destroy_callback(slot, &deleteReply);
  sd_bus_slot_set_floating(slot, 1);
  sd_bus_slot_unref(slot);
  [[maybe_unused]] const auto* owned = kept.release();
}

// Signals of others than the bluetoothd whose objects are listed are not believed.
bool BlueZClient::fromService(sd_bus_message* message) const {
  const char* sender = sd_bus_message_get_sender(message);
  return !owner_.empty() && sender != nullptr && owner_ == sender;
}

int BlueZClient::onDisconnected(sd_bus_message*, void* self, sd_bus_error*) {
  // The connection cannot be let go in the midst of its own callback.
  auto& client = *static_cast<BlueZClient*>(self);
  client.post([&client] { client.disconnected(); });
  return 0;
}

int BlueZClient::onOwnerChanged(sd_bus_message* message, void* self, sd_bus_error*) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &after) < 0) return 0;
  auto& client = *static_cast<BlueZClient*>(self);
  client.listing_.reset();
  client.listAgain_.disarm();
  if (*before != '\0') client.tell(Service::absent);
  if (*after != '\0') client.listObjects();
  return 0;
}

int BlueZClient::onObjectsListed(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& client = *static_cast<BlueZClient*>(self);
  const SdSlot done = std::move(client.listing_);
  if (const sd_bus_error* error = sd_bus_message_get_error(message); error != nullptr) {
    if (isRefusal(error)) {
      client.tell(Service::refused);
    } else if (isAbsence(error)) {
      client.tell(Service::absent);
    } else {
      // It has its name but does not answer well yet, or has no time to.
      client.listAgain_.arm(kListAgainAfter);
    }
    return 0;
  }
  const char* sender = sd_bus_message_get_sender(message);
  client.owner_ = sender != nullptr ? sender : "";
  readManagedObjects(message, [&client](const auto& object, const auto& interface, const auto& p) {
    client.listener_.interfaceAdded(object, interface, p);
  });
  client.tell(Service::listed);
  return 0;
}

int BlueZClient::onInterfacesAdded(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& client = *static_cast<BlueZClient*>(self);
  const char* path = nullptr;
  if (!client.fromService(message) || sd_bus_message_read_basic(message, 'o', &path) <= 0) return 0;
  readInterfaces(message, path,
                 [&client](const auto& object, const auto& interface, const auto& p) {
                   client.listener_.interfaceAdded(object, interface, p);
                 });
  client.listener_.settled();
  return 0;
}

int BlueZClient::onInterfacesRemoved(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& client = *static_cast<BlueZClient*>(self);
  const char* path = nullptr;
  if (!client.fromService(message) || sd_bus_message_read_basic(message, 'o', &path) <= 0 ||
      sd_bus_message_enter_container(message, 'a', "s") <= 0) {
    return 0;
  }
  const char* interface = nullptr;
  while (sd_bus_message_read_basic(message, 's', &interface) > 0) {
    client.listener_.interfaceRemoved(path, interface);
  }
  client.listener_.settled();
  return 0;
}

int BlueZClient::onPropertiesChanged(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& client = *static_cast<BlueZClient*>(self);
  const char* path = sd_bus_message_get_path(message);
  const char* interface = nullptr;
  BusProperties changed;
  if (!client.fromService(message) || path == nullptr ||
      sd_bus_message_read_basic(message, 's', &interface) <= 0 ||
      readProperties(message, changed) < 0) {
    return 0;
  }
  std::vector<std::string> invalidated;
  if (sd_bus_message_enter_container(message, 'a', "s") > 0) {
    const char* name = nullptr;
    while (sd_bus_message_read_basic(message, 's', &name) > 0) invalidated.emplace_back(name);
  }
  client.listener_.propertiesChanged(path, interface, changed, invalidated);
  client.listener_.settled();
  return 0;
}

}  // namespace tessel::platform
