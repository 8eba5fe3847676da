#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/bluez/BlueZProperties.h"
#include "platform/linux/dbus/EventThread.h"
#include "platform/linux/dbus/SdBus.h"

namespace tessel::platform {

/// Follows BlueZ's objects on the system bus, through restarts of bluetoothd and of the bus.
///
/// Everything runs on a thread of its own, which waits for signals and never polls; only while the
/// bus itself is gone does it try to reach it every few seconds. `post` may be called from any
/// thread, `call` and `bus` belong to the client's thread.
class BlueZClient {
 public:
  enum class Service {
    noBus,     ///< the system bus cannot be reached
    refused,   ///< the bus does not let this process speak to bluetoothd
    absent,    ///< bluetoothd does not run
    starting,  ///< bluetoothd runs; its objects are being listed
    listed,    ///< the objects that exist have been told; changes follow
  };

  /// Hears on the client's thread.
  class Listener {
   public:
    virtual ~Listener() = default;
    /// All objects told before are gone unless it is `listed`.
    virtual void serviceChanged(Service service) = 0;
    virtual void interfaceAdded(const std::string& path, const std::string& interface,
                                const BusProperties& properties) = 0;
    virtual void interfaceRemoved(const std::string& path, const std::string& interface) = 0;
    virtual void propertiesChanged(const std::string& path, const std::string& interface,
                                   const BusProperties& changed,
                                   const std::vector<std::string>& invalidated) = 0;
    /// What belongs together has been told by the calls before: the time to act on it. One message
    /// may tell of many interfaces, the first listing of all there are.
    virtual void settled() = 0;
  };

  /// Adds arguments to a call.
  using Fill = std::function<void(sd_bus_message*)>;
  /// Told the D-Bus name of the error; null when the call was answered well.
  using Reply = std::function<void(const char* errorName)>;

  /// `listener` must outlive the client. `threadName`: at most 15 letters.
  BlueZClient(Listener& listener, const std::string& threadName);
  /// Stops, and ends the connection.
  ~BlueZClient();
  BlueZClient(const BlueZClient&) = delete;
  BlueZClient& operator=(const BlueZClient&) = delete;

  /// Begins to listen. Once.
  void start();
  /// Ends the thread; the listener is not called any more. Not from the client's thread.
  void stop() { thread_.stop(); }
  void post(std::function<void()> task) { thread_.post(std::move(task)); }
  EventThread& thread() { return thread_; }

  /// Null while there is no bus.
  sd_bus* bus() const { return bus_.get(); }
  /// Calls a method of BlueZ; `reply` comes later, never when the connection ends first.
  void call(const std::string& path, const char* interface, const char* member, const Fill& fill,
            Reply reply);

 private:
  void connect();
  void disconnected();
  bool watch();
  bool match(const char* rule, sd_bus_message_handler_t handler);
  void listObjects();
  void tell(Service service);
  bool fromService(sd_bus_message* message) const;

  static int onDisconnected(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onObjectsListed(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onInterfacesAdded(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onInterfacesRemoved(sd_bus_message* message, void* self, sd_bus_error* error);
  static int onPropertiesChanged(sd_bus_message* message, void* self, sd_bus_error* error);

  Listener& listener_;
  const std::string threadName_;
  EventThread thread_;
  OneShotTimer reconnect_;
  OneShotTimer listAgain_;
  SdBus bus_;
  std::vector<SdSlot> matches_;
  SdSlot listing_;     // the listing under way
  std::string owner_;  // bluetoothd's unique name, while its objects are listed
};

}  // namespace tessel::platform
