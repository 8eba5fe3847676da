#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/uio.h>

#include "tessel/Error.h"

namespace tessel::platform {

/// Bytes over a connected, non-blocking socket, which outlives the stream. Nothing here waits: an
/// operation that cannot go on says what the socket must be ready for. One thread.
class ByteStream {
 public:
  enum class Status {
    kDone,
    kWantsRead,   ///< again when the socket is readable
    kWantsWrite,  ///< again when the socket is writable
    kClosed,      ///< the peer has closed its side
    kFailed,      ///< the stream is of no more use
  };

  struct Result {
    Status status = Status::kDone;
    std::size_t bytes = 0;                      ///< moved; at least one when done
    std::optional<Error> error = std::nullopt;  ///< when failed
  };

  virtual ~ByteStream() = default;

  /// To be done, before anything else.
  virtual Result handshake() = 0;

  virtual Result read(std::span<std::uint8_t> into) = 0;

  /// Writes what there is room for. Bytes that were not taken stand first in the next call.
  virtual Result write(std::span<const iovec> pieces) = 0;

  /// Whether the peer's close is all that is left to read. Reads nothing that `read` would give.
  virtual bool atEnd() = 0;

  /// Tells the peer that nothing follows, as far as there is room for it.
  virtual void close() = 0;
};

/// TCP as it stands.
std::unique_ptr<ByteStream> makePlainStream(int socket);

/// TLS, with a peer that proves by a certificate that the system trusts to be `host`.
std::unique_ptr<ByteStream> makeTlsStream(int socket, const std::string& host);

}  // namespace tessel::platform
