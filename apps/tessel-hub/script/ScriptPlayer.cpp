#include "apps/tessel-hub/script/ScriptPlayer.h"

#include <cassert>
#include <utility>
#include <variant>

namespace tessel::hub {
namespace {

// Sends the input of a step; false for a step without input.
struct Send {
  InputSender& input;

  bool operator()(const step::Move& move) const { return input.move(move.x, move.y), true; }
  bool operator()(const step::Button& step) const {
    return input.button(step.button, step.down), true;
  }
  bool operator()(const step::Wheel& wheel) const { return input.wheel(wheel.lines), true; }
  bool operator()(const step::Key& step) const { return input.key(step.key, step.down), true; }
  bool operator()(const auto&) const { return false; }
};

}  // namespace

ScriptPlayer::ScriptPlayer(asio::io_context& context, const Script& script, InputSender& input,
                           HubReporter& reporter, std::function<void()> quit)
    : script_{script},
      input_{input},
      reporter_{reporter},
      quit_{std::move(quit)},
      timer_{context} {}

void ScriptPlayer::start() {
  running_ = true;
  reporter_.script(false);
  play();
}

void ScriptPlayer::stop() {
  running_ = false;
  timer_.cancel();
}

void ScriptPlayer::framesShown(std::uint64_t count) {
  assert(thread_.isCurrent());
  framesShown_ = count;
  if (!running_ || frameAwaited_ == 0 || framesShown_ < frameAwaited_) return;
  frameAwaited_ = 0;
  play();
}

void ScriptPlayer::play() {
  assert(thread_.isCurrent());
  while (running_ && next_ < script_.steps.size()) {
    const Step& step = script_.steps[next_++];
    if (std::visit(Send{input_}, step)) continue;
    if (const auto* sleep = std::get_if<step::Sleep>(&step)) {
      timer_.expires_after(sleep->time);
      timer_.async_wait([self = shared_from_this()](const asio::error_code& error) {
        if (!error) self->play();
      });
      return;
    }
    if (const auto* wait = std::get_if<step::WaitFrame>(&step)) {
      if (framesShown_ >= wait->number) continue;
      frameAwaited_ = wait->number;
      return;
    }
    finish();
    return quit_();
  }
  if (running_) finish();
}

void ScriptPlayer::finish() {
  running_ = false;
  reporter_.script(true);
}

}  // namespace tessel::hub
