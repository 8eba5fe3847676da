#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <thread>

#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "platform/Services.h"
#include "tessel/Log.h"
#include "tessel/MainQueue.h"
#include "tessel/TSLSession.h"

namespace {

/// The system's clock, but for the date: it goes on `slowness` times slower.
class SlowClock final : public tessel::platform::Clock {
 public:
  SlowClock(std::shared_ptr<Clock> clock, int slowness)
      : clock_{std::move(clock)}, slowness_{slowness} {}

  tessel::Date now() override { return start_ + (clock_->now() - start_) / slowness_; }
  Duration uptime() override { return clock_->uptime(); }
  void sleep(Duration duration) override { clock_->sleep(duration); }
  bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
            std::optional<Duration> timeout, const std::function<bool()>& ready) override {
    return clock_->wait(lock, condition, timeout, ready);
  }

 private:
  const std::shared_ptr<Clock> clock_;
  const int slowness_;
  const tessel::Date start_ = clock_->now();
};

void say(const char* line) {
  std::puts(line);
  std::fflush(stdout);
}

}  // namespace

/// Opens the mouse and the keyboard channel to the hub at the address given and says "ready". At
/// SIGTERM it closes them, says "stopped" and ends. The log goes to standard output.
///
/// SLOWNESS slows the clock by which double clicks are told from single ones, and nothing else.
int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: %s HUB [SLOWNESS]\n", argv[0]);
    return 2;
  }
  // Blocked before any other thread starts, so that only the one below takes it.
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &terminate, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGTERM);  // a test that is killed leaves nothing behind

  tessel::setLogSink([](std::string_view line) {
    std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
    std::fflush(stdout);
  });
  if (argc == 3) {
    auto services = tessel::platform::services();
    services.clock = std::make_shared<SlowClock>(services.clock, std::atoi(argv[2]));
    // In force to the end: the queues' threads use it.
    static const auto& scope = *new tessel::platform::ScopedServices{services};
    static_cast<void>(scope);
  }
  const auto session = tessel::TSLSession::initWithHostName(argv[1], 0);
  session->setNewProtocol(true);
  const auto mouse = tessel::TSLMouseConnection::initWithHub(session);
  const auto keyBoard = tessel::TSLKeyBoardConnection::initWithHub(session);
  session->setMouseConnection(mouse);
  session->setKeyBoardConnection(keyBoard);
  mouse->startWithCompletionHandler([&keyBoard](const std::optional<tessel::Error>& error) {
    if (error) return;
    keyBoard->startWithCompletionHandler([](const std::optional<tessel::Error>&) { say("ready"); });
  });

  std::thread waiter{[&terminate] {
    int signal = 0;
    sigwait(&terminate, &signal);
    tessel::stopMainQueue();
  }};
  tessel::runMainQueue();
  waiter.join();
  mouse->stopWithCompletionHandler(nullptr);
  keyBoard->stopWithCompletionHandler(nullptr);
  say("stopped");
  return 0;
}
