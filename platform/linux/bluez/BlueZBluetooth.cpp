#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <utility>

#include "platform/linux/bluez/BlueZCentral.h"
#include "platform/linux/bluez/BluetoothAdvice.h"
#include "platform/linux/bluez/BluetoothServices.h"
#include "platform/linux/bluez/ManagementSocket.h"
#include "platform/linux/dbus/ObjectManager.h"
#include "platform/linux/dbus/SdBus.h"

namespace tessel::platform {
namespace {

// Of the kernel, and then of BlueZ.
constexpr std::chrono::microseconds kAnswerTimeout = std::chrono::seconds{1};

// The highest link-layer version of BlueZ's adapters; an older BlueZ does not report it.
std::optional<unsigned> controllerVersionOfBlueZ() {
  sd_bus* opened = nullptr;
  if (sd_bus_open_system(&opened) < 0) return std::nullopt;
  const SdBus bus{opened};
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_call(opened, &made, "org.bluez", "/",
                                     "org.freedesktop.DBus.ObjectManager",
                                     "GetManagedObjects") < 0) {
    return std::nullopt;
  }
  const SdMessage call{made};
  sd_bus_message_set_auto_start(made, 0);
  sd_bus_message* answered = nullptr;
  if (sd_bus_call(opened, made, kAnswerTimeout.count(), nullptr, &answered) < 0) {
    return std::nullopt;
  }
  const SdMessage answer{answered};
  std::optional<unsigned> highest;
  readManagedObjects(answered, [&highest](const auto&, const std::string& interface,
                                          const VariantMap& properties) {
    const auto* version = findValue<std::int64_t>(properties, "Version");
    if (interface != "org.bluez.Adapter1" || version == nullptr || *version < 0) return;
    highest = std::max(highest.value_or(0), static_cast<unsigned>(*version));
  });
  return highest;
}

class BlueZBluetooth final : public Bluetooth {
 public:
  std::shared_ptr<BluetoothCentral> makeCentral(
      const std::weak_ptr<CentralDelegate>& delegate,
      const std::shared_ptr<SerialQueue>& queue) override {
    return std::make_shared<BlueZCentral>(delegate, queue);
  }

  std::string lmpVersionReport() override {
    auto version =
        ManagementSocket::open().controllerVersion(ManagementSocket::Clock::now() + kAnswerTimeout);
    if (!version) version = controllerVersionOfBlueZ();
    if (!version) return {};
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%x", *version);
    return text.data();
  }

  std::string advice(CentralState state) override { return bluetoothAdvice(state); }
};

}  // namespace

std::shared_ptr<Bluetooth> makeBluetooth() { return std::make_shared<BlueZBluetooth>(); }

}  // namespace tessel::platform
