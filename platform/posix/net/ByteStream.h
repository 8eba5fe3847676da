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

/// Bytes over a connected, non-blocking socket, which outlives the stream. Nothing blocks: an
/// operation that cannot proceed returns what the socket must be ready for. One thread.
class ByteStream {
 public:
  enum class Status {
    kDone,
    kWantsRead,   ///< again when the socket is readable
    kWantsWrite,  ///< again when the socket is writable
    kClosed,      ///< the peer has closed its side
    kFailed,      ///< for good
  };

  struct Result {
    Status status = Status::kDone;
    std::size_t bytes = 0;                      ///< moved; at least one when done
    std::optional<Error> error = std::nullopt;  ///< when failed
  };

  virtual ~ByteStream() = default;

  /// To be repeated until done, before any other operation.
  virtual Result handshake() = 0;

  virtual Result read(std::span<std::uint8_t> into) = 0;

  /// Writes as much as the socket takes. The rest comes first in the next call.
  virtual Result write(std::span<const iovec> pieces) = 0;

  /// Whether the peer's close is all that is left to read. Reads nothing that `read` would give.
  virtual bool atEnd() = 0;

  /// Ends the stream towards the peer; best effort.
  virtual void close() = 0;
};

/// Plain TCP.
std::unique_ptr<ByteStream> makePlainStream(int socket);

/// TLS; the peer must have a certificate for `host` that the system trusts.
std::unique_ptr<ByteStream> makeTlsStream(int socket, const std::string& host);

}  // namespace tessel::platform
