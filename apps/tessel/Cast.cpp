#include "apps/tessel/Cast.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "apps/tessel/CastReport.h"
#include "apps/tessel/Explain.h"
#include "tessel/TSLSession.h"
#include "wire/Ports.h"

namespace tessel::apps {
namespace {

using namespace std::chrono_literals;

constexpr auto kTick = 250ms;
// A hub that answers the mouse handshake wrongly leaves the connect waiting without end; a firewall
// that drops what is sent to the channel's port, for half a minute.
constexpr auto kMouseStepTimeout = 10s;

enum class Step { kDetails, kReceiver, kMouse, kKeyboard };

Step currentStep(const TSLSession& session) {
  if (!session.applicationURL()) return Step::kDetails;
  if (session.keyBoardConnection()) return Step::kKeyboard;
  return session.mouseConnection() ? Step::kMouse : Step::kReceiver;
}

const char* describe(Step step) {
  switch (step) {
    case Step::kDetails:
      return "asking the hub for its details";
    case Step::kReceiver:
      return "starting the receiver on the hub";
    case Step::kMouse:
      return "opening the mouse channel";
    case Step::kKeyboard:
      return "opening the keyboard channel";
  }
  return "";
}

/// One run of `tessel cast`. Runs on the loop's thread, on which the session calls it too.
class Caster : public TSLSessionDelegate {
 public:
  Caster(EventLoop& loop, const CastOptions& options)
      : loop_{loop},
        options_{options},
        report_{options.host, options.json, options.stats},
        session_{TSLSession::initWithHostName(options.host, options.displayMode)} {}

  int run(const std::shared_ptr<Caster>& self) {
    session_->setDelegate(self, OperationQueue::mainQueue());
    loop_.onInterrupt([this] { end(); });
    loop_.every(kTick, [this] { tick(); });
    session_->connect();
    loop_.run();
    loop_.onInterrupt(nullptr);
    return exitCode_;
  }

  void didChangeState(const std::shared_ptr<TSLSession>&, std::int64_t state) override {
    report_.state(state);
    if (state == TSLSessionStateConnected) {
      connectedAt_ = std::chrono::steady_clock::now();
      report_.connected(session_->sessionConfig()->sessionSize(), session_->statistics());
    } else if (state == TSLSessionStateDisconnected && ending_) {
      loop_.stop();
    }
  }

  void connectionFailedWithError(const std::shared_ptr<TSLSession>&, const Error& error) override {
    if (!ending_) {  // a session that the user ends has not failed
      report_.failed(error);
      exitCode_ = 1;
    }
    loop_.stop();
  }

 private:
  void tick() {
    const auto now = std::chrono::steady_clock::now();
    if (session_->state() == TSLSessionStateConnecting) return waitForConnection(now);
    if (!connectedAt_) return;
    if (options_.duration && now - *connectedAt_ >= Seconds{*options_.duration}) return end();
    const int seconds = secondsCasting();
    if (seconds <= lastReport_) return;
    lastReport_ = seconds;
    report_.casting(now - *connectedAt_, session_->statistics());
  }

  void waitForConnection(std::chrono::steady_clock::time_point now) {
    const Step step = currentStep(*session_);
    report_.connecting(describe(step));
    if (step != step_) {
      step_ = step;
      stepBegan_ = now;
    } else if (step == Step::kMouse && now - stepBegan_ >= kMouseStepTimeout && !warned_) {
      warned_ = true;
      report_.notice(
          std::string{"The mouse channel is not open yet: the hub has not answered, or its answer "
                      "was not understood. Check that no firewall blocks its ports "} +
          kChannelsPort.text + " and " + kOldInputPort.text +
          ". Still waiting; press Ctrl-C to give up.");
    }
  }

  void end() {
    if (ending_) return loop_.stop();  // the second request does not wait for the session
    ending_ = true;
    const TSLSessionStatistics last = session_->statistics();
    const bool idle = session_->state() == TSLSessionStateDisconnected;
    session_->disconnect();
    if (connectedAt_) report_.ended(secondsCasting(), last);
    if (idle) loop_.stop();
  }

  int secondsCasting() const {
    return static_cast<int>((std::chrono::steady_clock::now() - *connectedAt_) / 1s);
  }

  EventLoop& loop_;
  const CastOptions& options_;
  CastReport report_;
  const std::shared_ptr<TSLSession> session_;
  std::optional<std::chrono::steady_clock::time_point> connectedAt_;
  std::optional<Step> step_;
  std::chrono::steady_clock::time_point stepBegan_;
  bool warned_ = false;
  bool ending_ = false;
  int lastReport_ = 0;
  int exitCode_ = 0;
};

}  // namespace

int runCast(EventLoop& loop, const CastOptions& options) {
  if (const auto obstacle = selectScreenSource(options.screen, options.patternSize)) {
    const Error error{"AVFoundationErrorDomain", -11800, obstacle->sentence};
    CastReport{options.host, options.json, options.stats}.failed(error, obstacle->sentence,
                                                                 advice(*obstacle, options.screen));
    return 1;
  }
  const auto caster = std::make_shared<Caster>(loop, options);
  return caster->run(caster);
}

}  // namespace tessel::apps
