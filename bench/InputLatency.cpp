#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <semaphore>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "input/TSLMouseConnection.h"
#include "platform/Services.h"
#include "tessel/Constants.h"
#include "tessel/Log.h"
#include "tessel/TSLSession.h"
#include "wire/MousePacket.h"

/// Measures how long a mouse packet takes from the socket to the desktop: from having been read
/// whole to its event having been posted. Needs a display to post to (xvfb-run will do).
namespace tessel::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr const char* kHubAddress = "127.9.1.1";
constexpr int kColumns = 640;  // a packet's position is its number, row by row
constexpr int kRows = 480;

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "input_latency: %s\n", what);
  std::exit(1);
}

/// The times of the packets, in order. Written on the mouse queue; `count` from any thread.
struct Record {
  std::vector<steady_clock::time_point> read;
  std::vector<steady_clock::time_point> posted;
  std::vector<Point> places;
  std::atomic<std::size_t> count = 0;
  void clear() {
    read.clear();
    posted.clear();
    places.clear();
    count = 0;
  }
};
Record record;

/// Records when a whole packet has been read.
class WatchedConnection final : public platform::NetworkConnection {
 public:
  explicit WatchedConnection(std::shared_ptr<NetworkConnection> inner) : inner_{std::move(inner)} {}
  void setStateChangedHandler(StateHandler handler) override {
    inner_->setStateChangedHandler(std::move(handler));
  }
  void start() override { inner_->start(); }
  void receive(std::size_t length, ReceiveHandler handler) override {
    inner_->receive(length, [length, handler = std::move(handler)](const auto& received) {
      if (length == MousePacket::kSize) record.read.push_back(steady_clock::now());
      handler(received);
    });
  }
  void send(const void* bytes, std::size_t length) override { inner_->send(bytes, length); }
  std::size_t unsentBytes() const override { return inner_->unsentBytes(); }
  void cancel() override { inner_->cancel(); }

 private:
  const std::shared_ptr<NetworkConnection> inner_;
};

class WatchedNetwork final : public platform::Network {
 public:
  explicit WatchedNetwork(std::shared_ptr<Network> inner) : inner_{std::move(inner)} {}
  std::shared_ptr<platform::NetworkConnection> makeConnection(
      const platform::Endpoint& endpoint, bool tls,
      const std::shared_ptr<platform::SerialQueue>& queue) override {
    return std::make_shared<WatchedConnection>(inner_->makeConnection(endpoint, tls, queue));
  }

 private:
  const std::shared_ptr<Network> inner_;
};

/// Records when an event was posted.
class WatchedPoster final : public platform::EventPoster {
 public:
  explicit WatchedPoster(std::unique_ptr<EventPoster> inner) : inner_{std::move(inner)} {}
  std::optional<platform::MouseEvent> createMouseEvent(platform::MouseEventType type,
                                                       Point position,
                                                       platform::MouseButton button) override {
    return inner_->createMouseEvent(type, position, button);
  }
  void post(const platform::MouseEvent& event) override {
    inner_->post(event);
    record.posted.push_back(steady_clock::now());
    record.places.push_back(event.position);
    ++record.count;
  }
  std::optional<platform::ScrollWheelEvent> createScrollWheelEvent(std::int32_t lines) override {
    return inner_->createScrollWheelEvent(lines);
  }
  void post(const platform::ScrollWheelEvent& event) override { inner_->post(event); }
  std::optional<platform::KeyboardEvent> createKeyboardEvent(std::uint16_t key,
                                                             bool down) override {
    return inner_->createKeyboardEvent(key, down);
  }
  void post(const platform::KeyboardEvent& event) override { inner_->post(event); }
  void releaseAll() override { inner_->releaseAll(); }
  void close() override { inner_->close(); }

 private:
  const std::unique_ptr<EventPoster> inner_;
};

/// The desktop; records what is posted to it.
class WatchedDesktop final : public platform::Desktop {
 public:
  explicit WatchedDesktop(std::shared_ptr<Desktop> inner) : inner_{std::move(inner)} {}
  std::vector<Screen> screens() override { return inner_->screens(); }
  Point mouseLocation() override { return inner_->mouseLocation(); }
  std::variant<std::shared_ptr<platform::CaptureSession>, platform::CaptureRefusal>
  makeCaptureSession(const platform::CaptureInput& input, const platform::CaptureOutput& output,
                     const std::weak_ptr<platform::CaptureOutputDelegate>& delegate,
                     const std::shared_ptr<platform::SerialQueue>& queue) override {
    return inner_->makeCaptureSession(input, output, delegate, queue);
  }
  std::unique_ptr<platform::EventPoster> makeEventPoster() override {
    return std::make_unique<WatchedPoster>(inner_->makeEventPoster());
  }
  std::optional<Obstacle> obstacle() override { return inner_->obstacle(); }
  Finding screenFinding() override { return inner_->screenFinding(); }
  Finding inputFinding() override { return inner_->inputFinding(); }

 private:
  const std::shared_ptr<Desktop> inner_;
};

class WatchedDesktops final : public platform::Desktops {
 public:
  explicit WatchedDesktops(Desktops& real)
      : desktop_{std::make_shared<WatchedDesktop>(real.current())} {}
  std::optional<Obstacle> select(ScreenSource, Size) override { return std::nullopt; }
  std::shared_ptr<platform::Desktop> current() override { return desktop_; }

 private:
  const std::shared_ptr<platform::Desktop> desktop_;
};

class NoJournal final : public platform::SystemLog {
 public:
  bool available() override { return false; }
  void write(std::string_view /*line*/) override {}
};

/// The hub's side of the mouse channel: listens, shakes hands, sends.
class Hub {
 public:
  Hub() {
    listener_ = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(TSLMouseConnectorDefaultPort)));
    inet_pton(AF_INET, kHubAddress, &address.sin_addr);
    require(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                listen(listener_, 1) == 0,
            "the hub's port cannot be bound");
  }
  ~Hub() {
    shutdown(channel_, SHUT_RDWR);
    if (drain_.joinable()) drain_.join();
    ::close(channel_);
    ::close(listener_);
  }
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  /// Sends the replies at once: the other side reads them when it expects them.
  void shakeHands() {
    channel_ = accept(listener_, nullptr, nullptr);
    sendAll({2, 0, 0, 0, 2, 0, 0, 0, 2, 1});
    sendAll({2, 0, 0, 0, 2, 0, 0, 0, 4, 1});
    drain_ = std::thread{[this] {
      char unread[4096];
      while (read(channel_, unread, sizeof unread) > 0) {
      }
    }};
  }
  void sendAll(const Bytes& bytes) const {
    require(send(channel_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(bytes.size()),
            "the channel is broken");
  }

 private:
  int listener_ = -1;
  int channel_ = -1;
  std::thread drain_;
};

MousePacket packetOf(std::size_t number) {
  MousePacket packet;
  packet.x = static_cast<std::uint16_t>(number % kColumns);
  packet.y = static_cast<std::uint16_t>(number / kColumns % kRows);
  packet.command = static_cast<std::uint8_t>(MouseCommand::kMove);
  return packet;
}

double microseconds(steady_clock::duration duration) {
  return std::chrono::duration<double, std::micro>(duration).count();
}

/// Sends `rate` packets a second for `duration` and prints their latencies.
void measure(const Hub& hub, const char* what, std::size_t rate, std::chrono::seconds duration) {
  const std::size_t total = rate * static_cast<std::size_t>(duration.count());
  record.clear();
  std::vector<steady_clock::time_point> sent;
  sent.reserve(total);
  const auto start = steady_clock::now();
  for (std::size_t i = 0; i < total; ++i) {
    std::this_thread::sleep_until(start + i * std::chrono::nanoseconds{1'000'000'000 / rate});
    const auto bytes = packetOf(i).bytes();
    sent.push_back(steady_clock::now());
    hub.sendAll({bytes.begin(), bytes.end()});
  }
  const auto end = steady_clock::now() + 10s;
  while (record.count < total && steady_clock::now() < end) std::this_thread::sleep_for(1ms);
  require(record.count == total, "packets were lost");
  std::vector<double> fromRead;
  std::vector<double> fromSent;
  for (std::size_t i = 0; i < total; ++i) {
    const MousePacket packet = packetOf(i);
    require(record.places[i] == (Point{double(packet.x), double(packet.y)}),
            "packets were reordered");
    fromRead.push_back(microseconds(record.posted[i] - record.read[i]));
    fromSent.push_back(microseconds(record.posted[i] - sent[i]));
  }
  std::ranges::sort(fromRead);
  std::ranges::sort(fromSent);
  const auto at = [](const std::vector<double>& sorted, std::size_t percent) {
    return sorted[(sorted.size() - 1) * percent / 100];
  };
  std::printf(
      "%6zu a second, %-8s %8zu packets   read to posted: median %7.1f us, 99%% %7.1f us"
      "   sent to posted: median %7.1f us, 99%% %7.1f us\n",
      rate, what, total, at(fromRead, 50), at(fromRead, 99), at(fromSent, 50), at(fromSent, 99));
}

void run() {
  platform::Services services = platform::makeServices();
  services.network = std::make_shared<WatchedNetwork>(services.network);
  services.desktops = std::make_shared<WatchedDesktops>(*services.desktops);
  services.systemLog = std::make_shared<NoJournal>();
  const platform::ScopedServices scope{services};
  require(!services.desktops->current()->screens().empty(),
          "there is no display to post to; try xvfb-run");

  Hub hub;
  const auto session = TSLSession::initWithHostName(kHubAddress, 0);
  session->setNewProtocol(true);
  session->sessionConfig()->setSessionSize(
      services.desktops->current()->screens().front().frame().size);
  const auto mouse = TSLMouseConnection::initWithHub(session);
  session->setMouseConnection(mouse);
  std::counting_semaphore<> ready{0};
  mouse->startWithCompletionHandler([&ready](const std::optional<Error>& error) {
    require(!error, "the channel does not open");
    ready.release();
  });
  hub.shakeHands();
  require(ready.try_acquire_for(10s), "the channel does not open");
  measure(hub, "log off", 1000, 10s);
  measure(hub, "log off", 10'000, 3s);
  std::FILE* const nowhere = std::fopen("/dev/null", "w");
  setLogSink([nowhere](std::string_view line) {
    std::fprintf(nowhere, "%.*s\n", static_cast<int>(line.size()), line.data());
    std::fflush(nowhere);
  });
  measure(hub, "log on", 1000, 10s);
  measure(hub, "log on", 10'000, 3s);
  setLogSink(nullptr);
  std::fclose(nowhere);
  mouse->stopWithCompletionHandler(nullptr);
}

}  // namespace
}  // namespace tessel::bench

int main() { tessel::bench::run(); }
