#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <string>

#include "platform/linux/dbus/EventThread.h"
#include "platform/linux/dbus/OneShotTimer.h"
#include "platform/linux/dbus/SdBus.h"

namespace tessel::platform {

/// A method call before it is sent.
struct MethodCall {
  std::string service;
  std::string path;
  std::string interface;
  std::string member;
  /// Adds the arguments and sets flags; may be null.
  std::function<void(sd_bus_message*)> fill;
  /// After which the call counts as failed.
  std::chrono::microseconds timeout = std::chrono::seconds{25};
};

/// A connection to a message bus, made anew after a few seconds whenever it fails or ends.
///
/// Belongs to an `EventThread`, which must outlive it: calls come from there, unless it does not
/// run, and handlers run there.
class BusConnection {
 public:
  enum class State {
    kConnected,    ///< the matches are in force, calls can be made
    kUnreachable,  ///< there is no bus
    kRefused,      ///< the bus does not let this process connect
  };
  /// Connects to a bus: sd_bus_open_system or sd_bus_open_user.
  using Open = int (*)(sd_bus** bus);
  /// Receives the answer, or null and the D-Bus name of the error.
  using Reply = std::function<void(sd_bus_message* answer, const char* errorName)>;

  /// `onState` is called after every attempt to connect and when the connection ends.
  BusConnection(EventThread& thread, Open open, std::function<void(State)> onState);
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /// Calls `handler` for every message that `rule` matches, on every connection. Before `connect`.
  void match(std::string rule, std::function<void(sd_bus_message*)> handler);
  /// Connects, and again whenever the connection ends. Once.
  void connect();
  /// Calls a method. `reply` (null if of no interest) is called later, exactly once, unless the
  /// connection is given up first; a call that cannot be sent is answered with an error as well.
  void call(const MethodCall& call, Reply reply);

  /// Null while there is no connection.
  sd_bus* bus() const { return bus_.get(); }

 private:
  struct Match {
    std::string rule;
    std::function<void(sd_bus_message*)> handler;
    SdSlot slot;
  };

  static int onMatch(sd_bus_message* message, void* match, sd_bus_error* error);
  static int onReply(sd_bus_message* message, void* reply, sd_bus_error* error);
  int openBus();
  int send(const MethodCall& call, Reply& reply);
  void close();

  EventThread& thread_;
  const Open open_;
  const std::function<void(State)> onState_;
  OneShotTimer reconnect_;
  SdBus bus_;
  std::deque<Match> matches_;  // never shrinks: slots refer to its elements
};

}  // namespace tessel::platform
