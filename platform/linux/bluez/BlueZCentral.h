#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/BluetoothCentral.h"
#include "platform/Queues.h"
#include "platform/linux/bluez/BlueZClient.h"
#include "platform/linux/bluez/BlueZRadio.h"
#include "platform/linux/dbus/OneShotTimer.h"
#include "platform/linux/dbus/Variant.h"

namespace tessel::platform {

/// Receives advertisements through BlueZ. A thread of its own follows D-Bus; the delegate is called
/// on the queue given. See BlueZRadio for the meaning of the states. Any thread.
///
/// BlueZ ends a discovery for good when its adapter is switched off, reset or unplugged, and when
/// bluetoothd ends. A scan that is wanted is started again whenever there is a powered adapter
/// without a discovery of this process: after a pause when the start failed or did not last.
class BlueZCentral final : public BluetoothCentral, private BlueZClient::Listener {
 public:
  BlueZCentral(const std::weak_ptr<CentralDelegate>& delegate, std::shared_ptr<SerialQueue> queue);
  /// Ends everything. Not from its own thread.
  ~BlueZCentral() override;

  CentralState state() const override { return state_; }
  void scanForPeripherals(bool allowDuplicates) override;
  void stopScan() override;

 private:
  // The discovery that BlueZ runs for this process.
  struct Discovery {
    enum class Phase {
      kStarting,    // StartDiscovery is not answered yet
      kInProgress,  // BlueZ has answered that it is in progress, but does not signal it yet
      kRunning,     // BlueZ has answered, or signals, that it runs
    };
    std::string adapter;  // empty: no discovery
    Phase phase = Phase::kStarting;
    unsigned number = 0;  // tells late answers about an earlier one apart
    std::chrono::steady_clock::time_point begun;
  };

  void serviceChanged(BlueZClient::Service service) override;
  void interfaceAdded(const std::string& path, const std::string& interface,
                      const VariantMap& properties) override;
  void interfaceRemoved(const std::string& path, const std::string& interface) override;
  void propertiesChanged(const std::string& path, const std::string& interface,
                         const VariantMap& changed,
                         const std::vector<std::string>& invalidated) override;
  void settled() override;

  void publishState();
  void manageDiscovery();
  void retryDiscovery();
  void startDiscovery(const std::string& adapter);
  void stopDiscovery();
  void discoveryAnswered(unsigned number, const char* errorName);
  void discoveryInProgress();
  void discoveryChanged(bool discovering);
  void discoveryEnded();
  void retryLater();
  void deliver();

  const std::weak_ptr<CentralDelegate> delegate_;
  const std::shared_ptr<SerialQueue> queue_;
  std::atomic<CentralState> state_ = CentralState::kUnknown;

  // The rest belongs to the client's thread.
  BlueZRadio radio_;
  std::optional<CentralState> published_;
  std::optional<bool> wanted_;  // whether with duplicates; none: no scan
  Discovery discovery_;
  std::string powered_;  // the adapter that retryDelay_ and retry_ are about
  std::chrono::seconds retryDelay_;
  BlueZClient client_;
  OneShotTimer retry_;
  OneShotTimer restartTimeout_;
};

}  // namespace tessel::platform
