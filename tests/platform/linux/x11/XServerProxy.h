#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tessel::test {

/// Relays between clients and a real X server, and lets a test change what they send one another.
/// Carries no file descriptors, so a client that shares memory does not get through.
class XServerProxy {
 public:
  /// Edits bytes that have just arrived, on the proxy's thread. What one side sends at once is
  /// taken to arrive at once.
  using Edit = std::function<void(std::string&)>;

  XServerProxy(const std::string& display, Edit editRequests, Edit editReplies)
      : server_{std::stoi(display.substr(1))},
        editRequests_{std::move(editRequests)},
        editReplies_{std::move(editReplies)} {
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
    std::vector<pollfd> files{{stop_[0], 0, 0}, {listener, POLLIN, 0}};  // then clients and servers
    while (poll(files.data(), files.size(), -1) > 0 && files[0].revents == 0) {
      for (std::size_t at = 2; at < files.size(); ++at) {
        if (files[at].revents == 0) continue;
        const bool fromClient = at % 2 == 0;
        const std::size_t peer = fromClient ? at + 1 : at - 1;
        if (relay(files[at].fd, files[peer].fd, fromClient ? editRequests_ : editReplies_))
          continue;
        for (const std::size_t end : {at, peer}) close(std::exchange(files[end].fd, -1));
      }
      if (files[1].revents != 0) {
        const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un address = addressOf(server_);
        connect(server, reinterpret_cast<const sockaddr*>(&address), lengthOf(address));
        files.push_back({accept(listener, nullptr, nullptr), POLLIN, 0});
        files.push_back({server, POLLIN, 0});
      }
    }
    for (std::size_t at = 1; at < files.size(); ++at) close(files[at].fd);
  }

  static bool relay(int from, int to, const Edit& edit) {
    std::string bytes(65536, '\0');
    const ssize_t count = recv(from, bytes.data(), bytes.size(), 0);
    if (count <= 0) return false;
    bytes.resize(static_cast<std::size_t>(count));
    edit(bytes);
    return send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }

  const int server_;
  const Edit editRequests_;
  const Edit editReplies_;
  std::array<int, 2> stop_{-1, -1};
  std::thread thread_;
};

}  // namespace tessel::test
