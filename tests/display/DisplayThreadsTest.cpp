#include <gmock/gmock.h>

#include "display/TSLDisplayConnection.h"
#include "platform/Services.h"
#include "platform/base/ByteOrder.h"
#include "tessel/Constants.h"
#include "tessel/TSLSession.h"
#include "tests/platform/posix/net/LoopbackPeer.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeFiles.h"

// The display connection on the real queues, sockets, capture and encoder: what only threads can
// break. The hub is the test's own thread.
namespace tessel::test {
namespace {

using namespace std::chrono_literals;

// Real time without sleeps: these tests do without the pause before connecting.
class ImpatientClock final : public platform::Clock {
 public:
  explicit ImpatientClock(std::shared_ptr<platform::Clock> clock) : clock_{std::move(clock)} {}

  Date now() override { return clock_->now(); }
  Duration uptime() override { return clock_->uptime(); }
  void sleep(Duration) override {}
  bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
            std::optional<Duration> timeout, const std::function<bool()>& ready) override {
    return clock_->wait(lock, condition, timeout, ready);
  }

 private:
  const std::shared_ptr<platform::Clock> clock_;
};

// Answers every request at once, on a queue of its own.
class PromptHTTP final : public platform::URLSessions, public URLSession {
 public:
  explicit PromptHTTP(platform::Queues& queues) : queue_{queues.makeSerialQueue("HTTP")} {}

  std::shared_ptr<URLSession> makeSession(std::optional<platform::Clock::Duration>) override {
    return {std::shared_ptr<void>{}, this};
  }
  void dataTask(const URLRequest&, Completion completion) override {
    queue_->async([completion = std::move(completion)] { completion({}, {}, std::nullopt); });
  }

 private:
  const std::shared_ptr<platform::SerialQueue> queue_;
};

platform::Services servicesWithPattern() {
  auto services = platform::makeServices();
  services.desktops->select(ScreenSource::kPattern, {320, 240});
  services.clock = std::make_shared<ImpatientClock>(services.clock);
  services.urlSessions = std::make_shared<PromptHTTP>(*services.queues);
  services.files = std::make_shared<FakeFiles>();
  services.userDefaults = std::make_shared<FakeUserDefaults>();
  return services;
}

class DisplayThreadsTest : public testing::Test {
 protected:
  DisplayThreadsTest() { TSLDisplayConnectorDefaultPort = listener.port().c_str(); }
  ~DisplayThreadsTest() override {
    TSLDisplayConnectorDefaultPort = "1494";
    if (display) settle(*display->socketDispatchQueue());
  }

  // Lets the queue do what it has to do: the last that a socket tells is told to this test's
  // services.
  static void settle(platform::SerialQueue& queue) {
    Eventually<bool> settled{false};
    queue.async([&settled] { settled.set(true); });
    EXPECT_TRUE(settled.becomesEqual(true));
  }

  // A connection that casts, and the hub's end of it.
  std::unique_ptr<LoopbackPeer> cast() {
    display = TSLDisplayConnection::initWithHub(session);
    outcome.set(std::nullopt);
    display->startWithCompletionHandler(
        [this](const std::optional<Error>& error) { outcome.set(error ? error->code : 0); });
    auto hub = std::make_unique<LoopbackPeer>(listener.accept());
    EXPECT_EQ(hub->receive(4 + 228).size(), 232U);
    hub->send(Bytes{4, 0, 0x81, 0});
    EXPECT_TRUE(outcome.becomesEqual(0));
    return hub;
  }

  // Reads one message; false at the end of the stream.
  static bool takeMessage(LoopbackPeer& hub, bool acknowledges) {
    const Bytes header = hub.receive(4);
    if (header.size() < 4) return false;
    EXPECT_EQ(header[2], 0x05);
    const auto length = platform::getLittleEndian<0, std::uint16_t>(std::span{header}.first<4>());
    if (hub.receive(length - 4U).size() < length - 4U) return false;
    if (acknowledges && header[3] == 0) hub.send(Bytes{4, 0, 0x87, 0});
    return true;
  }

  static void takeFrames(LoopbackPeer& hub, int count) {
    for (int i = 0; i < count; ++i) ASSERT_TRUE(takeMessage(hub, true));
  }

  // Reads to the end of the stream. Nothing is acknowledged any more: an answer to a socket that is
  // closed already would be answered with a reset.
  static void takeRest(LoopbackPeer& hub) {
    while (takeMessage(hub, false)) {
    }
  }

  LoopbackListener listener;
  platform::ScopedServices scope{servicesWithPattern()};
  std::shared_ptr<platform::SerialQueue> probe =
      platform::services().queues->makeSerialQueue("probe");
  std::shared_ptr<TSLSession> session = TSLSession::initWithHostName("127.0.0.1", 0);
  std::shared_ptr<TSLDisplayConnection> display;
  Eventually<std::optional<long>> outcome;
};

TEST_F(DisplayThreadsTest, CastsForAsLongAsTheHubAcknowledges) {
  const auto hub = cast();
  takeFrames(*hub, 45);
  const auto statistics = display->statistics();
  EXPECT_GE(statistics.framesEncoded, 45);
  EXPECT_GT(statistics.encodeSeconds, 0);
  display->stopWithCompletionHandler(nullptr);
  takeRest(*hub);
}

TEST_F(DisplayThreadsTest, AHubThatNeverReadsGets6Frames) {
  const auto hub = cast();
  takeFrames(*hub, 1);
  Eventually<TSLSessionStatistics> seen;
  const auto timer = platform::services().queues->makeTimer(
      probe, 0s, 10ms, [&] { seen.set(display->statistics()); });
  timer->resume();
  // The one that was acknowledged, and six.
  EXPECT_TRUE(seen.becomes([](const auto& statistics) { return statistics.framesEncoded >= 7; }));
  EXPECT_EQ(display->ackedSamples(), 0);
  // The pattern never stands still: what is captured without a credit is dropped.
  const auto dropped = seen.get().framesDropped;
  EXPECT_TRUE(seen.becomes(
      [&](const auto& statistics) { return statistics.framesDropped >= dropped + 5; }));
  timer->cancel();
  settle(*probe);
  EXPECT_EQ(display->ackedSamples(), 0);
  EXPECT_EQ(display->statistics().framesEncoded, 7);
  display->stopWithCompletionHandler(nullptr);
}

TEST_F(DisplayThreadsTest, AStopWhileFramesAreEncodedComesBack) {
  for (int frames = 1; frames <= 5; ++frames) {
    const auto hub = cast();
    takeFrames(*hub, frames);
    display->stopWithCompletionHandler(nullptr);
    EXPECT_FALSE(display->connected());
    takeRest(*hub);
    settle(*display->socketDispatchQueue());
  }
}

TEST_F(DisplayThreadsTest, TheLastReferenceMayGoOnAnyThread) {
  using QueueOf = std::shared_ptr<platform::SerialQueue> (*)(const TSLDisplayConnection&);
  const QueueOf queues[] = {
      [](const TSLDisplayConnection& one) { return one.socketDispatchQueue(); },
      [](const TSLDisplayConnection& one) { return one.sampleBufferDispatchQueue(); },
      [](const TSLDisplayConnection&) {
        return platform::services().queues->makeSerialQueue("x");
      }};
  for (const QueueOf queueOf : queues) {
    const auto hub = cast();
    takeFrames(*hub, 3);
    const std::weak_ptr<TSLDisplayConnection> weak = display;
    const auto queue = queueOf(*display);
    const auto socketQueue = display->socketDispatchQueue();
    const auto sampleQueue = display->sampleBufferDispatchQueue();
    queue->async([held = std::move(display)] {});
    takeRest(*hub);
    EXPECT_TRUE(weak.expired());
    settle(*socketQueue);
    settle(*sampleQueue);  // where the encoder ends
  }
}

TEST_F(DisplayThreadsTest, AStopDuringTheStartLeavesNothingHanging) {
  display = TSLDisplayConnection::initWithHub(session);
  display->startWithCompletionHandler(
      [this](const std::optional<Error>& error) { outcome.set(error ? error->code : 0); });
  LoopbackPeer hub{listener.accept()};
  EXPECT_EQ(hub.receive(4 + 228).size(), 232U);
  display->stopWithCompletionHandler(nullptr);
  EXPECT_TRUE(hub.seesEnd());
  EXPECT_TRUE(outcome.becomesEqual(7)) << outcome.get().value_or(-1);
  EXPECT_EQ(display->statistics().framesCaptured, 0);
}

}  // namespace
}  // namespace tessel::test
