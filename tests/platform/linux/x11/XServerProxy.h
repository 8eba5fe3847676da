#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tessel::test {

/// Relays between clients and a real X server, and lets a test change the messages. Carries no file
/// descriptors, so clients of a server with MIT-SHM cannot share memory with it.
class XServerProxy {
 public:
  /// Changes a whole message: a request, or a reply, event or error; the first one each way is that
  /// of the connection's setup. Runs on the proxy's thread.
  using Edit = std::function<void(std::string&)>;

  XServerProxy(const std::string& display, Edit editRequest, Edit editReply)
      : server_{std::stoi(display.substr(1))},
        editRequest_{std::move(editRequest)},
        editReply_{std::move(editReply)} {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = addressOf(number());
    bind(listener, reinterpret_cast<const sockaddr*>(&address), lengthOf(address));
    listen(listener, 8);
    if (pipe(stop_.data()) != 0) return;
    thread_ = std::thread{[this, listener] { run(listener); }};
  }
  ~XServerProxy() {
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
  }
  XServerProxy(const XServerProxy&) = delete;
  XServerProxy& operator=(const XServerProxy&) = delete;

  /// What DISPLAY names it by.
  std::string display() const { return ":" + std::to_string(number()); }

 private:
  // One direction of a connection.
  struct Stream {
    int from = -1;
    int to = -1;
    bool fromClient = false;
    bool setUp = false;        // the setup's message has passed
    std::string arrived = {};  // not yet a whole message

    std::uint32_t word(std::size_t at, std::size_t bytes) const {
      std::uint32_t value = 0;
      std::memcpy(&value, arrived.data() + at, bytes);
      return value;
    }

    // The size of the message that begins; 0 when that is not known yet.
    std::size_t messageSize() const {
      const auto padded = [](std::uint32_t size) { return (size + 3) / 4 * 4; };
      if (fromClient && !setUp) {
        return arrived.size() < 12 ? 0 : 12 + padded(word(6, 2)) + padded(word(8, 2));
      }
      if (fromClient) return arrived.size() < 4 ? 0 : std::size_t{4} * word(2, 2);
      if (arrived.size() < 8) return 0;
      if (!setUp) return 8 + std::size_t{4} * word(6, 2);
      constexpr char kReply = 1;
      return 32 + (arrived[0] == kReply ? std::size_t{4} * word(4, 4) : 0);
    }
  };

  // Beyond the numbers of all servers.
  int number() const { return server_ + 100000; }

  // The abstract socket of a display's number, which leaves no file behind.
  static sockaddr_un addressOf(int display) {
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(display);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path + 1, sizeof(address.sun_path) - 1);
    return address;
  }
  static socklen_t lengthOf(const sockaddr_un& address) {
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                  std::strlen(address.sun_path + 1));
  }

  void run(int listener) {
    std::vector<pollfd> files{{stop_[0], 0, 0}, {listener, POLLIN, 0}};
    std::vector<Stream> streams;  // two for a connection; of files[2] and so on
    while (poll(files.data(), files.size(), -1) > 0 && files[0].revents == 0) {
      for (std::size_t at = 0; at < streams.size(); ++at) {
        if (files[at + 2].revents == 0 || relay(streams[at])) continue;
        for (const std::size_t end : {at, at ^ 1U}) close(std::exchange(files[end + 2].fd, -1));
      }
      if (files[1].revents == 0) continue;
      const int client = accept(listener, nullptr, nullptr);
      const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
      const sockaddr_un address = addressOf(server_);
      connect(server, reinterpret_cast<const sockaddr*>(&address), lengthOf(address));
      files.insert(files.end(), {{client, POLLIN, 0}, {server, POLLIN, 0}});
      streams.push_back({.from = client, .to = server, .fromClient = true});
      streams.push_back({.from = server, .to = client});
    }
    for (std::size_t at = 1; at < files.size(); ++at) close(files[at].fd);
  }

  bool relay(Stream& stream) const {
    std::array<char, 65536> bytes{};
    const ssize_t count = recv(stream.from, bytes.data(), bytes.size(), 0);
    if (count <= 0) return false;
    stream.arrived.append(bytes.data(), static_cast<std::size_t>(count));
    for (;;) {
      const std::size_t size = stream.messageSize();
      if (size == 0 || stream.arrived.size() < size) return true;
      std::string message = stream.arrived.substr(0, size);
      stream.arrived.erase(0, size);
      (stream.fromClient ? editRequest_ : editReply_)(message);
      stream.setUp = true;
      if (send(stream.to, message.data(), message.size(), MSG_NOSIGNAL) < 0) return false;
    }
  }

  const int server_;
  const Edit editRequest_;
  const Edit editReply_;
  std::array<int, 2> stop_{-1, -1};
  std::thread thread_;
};

}  // namespace tessel::test
