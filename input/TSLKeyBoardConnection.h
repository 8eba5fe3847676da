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

namespace tessel {

class TSLKeyBoardSimulator;
class TSLSession;

/// The keyboard channel of a session: sends one opening message, then hands the hub's keyboard
/// records to its simulator.
///
/// The start blocks its caller's thread until the channel is open or has failed; records are
/// received and handled on `keyboardQueue`. Stop and accessors may be called from any thread. The
/// session owns it; dropping it stops it.
class TSLKeyBoardConnection : public std::enable_shared_from_this<TSLKeyBoardConnection> {
 public:
  using Completion = std::function<void(std::optional<Error>)>;

  static std::shared_ptr<TSLKeyBoardConnection> initWithHub(const std::shared_ptr<TSLSession>& hub);
  virtual ~TSLKeyBoardConnection();

  TSLKeyBoardConnection(const TSLKeyBoardConnection&) = delete;
  TSLKeyBoardConnection& operator=(const TSLKeyBoardConnection&) = delete;

  /// Blocks until the outcome is known, then calls the completion. Only a missing host name is an
  /// error (code 2); a channel that could not be opened shows in `connected` alone.
  void startWithCompletionHandler(Completion completion);
  /// Cancels the channel, without waiting for the desktop: what the hub holds down is released soon
  /// after (see EventPoster::close). Calls the completion, without an error, before it returns.
  void stopWithCompletionHandler(Completion completion);

  /// @name Steps of the channel
  /// @{
  /// Opens the channel; returns `connected`. `error` is set only when there is no host name.
  bool startKeyBoardSocketReturningError(std::optional<Error>& error);
  /// Sends the opening message.
  bool newInitialization();
  void rcvKeyBoardEvent(const std::shared_ptr<platform::NetworkConnection>& connection);
  /// Queues a copy of the bytes. Always true: errors show in the receives only.
  virtual bool sendBuffer(const void* bytes, std::uint64_t length);
  /// @}

  bool connected() const { return connected_; }
  void setConnected(bool connected) { connected_ = connected; }
  std::shared_ptr<TSLSession> hub() const { return hub_.get().lock(); }
  void setHub(const std::shared_ptr<TSLSession>& hub) { hub_.set(hub); }
  std::shared_ptr<platform::NetworkConnection> HubConnection() const {
    return hubConnection_.get();
  }
  void setHubConnection(const std::shared_ptr<platform::NetworkConnection>& connection) {
    hubConnection_.set(connection);
  }
  std::shared_ptr<platform::SerialQueue> keyboardQueue() const { return keyboardQueue_.get(); }
  /// Before the start.
  void setKeyboardQueue(const std::shared_ptr<platform::SerialQueue>& queue) {
    keyboardQueue_.set(queue);
  }
  std::shared_ptr<TSLKeyBoardSimulator> keyBoardSimulator() const {
    return keyBoardSimulator_.get();
  }
  void setKeyBoardSimulator(const std::shared_ptr<TSLKeyBoardSimulator>& keyBoardSimulator) {
    keyBoardSimulator_.set(keyBoardSimulator);
  }

 protected:
  explicit TSLKeyBoardConnection(const std::shared_ptr<TSLSession>& hub);

 private:
  void connectAndWait(const std::shared_ptr<platform::NetworkConnection>& connection);
  void received(const platform::Received& received,
                const std::shared_ptr<platform::NetworkConnection>& connection);
  bool receiveEnded(const platform::Received& received);

  platform::Synchronized<std::weak_ptr<TSLSession>> hub_;
  platform::Synchronized<std::shared_ptr<platform::SerialQueue>> keyboardQueue_;
  platform::Synchronized<std::shared_ptr<TSLKeyBoardSimulator>> keyBoardSimulator_;
  platform::Synchronized<std::shared_ptr<platform::NetworkConnection>> hubConnection_;
  std::atomic<bool> connected_ = false;
  std::atomic<bool> stopped_ = false;
};

}  // namespace tessel
