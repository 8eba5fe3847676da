#include "apps/common/EventLoop.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

#include "apps/common/PipeSignal.h"
#include "tessel/MainQueue.h"

namespace tessel::apps {
namespace {

constexpr EventLoop::Duration::rep kMaxWaitMilliseconds = 60'000;

}  // namespace

EventLoop::EventLoop() {
  blockPipeSignal();
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  sigaddset(&set, SIGPIPE);
  signals_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

EventLoop::~EventLoop() { close(signals_); }

void EventLoop::every(Duration period, std::function<void()> handler) {
  ticks_.push_back({period, std::chrono::steady_clock::now() + period, std::move(handler)});
}

void EventLoop::run() {
  runUntil([this] { return std::exchange(stopped_, false); }, std::nullopt);
}

bool EventLoop::runUntil(const std::function<bool()>& done, std::optional<Duration> timeout) {
  assert(thread_.isCurrent());
  const auto deadline =
      timeout ? std::optional{std::chrono::steady_clock::now() + *timeout} : std::nullopt;
  for (;;) {
    if (done()) return true;
    if (deadline && std::chrono::steady_clock::now() >= *deadline) return false;
    turn(deadline);
  }
}

// One wait, then whatever ended it.
void EventLoop::turn(std::optional<Time> deadline) {
  std::optional<Time> next = deadline;
  for (const Tick& tick : ticks_) next = next ? std::min(*next, tick.due) : tick.due;
  int wait = -1;
  if (next) {
    const auto left = std::chrono::ceil<Duration>(*next - std::chrono::steady_clock::now());
    wait = static_cast<int>(std::clamp<Duration::rep>(left.count(), 0, kMaxWaitMilliseconds));
  }
  std::array<pollfd, 2> sources{{{signals_, POLLIN, 0}, {mainQueueFileDescriptor(), POLLIN, 0}}};
  poll(sources.data(), sources.size(), wait);
  if ((sources[0].revents & POLLIN) != 0) {
    signalfd_siginfo info{};
    if (read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
      interrupted_ = true;
      if (interrupt_) {
        interrupt_();
      } else {
        stop();
      }
    }
  }
  if ((sources[1].revents & POLLIN) != 0) drainMainQueue();
  runTicks();
}

void EventLoop::runTicks() {
  const auto now = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < ticks_.size(); ++i) {
    if (ticks_[i].due > now) continue;
    while (ticks_[i].due <= now) ticks_[i].due += ticks_[i].period;
    const auto handler = ticks_[i].handler;  // which may add ticks
    handler();
  }
}

}  // namespace tessel::apps
