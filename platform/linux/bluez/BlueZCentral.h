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

namespace tessel::platform {

/// Listens for advertisements through BlueZ. Its own thread follows D-Bus; the delegate hears on
/// the queue given. See BlueZRadio for what the states mean.
///
/// BlueZ ends a discovery for good when its adapter is switched off, reset or unplugged, and when
/// bluetoothd ends. A scan wanted here is begun again whenever there is a powered adapter that
/// does not discover for us: after a pause when that failed, or did not last.
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
    std::string adapter;     // empty: none
    bool confirmed = false;  // BlueZ has answered that it runs
    unsigned number = 0;     // tells late answers about an earlier one apart
    std::chrono::steady_clock::time_point begun;
  };

  void serviceChanged(BlueZClient::Service service) override;
  void interfaceAdded(const std::string& path, const std::string& interface,
                      const BusProperties& properties) override;
  void interfaceRemoved(const std::string& path, const std::string& interface) override;
  void propertiesChanged(const std::string& path, const std::string& interface,
                         const BusProperties& changed,
                         const std::vector<std::string>& invalidated) override;
  void settled() override;

  void publishState();
  void manageDiscovery();
  void startDiscovery(const std::string& adapter);
  void stopDiscovery();
  void discoveryAnswered(unsigned number, const char* errorName);
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
  std::string powered_;  // the adapter that retryAfter_ and retry_ are about
  std::chrono::seconds retryAfter_;
  BlueZClient client_;
  OneShotTimer retry_;
  OneShotTimer waitForRestart_;
};

}  // namespace tessel::platform
