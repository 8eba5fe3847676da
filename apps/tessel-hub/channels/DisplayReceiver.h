#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/tessel-hub/channels/ChannelStream.h"
#include "apps/tessel-hub/channels/FrameAssembler.h"

namespace tessel::hub {

/// Reads a display channel into a `FrameAssembler`, and stops reading while its owner has enough to
/// do: TCP then holds the sender back.
///
/// Lives on its stream's thread. Owned by shared_ptr; a read under way keeps it alive until
/// `close`.
class DisplayReceiver : public std::enable_shared_from_this<DisplayReceiver> {
 public:
  /// Called when the stream has ended: with what was wrong with it, or with nothing.
  using EndHandler = std::function<void(const std::string& problem)>;

  /// `sink` must outlive the time until `close` or the end.
  DisplayReceiver(std::shared_ptr<ChannelStream> stream, FrameAssembler::Sink& sink,
                  EndHandler ended);

  void start();
  void pause() { paused_ = true; }
  void resume();
  /// Ends reading without a call of the end handler.
  void close();

  void send(std::vector<std::uint8_t> message) { stream_->send(std::move(message)); }
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
};

}  // namespace tessel::hub
