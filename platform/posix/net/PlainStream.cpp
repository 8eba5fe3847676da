#include <cerrno>
#include <sys/socket.h>

#include "platform/posix/net/ByteStream.h"
#include "platform/posix/net/NetworkError.h"

namespace tessel::platform {
namespace {

class PlainStream final : public ByteStream {
 public:
  explicit PlainStream(int socket) : socket_{socket} {}

  Result handshake() override { return {}; }

  Result read(std::span<std::uint8_t> into) override {
    const ssize_t count = recv(socket_, into.data(), into.size(), 0);
    if (count == 0) return {.status = Status::kClosed};
    return outcome(count, Status::kWantsRead);
  }

  Result write(std::span<const iovec> pieces) override {
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(pieces.data());  // only read by the call
    message.msg_iovlen = pieces.size();
    return outcome(sendmsg(socket_, &message, MSG_NOSIGNAL), Status::kWantsWrite);
  }

  bool atEnd() override {
    std::uint8_t next = 0;
    return recv(socket_, &next, 1, MSG_PEEK) == 0;
  }

  void close() override { shutdown(socket_, SHUT_WR); }

 private:
  static Result outcome(ssize_t count, Status whenNotReady) {
    if (count >= 0) return {.bytes = static_cast<std::size_t>(count)};
    if (errno == EAGAIN || errno == EINTR) return {.status = whenNotReady};
    return {.status = Status::kFailed, .error = networkError(errno)};
  }

  const int socket_;
};

}  // namespace

std::unique_ptr<ByteStream> makePlainStream(int socket) {
  return std::make_unique<PlainStream>(socket);
}

}  // namespace tessel::platform
