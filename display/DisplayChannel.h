#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "display/ByteSink.h"
#include "display/StartGate.h"
#include "platform/NetworkConnection.h"
#include "platform/Queues.h"
#include "platform/base/Group.h"
#include "platform/base/Synchronized.h"
#include "tessel/Types.h"

namespace tessel {

class TSLSession;

/// The connection to the hub's display port: opening, context negotiation, sending, receive loop.
///
/// Threads. Any thread may call it; `open` and `waitForContext` block and belong to the start.
/// Connection states and receives are handled on `queue()`.
///
/// Ownership. Held by the display connection and by the frame pipeline, which sends on it. Holds
/// the session weakly; every callback handed to the platform holds the channel weakly.
class DisplayChannel : public ByteSink, public std::enable_shared_from_this<DisplayChannel> {
 public:
  explicit DisplayChannel(std::weak_ptr<TSLSession> hub);
  virtual ~DisplayChannel() = default;

  DisplayChannel(const DisplayChannel&) = delete;
  DisplayChannel& operator=(const DisplayChannel&) = delete;

  /// `handler` is called on `queue()` for each frame that the hub acknowledges. Before `open`.
  void setAcknowledgementHandler(std::function<void()> handler);

  /// Connects to the host's display port. Blocks for at least 2 seconds, until the connection is
  /// ready or has failed. Returns whether it is ready.
  bool open(const std::string& hostName, bool tls);

  /// Sends the command that opens the channel.
  bool sendStartCommand(bool newProtocol);

  /// Asks the hub for a decoding context for pictures of `size`.
  bool requestContext(Size size);

  /// Blocks until the hub has answered the request, for at most 5 seconds. Returns whether it has.
  bool waitForContext();

  /// Queues a copy of the bytes on the connection. Always true: errors show in the connection's
  /// state and in the receive loop.
  bool sendBuffer(const void* bytes, std::size_t length) override;

  /// One pass of the receive loop: a header, then the body that it announces.
  void doReceive(const std::shared_ptr<platform::NetworkConnection>& connection);

  /// Asks the session to disconnect, on the main queue. Only the first call does.
  void disconnectSessionDueToConnectionError();

  /// @name Stopping
  /// @{
  /// A start is wanted again, or is not: one that still waits for the connection then ends within
  /// a bounded time.
  void setAbandoned(bool abandoned);
  /// Marks the channel as not connected. Returns whether it was.
  bool takeDown();
  /// Ends the connection.
  void cancel();
  /// @}

  bool connected() const { return connected_; }
  void setConnected(bool connected) { connected_ = connected; }
  bool terminateAccidentally() const { return terminateAccidentally_; }
  void setTerminateAccidentally(bool accidentally) { terminateAccidentally_ = accidentally; }
  std::shared_ptr<platform::SerialQueue> queue() const { return queue_; }
  std::shared_ptr<platform::NetworkConnection> connection() const { return connection_.get(); }
  /// Entered before the context request, left by the hub's response to it; null before.
  std::shared_ptr<platform::Group> contextGroup() const { return contextGroup_.get(); }
  std::size_t unsentBytes() const;
  /// Bytes queued so far.
  std::int64_t bytesSent() const { return bytesSent_; }

 private:
  std::shared_ptr<platform::NetworkConnection> makeConnection(const std::string& hostName, bool tls,
                                                              std::shared_ptr<StartGate> gate);
  std::shared_ptr<StartGate> makeGate();
  void didChangeState(platform::ConnectionState state, const std::optional<Error>& error,
                      StartGate& gate);
  void didReceiveHeader(const std::shared_ptr<platform::NetworkConnection>& connection,
                        const platform::Received& received);
  // `name` is the body's name in the log, `header` the outcome of the read of its header.
  void didSkipBody(const std::shared_ptr<platform::NetworkConnection>& connection, const char* name,
                   const platform::Received& header, const platform::Received& body);

  const std::weak_ptr<TSLSession> hub_;
  const std::shared_ptr<platform::SerialQueue> queue_;
  std::function<void()> acknowledged_;  // constant once open

  std::atomic<bool> connected_{false};
  std::atomic<bool> terminateAccidentally_{false};
  std::atomic<bool> abandoned_{false};
  std::atomic<std::int64_t> bytesSent_{0};
  platform::Synchronized<std::shared_ptr<StartGate>> gate_;
  platform::Synchronized<std::shared_ptr<platform::NetworkConnection>> connection_;
  platform::Synchronized<std::shared_ptr<platform::Group>> contextGroup_;
};

}  // namespace tessel
