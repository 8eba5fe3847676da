#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/dbus/EventThread.h"
#include "platform/linux/dbus/OneShotTimer.h"
#include "platform/linux/dbus/Variant.h"

namespace tessel::platform {

/// Follows BlueZ's objects on the system bus, through restarts of bluetoothd and of the bus.
///
/// Everything runs on a thread of its own, which waits for signals and never polls; only while the
/// bus itself is gone does it try to reach it every few seconds. `post` may be called from any
/// thread, `call` and `bus` belong to the client's thread.
class BlueZClient {
 public:
  enum class Service {
    kNoBus,     ///< the system bus cannot be reached
    kRefused,   ///< the bus does not let this process speak to bluetoothd
    kAbsent,    ///< bluetoothd does not run
    kStarting,  ///< bluetoothd runs; its objects are being listed
    kListed,    ///< the existing objects have been reported; changes follow
  };

  /// Called on the client's thread.
  class Listener {
   public:
    virtual ~Listener() = default;
    /// All objects reported before are gone unless it is `kListed`.
    virtual void serviceChanged(Service service) = 0;
    virtual void interfaceAdded(const std::string& path, const std::string& interface,
                                const VariantMap& properties) = 0;
    virtual void interfaceRemoved(const std::string& path, const std::string& interface) = 0;
    virtual void propertiesChanged(const std::string& path, const std::string& interface,
                                   const VariantMap& changed,
                                   const std::vector<std::string>& invalidated) = 0;
    /// The calls above that belong together have been made: the time to act on them. One message
    /// may report many interfaces, the first listing all there are.
    virtual void settled() = 0;
  };

  /// Adds arguments to a call.
  using Fill = std::function<void(sd_bus_message*)>;
  /// Receives the D-Bus name of the error; null for success.
  using Reply = std::function<void(const char* errorName)>;

  /// `listener` must outlive the client. For `threadName` see startThread.
  BlueZClient(Listener& listener, const std::string& threadName);
  /// Stops, and ends the connection.
  ~BlueZClient();
  BlueZClient(const BlueZClient&) = delete;
  BlueZClient& operator=(const BlueZClient&) = delete;

  /// Begins to follow. Once.
  void start();
  /// Ends the thread; the listener is not called any more. Not from the client's thread.
  void stop() { thread_.stop(); }
  void post(std::function<void()> task) { thread_.post(std::move(task)); }
  EventThread& thread() { return thread_; }

  /// Null while there is no bus.
  sd_bus* bus() const { return connection_.bus(); }
  /// Calls a method of BlueZ. `reply` (null if of no interest) is called later, with an error also
  /// when the call could not be sent; never when the connection is given up first.
  void call(const std::string& path, const char* interface, const char* member, const Fill& fill,
            const Reply& reply);

 private:
  void watch();
  void connectionChanged(BusConnection::State state);
  void ownerChanged(sd_bus_message* message);
  void listObjects();
  void objectsListed(sd_bus_message* answer, const char* errorName);
  void interfacesAdded(sd_bus_message* message);
  void interfacesRemoved(sd_bus_message* message);
  void propertiesChanged(sd_bus_message* message);
  void report(Service service);
  bool fromService(sd_bus_message* message) const;

  Listener& listener_;
  const std::string threadName_;
  EventThread thread_;
  BusConnection connection_;
  OneShotTimer listAgain_;
  unsigned listing_ = 0;  // tells late answers about an earlier listing apart
  std::string owner_;     // bluetoothd's unique name, while its objects are listed
};

}  // namespace tessel::platform
