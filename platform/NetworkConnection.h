#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tessel/Error.h"
#include "tessel/Types.h"

namespace tessel::platform {

class SerialQueue;

/// Domain of the errors of connections: its codes are POSIX ones in the system's own numbering
/// (see `kConnectionRefused`), or TLS and resolver ones.
inline constexpr const char* kNetworkErrorDomain = "tessel.network";

/// Code of the error with which a connection waits after a refusal.
inline constexpr long kConnectionRefused = 61;

/// How a connection stands. An address that is refused or cannot be reached gives kWaiting with
/// its error first, then kFailed.
enum class ConnectionState { kInvalid, kWaiting, kPreparing, kReady, kFailed, kCancelled };

/// What received bytes belong to.
struct ContentContext {
  bool isFinal = false;  ///< whether nothing can follow on this connection
};

/// The outcome of one receive.
struct Received {
  /// Exactly the bytes asked for; none when they did not all come.
  std::optional<Bytes> content;
  std::optional<ContentContext> context;
  /// Whether the peer has closed its side. May come together with the last content.
  bool isComplete = false;
  std::optional<Error> error;

  /// Whether nothing can follow: the peer has closed its side.
  bool isFinal() const { return isComplete && (!context || context->isFinal); }
};

/// A TCP stream to a host, with TLS or without.
///
/// Every handler runs on the queue given at creation. Operations may be called from any thread and
/// return at once. Handlers are let go after kFailed or kCancelled was reported and every receive
/// has completed. Dropping the last reference cancels.
class NetworkConnection {
 public:
  using StateHandler = std::function<void(ConnectionState, const std::optional<Error>&)>;
  using ReceiveHandler = std::function<void(const Received&)>;

  virtual ~NetworkConnection() = default;

  /// Before `start`.
  virtual void setStateChangedHandler(StateHandler handler) = 0;

  virtual void start() = 0;

  /// Asks for exactly `length` bytes; may be called before the connection is ready. Zero bytes
  /// complete at once with no content, no error and no completion flag, and do not touch the
  /// stream. The peer's close gives no content, `isComplete` and a final context; when the close
  /// is already known as the last bytes asked for are delivered, they come with both. A cancelled
  /// or failed connection completes every receive with an error and without content.
  virtual void receive(std::size_t length, ReceiveHandler handler) = 0;

  /// Queues a copy of the bytes, in order. Errors show in the state and in receives.
  virtual void send(const void* bytes, std::size_t length) = 0;

  /// Bytes that were queued and not yet handed to the system.
  virtual std::size_t unsentBytes() const = 0;

  /// Ends the connection. Bytes that were not yet handed to the system are dropped. Reported as
  /// kCancelled, once, unless it had failed before.
  virtual void cancel() = 0;
};

/// Where a connection goes.
struct Endpoint {
  std::string host;  ///< an address or a name
  std::string port;  ///< decimal text
};

class Network {
 public:
  virtual ~Network() = default;

  /// A connection that is not yet started. With TLS the certificate is checked against the
  /// system's trust and the host's name.
  virtual std::shared_ptr<NetworkConnection> makeConnection(
      const Endpoint& endpoint, bool tls, const std::shared_ptr<SerialQueue>& queue) = 0;
};

}  // namespace tessel::platform
