#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "platform/base/Synchronized.h"
#include "tessel/Error.h"
#include "tessel/Types.h"

namespace tessel {

class TSLMouseSimulator;
class TSLSession;

/// The mouse channel of a session: hands the hub's mouse packets to its simulator, and reports
/// this computer's cursor to the hub every 25 ms while it moves.
///
/// Everything but the initializer, start and stop runs on `mouseQueue`, which also calls the
/// completion of a start that made a connection; accessors may be called from any thread. There is
/// no restart.
///
/// The session owns it; the timer holds it too, from the initializer until the stop. At each tick
/// the timer cancels itself if the session is gone, or does not hold this connection although it
/// was started: a connection that the session drops is torn down at the next tick.
class TSLMouseConnection : public std::enable_shared_from_this<TSLMouseConnection> {
 public:
  using Completion = std::function<void(std::optional<Error>)>;

  static std::shared_ptr<TSLMouseConnection> initWithHub(const std::shared_ptr<TSLSession>& hub);
  virtual ~TSLMouseConnection();

  TSLMouseConnection(const TSLMouseConnection&) = delete;
  TSLMouseConnection& operator=(const TSLMouseConnection&) = delete;

  /// Opens the channel and runs the handshake. The completion comes without an error once packets
  /// may flow; with code 2 when the session has no host name; with code 3 when the channel fails,
  /// which it may tell more than once. A hub that answers the handshake wrongly leaves it uncalled.
  void startWithCompletionHandler(Completion completion);
  /// Ends the channel and the timer, without waiting for the desktop: what the hub holds down is
  /// released soon after (see EventPoster::close). The completion is called before it returns,
  /// always with code 2.
  void stopWithCompletionHandler(Completion completion);

  /// @name Steps of the channel
  /// @{
  void newInitialization(Completion completion);
  void rcvMouseEvent(const std::shared_ptr<platform::NetworkConnection>& connection);
  void sendMouseEvent();
  /// Queues a copy of the bytes. Always true: errors show in the receives only.
  virtual bool sendBuffer(const void* bytes, std::uint64_t length);
  /// @}

  std::shared_ptr<TSLSession> hub() const { return hub_.get().lock(); }
  void setHub(const std::shared_ptr<TSLSession>& hub) { hub_.set(hub); }
  std::shared_ptr<platform::NetworkConnection> HubConnection() const {
    return hubConnection_.get();
  }
  void setHubConnection(const std::shared_ptr<platform::NetworkConnection>& connection) {
    hubConnection_.set(connection);
  }
  bool connected() const { return connected_; }
  void setConnected(bool connected) { connected_ = connected; }
  /// The last reported cursor position: session coordinates, bottom-left origin.
  Point lastPoint() const { return lastPoint_.get(); }
  void setLastPoint(Point lastPoint) { lastPoint_.set(lastPoint); }
  std::shared_ptr<platform::SerialQueue> mouseQueue() const { return mouseQueue_.get(); }
  /// Before the start. The timer goes on on the queue that it was made with.
  void setMouseQueue(const std::shared_ptr<platform::SerialQueue>& queue) {
    mouseQueue_.set(queue);
  }
  std::shared_ptr<platform::Timer> sendOutTimer() const { return sendOutTimer_.get(); }
  void setSendOutTimer(const std::shared_ptr<platform::Timer>& timer) { sendOutTimer_.set(timer); }
  std::shared_ptr<TSLMouseSimulator> mouseSimulator() const { return mouseSimulator_.get(); }
  void setMouseSimulator(const std::shared_ptr<TSLMouseSimulator>& mouseSimulator) {
    mouseSimulator_.set(mouseSimulator);
  }

 protected:
  explicit TSLMouseConnection(const std::shared_ptr<TSLSession>& hub);
  /// Makes and starts what holds this object: the second half of the initializer.
  void activate();

 private:
  bool becomeConnected();
  void tearDown();
  void tick();
  bool sendOpening();
  void receivedCursorReply(const platform::Received& received, const Completion& completion);
  void receivedCaptureReply(const platform::Received& received, const Completion& completion);
  void receivedMouseEvent(const platform::Received& received,
                          const std::shared_ptr<platform::NetworkConnection>& connection);
  bool receiveEnded(const platform::Received& received);
  Point cursorInSession(Size sessionSize) const;

  platform::Synchronized<std::weak_ptr<TSLSession>> hub_;
  platform::Synchronized<std::shared_ptr<platform::SerialQueue>> mouseQueue_;
  platform::Synchronized<std::shared_ptr<platform::Timer>> sendOutTimer_;
  platform::Synchronized<std::shared_ptr<TSLMouseSimulator>> mouseSimulator_;
  platform::Synchronized<std::shared_ptr<platform::NetworkConnection>> hubConnection_;
  platform::Synchronized<Point> lastPoint_{Point{-1.0, -1.0}};
  std::atomic<bool> connected_ = false;
  std::atomic<bool> started_ = false;
  std::atomic<bool> stopped_ = false;
};

}  // namespace tessel
