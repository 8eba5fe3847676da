#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "apps/tessel-hub/channels/DisplayReceiver.h"
#include "apps/tessel-hub/channels/InputSender.h"
#include "apps/tessel-hub/channels/KeyboardChannel.h"
#include "apps/tessel-hub/channels/MouseChannel.h"
#include "apps/tessel-hub/report/HubLog.h"
#include "apps/tessel-hub/report/HubReporter.h"
#include "apps/tessel-hub/script/Script.h"
#include "apps/tessel-hub/script/ScriptPlayer.h"
#include "apps/tessel-hub/video/FramePipeline.h"
#include "apps/tessel-hub/video/HubScreen.h"
#include "apps/tessel-hub/video/StreamRecorder.h"
#include "wire/ContextRequest.h"

namespace tessel::hub {

/// One sender's cast, from the opening of its display channel to the end of that: its channels,
/// its pictures and the input that goes back.
///
/// Runs on the thread of its io_context. Owned by shared_ptr: what is posted to that thread holds
/// it weakly.
class CastSession final : public std::enable_shared_from_this<CastSession>, FrameAssembler::Sink {
 public:
  /// What a session works with. The references outlive every session.
  struct Surroundings {
    asio::io_context& context;
    HubScreen& screen;
    StreamRecorder& recorder;
    HubReporter& reporter;
    HubLog& log;
    const std::optional<Script>& script;
    bool frameEvents = false;
    std::function<void(const Picture&)> decoded;  ///< any thread
    std::function<void()> quit;                   ///< the script ends the hub
  };

  /// The session is over; `problem` is empty when the sender ended it.
  using EndHandler =
      std::function<void(const HubReporter::Stats& stats, const std::string& problem)>;

  CastSession(Surroundings surroundings, std::shared_ptr<ChannelStream> display, EndHandler ended);
  ~CastSession();

  void start();
  /// Takes an input channel of this session's sender; a second one of its kind is refused.
  void addMouse(std::shared_ptr<ChannelStream> stream);
  void addKeyboard(std::shared_ptr<ChannelStream> stream);
  /// Ends the session; the end handler is called once the screen has its last picture.
  void end(const std::string& problem);

  const std::string& address() const { return display_->address(); }
  /// Null before the sender has asked for its context.
  InputSender* input() { return input_ ? &*input_ : nullptr; }

 private:
  using Time = std::chrono::steady_clock::time_point;

  void onContextRequest(std::span<const std::uint8_t> message) override;
  void onDestroyContext() override;
  void onFrame(std::vector<std::uint8_t> frame) override;
  void onOtherMessage(std::uint8_t command) override;

  /// Whether this is the io_context's thread.
  bool isCurrent() const;
  void makePipeline();
  void frameDone(const FrameReport& report);
  void inputChanged();
  void closeChannels();
  void finished();
  void tick();
  HubReporter::Stats statsSince(Time start, std::uint64_t shownBefore) const;

  const Surroundings surroundings_;
  const std::shared_ptr<DisplayReceiver> display_;
  const EndHandler ended_;
  asio::steady_timer timer_;

  std::optional<ContextRequest> request_;
  std::optional<InputSender> input_;
  std::shared_ptr<MouseChannel> mouse_;
  std::shared_ptr<KeyboardChannel> keyboard_;
  bool mouseReady_ = false;
  std::shared_ptr<ScriptPlayer> player_;

  bool ending_ = false;
  std::string problem_;

  Time startedAt_;
  Time lastTickAt_;
  std::uint64_t shownAtLastTick_ = 0;
  std::uint64_t received_ = 0;
  std::uint64_t shown_ = 0;
  std::uint64_t bytes_ = 0;

  std::unique_ptr<FramePipeline> pipeline_;  // the last member: its thread uses the others
};

}  // namespace tessel::hub
