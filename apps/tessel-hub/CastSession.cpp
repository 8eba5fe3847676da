#include "apps/tessel-hub/CastSession.h"

#include <asio/post.hpp>
#include <cassert>
#include <utility>

#include "apps/tessel-hub/channels/ContextCheck.h"
#include "wire/ControlMessages.h"
#include "wire/MessageHeader.h"

namespace tessel::hub {
namespace {

// Long enough for a sender to start its encoder.
constexpr std::chrono::seconds kContextTimeout{30};
constexpr std::chrono::seconds kStatsInterval{1};

double seconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

}  // namespace

CastSession::CastSession(Surroundings surroundings, std::shared_ptr<ChannelStream> display,
                         EndHandler ended)
    : surroundings_{std::move(surroundings)},
      display_{std::make_shared<DisplayReceiver>(
          std::move(display), static_cast<FrameAssembler::Sink&>(*this),
          [this](const std::string& problem) { end(problem); })},
      ended_{std::move(ended)},
      timer_{surroundings_.context} {}

CastSession::~CastSession() { closeChannels(); }

void CastSession::start() {
  assert(isCurrent());
  startedAt_ = lastTickAt_ = std::chrono::steady_clock::now();
  timer_.expires_after(kContextTimeout);
  timer_.async_wait([weak = weak_from_this()](const asio::error_code& error) {
    const std::shared_ptr<CastSession> self = weak.lock();
    if (!error && self && !self->request_) self->end("the sender never asked for a context");
  });
  display_->start();
}

void CastSession::onContextRequest(std::span<const std::uint8_t> message) {
  if (ending_) return;
  if (request_) return end("the sender asked for a second context");
  std::string problem;
  request_ = servedRequest(message, problem);
  if (!request_) return end(problem);
  const int width = static_cast<int>(request_->width);
  const int height = static_cast<int>(request_->height);
  input_.emplace(width, height);
  makePipeline();
  surroundings_.screen.begin(width, height, address());
  surroundings_.reporter.connected(address(), width, height);
  startedAt_ = lastTickAt_ = std::chrono::steady_clock::now();
  tick();
  display_->send(contextMessage(VSCH_CMD_CREATE_CONTEXT_RESPONSE));
  inputChanged();
}

bool CastSession::isCurrent() const {
  return surroundings_.context.get_executor().running_in_this_thread();
}

void CastSession::makePipeline() {
  const auto post = [&context = surroundings_.context, weak = weak_from_this()](auto task) {
    asio::post(context, [weak, task = std::move(task)] {
      if (const std::shared_ptr<CastSession> self = weak.lock()) task(*self);
    });
  };
  const FramePipeline::Settings settings{
      .width = static_cast<int>(request_->width),
      .height = static_cast<int>(request_->height),
      .readCounters = surroundings_.frameEvents,
  };
  FramePipeline::Handlers handlers;
  handlers.decoded = surroundings_.decoded;
  handlers.done = [post](FrameReport report) {
    post([report = std::move(report)](CastSession& self) { self.frameDone(report); });
  };
  handlers.room = [post] { post([](CastSession& self) { self.display_->resume(); }); };
  handlers.finished = [post] { post([](CastSession& self) { self.finished(); }); };
  handlers.trouble = [&reporter = surroundings_.reporter](const std::string& sentence) {
    reporter.notice(sentence);
  };
  pipeline_ = std::make_unique<FramePipeline>(settings, surroundings_.screen,
                                              surroundings_.recorder, std::move(handlers));
}

void CastSession::onDestroyContext() { end({}); }

void CastSession::onFrame(std::vector<std::uint8_t> frame) {
  if (ending_) return;
  if (!pipeline_) return end("the sender sent a frame before it asked for a context");
  ++received_;
  bytes_ += frame.size();
  if (!pipeline_->push(std::move(frame))) display_->pause();
}

void CastSession::onOtherMessage(std::uint8_t command) {
  surroundings_.log.line("display command " + std::to_string(command) + " skipped");
}

// Acknowledges every frame, shown or not: each has taken one of the sender's six credits.
void CastSession::frameDone(const FrameReport& report) {
  assert(isCurrent());
  if (report.shown) ++shown_;
  if (!report.problem.empty()) {
    surroundings_.log.line("frame " + std::to_string(report.number) + ": " + report.problem);
  }
  if (surroundings_.frameEvents) surroundings_.reporter.frame(report);
  if (ending_) return;
  display_->send(controlMessage(VSCH_CMD_CONTROL_C2H));
  if (player_) player_->framesShown(shown_);
}

void CastSession::addMouse(std::shared_ptr<ChannelStream> stream) {
  if (ending_ || mouse_) return stream->close();
  MouseChannel::Handlers handlers;
  handlers.ready = [this] {
    mouseReady_ = true;
    inputChanged();
  };
  handlers.cursor = [this](int x, int y) {
    surroundings_.screen.moveCursor(x, y);
    surroundings_.reporter.cursor(x, y);
  };
  handlers.ended = [this] {
    mouse_.reset();
    mouseReady_ = false;
    inputChanged();
  };
  mouse_ = std::make_shared<MouseChannel>(std::move(stream), std::move(handlers));
  mouse_->start();
}

void CastSession::addKeyboard(std::shared_ptr<ChannelStream> stream) {
  if (ending_ || keyboard_) return stream->close();
  keyboard_ = std::make_shared<KeyboardChannel>(std::move(stream), [this] {
    keyboard_.reset();
    inputChanged();
  });
  keyboard_->start();
  inputChanged();
}

void CastSession::inputChanged() {
  assert(isCurrent());
  if (!input_) return;
  const bool wasReady = input_->ready();
  mouse_&& mouseReady_ ? input_->attachMouse(mouse_->stream()) : input_->detachMouse();
  keyboard_ ? input_->attachKeyboard(keyboard_->stream()) : input_->detachKeyboard();
  if (wasReady == input_->ready()) return;
  if (wasReady) {
    if (player_) player_->stop();
    surroundings_.log.line("the input channels are gone");
    return;
  }
  surroundings_.reporter.inputReady();
  if (!surroundings_.script || player_) return;
  player_ = std::make_shared<ScriptPlayer>(surroundings_.context, *surroundings_.script, *input_,
                                           surroundings_.reporter, surroundings_.quit);
  player_->start();
}

void CastSession::tick() {
  timer_.expires_after(kStatsInterval);
  timer_.async_wait([weak = weak_from_this()](const asio::error_code& error) {
    const std::shared_ptr<CastSession> self = weak.lock();
    if (error || !self || self->ending_) return;
    self->surroundings_.reporter.stats(self->statsSince(self->lastTickAt_, self->shownAtLastTick_));
    self->lastTickAt_ = std::chrono::steady_clock::now();
    self->shownAtLastTick_ = self->shown_;
    self->tick();
  });
}

HubReporter::Stats CastSession::statsSince(Time start, std::uint64_t shownBefore) const {
  const Time now = std::chrono::steady_clock::now();
  const double lasted = seconds(now - start);
  return {.seconds = seconds(now - startedAt_),
          .framesReceived = received_,
          .framesShown = shown_,
          .bytesReceived = bytes_,
          .fps = lasted > 0 ? static_cast<double>(shown_ - shownBefore) / lasted : 0};
}

void CastSession::closeChannels() {
  if (player_) player_->stop();
  display_->close();
  if (mouse_) mouse_->close();
  if (keyboard_) keyboard_->close();
}

void CastSession::end(const std::string& problem) {
  assert(isCurrent());
  if (std::exchange(ending_, true)) return;
  problem_ = problem;
  if (input_) input_->releaseAll();
  timer_.cancel();
  closeChannels();
  if (pipeline_) return pipeline_->finish();
  asio::post(surroundings_.context, [weak = weak_from_this()] {
    if (const std::shared_ptr<CastSession> self = weak.lock()) self->finished();
  });
}

void CastSession::finished() {
  assert(isCurrent());
  surroundings_.screen.end();
  ended_(statsSince(startedAt_, 0), problem_);
}

}  // namespace tessel::hub
