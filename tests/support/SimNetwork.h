#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/NetworkConnection.h"
#include "platform/Queues.h"

namespace tessel::test {

/// One connection whose peer is the test. Handlers run on the connection's queue when the world
/// runs.
class SimConnection final : public platform::NetworkConnection,
                            public std::enable_shared_from_this<SimConnection> {
 public:
  SimConnection(platform::Endpoint endpoint, bool tls,
                std::shared_ptr<platform::SerialQueue> queue);

  // What the library asked for.
  const platform::Endpoint endpoint;
  const bool tls;
  bool started = false;
  bool cancelled = false;
  std::vector<Bytes> sends;        ///< every send by itself
  std::size_t unsent = 0;          ///< what unsentBytes() answers
  int receives = 0;                ///< receives asked for so far
  std::function<void()> onCancel;  ///< called in the first cancel()

  /// All bytes sent so far, as one run.
  Bytes sent() const;

  // What the peer and the network do.
  void becomeReady();
  /// As a refused address does: waiting with code 61, then failed.
  void refuse();
  void enterState(platform::ConnectionState state, std::optional<Error> error = std::nullopt);
  void deliver(const Bytes& bytes);
  /// Bytes whose last one comes with the close.
  void deliverAndClose(const Bytes& bytes);
  /// The peer closes its side.
  void close();
  /// The stream breaks: receives complete with `error`; the state does not change.
  void breakWith(const Error& error);
  /// Completes the oldest open receive with exactly this; false when none is open.
  bool completeReceive(const platform::Received& received);

  void setStateChangedHandler(StateHandler handler) override;
  void start() override;
  void receive(std::size_t length, ReceiveHandler handler) override;
  void send(const void* bytes, std::size_t length) override;
  std::size_t unsentBytes() const override { return unsent; }
  void cancel() override;

 private:
  friend class SimNetwork;
  struct Open {
    std::size_t length;
    ReceiveHandler handler;
  };
  void complete(ReceiveHandler handler, platform::Received received);
  void serve();

  const std::shared_ptr<platform::SerialQueue> queue_;
  StateHandler stateHandler_;
  std::function<void(SimConnection&)> onStart_;
  std::deque<Open> open_;
  Bytes incoming_;
  bool closed_ = false;
  std::optional<Error> broken_;
};

/// Makes connections and keeps them for the test to look at.
class SimNetwork final : public platform::Network {
 public:
  std::vector<std::shared_ptr<SimConnection>> connections;
  /// Called in every start(): a place to make a connection ready, or refuse it.
  std::function<void(SimConnection&)> onStart;

  /// The connection made last; null when there is none.
  std::shared_ptr<SimConnection> last() const;

  std::shared_ptr<platform::NetworkConnection> makeConnection(
      const platform::Endpoint& endpoint, bool tls,
      const std::shared_ptr<platform::SerialQueue>& queue) override;
};

}  // namespace tessel::test
