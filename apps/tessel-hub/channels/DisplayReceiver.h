#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "apps/common/ThreadChecker.h"
#include "apps/tessel-hub/channels/ChannelStream.h"
#include "apps/tessel-hub/channels/FrameAssembler.h"

namespace tessel::hub {

/// Reads a display channel into a `FrameAssembler`. While paused it reads nothing, so that TCP
/// holds the sender back.
///
/// Runs on its stream's thread. Owned by shared_ptr; a read under way keeps it alive until `close`.
class DisplayReceiver : public std::enable_shared_from_this<DisplayReceiver> {
 public:
  /// The stream has ended; `problem` is empty unless it was out of step.
  using EndHandler = std::function<void(const std::string& problem)>;

  /// `sink` is used until `close` or the end.
  DisplayReceiver(std::shared_ptr<ChannelStream> stream, FrameAssembler::Sink& sink,
                  EndHandler ended);

  void start();
  void pause() { paused_ = true; }
  void resume();
  /// Ends reading; the end handler is not called.
  void close();

  void send(std::span<const std::uint8_t> message) { stream_->send(message); }
  const std::string& address() const { return stream_->address(); }

 private:
  void read();
  void received(std::size_t count);
  void end(const std::string& problem);

  const std::shared_ptr<ChannelStream> stream_;
  FrameAssembler assembler_;
  EndHandler ended_;
  std::vector<std::uint8_t> buffer_;
  bool paused_ = false;
  bool reading_ = false;
  bool closed_ = false;
  apps::ThreadChecker thread_;
};

}  // namespace tessel::hub
