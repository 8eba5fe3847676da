#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include "apps/tessel-hub/channels/ChannelStream.h"
#include "apps/tessel-hub/channels/MouseMessages.h"

namespace tessel::hub {

/// The sender's mouse channel: answers its handshake and receives its cursor reports.
///
/// Runs on its stream's thread. A read under way keeps it alive until `close`.
class MouseChannel final : public std::enable_shared_from_this<MouseChannel>, MouseMessages::Sink {
 public:
  struct Handlers {
    /// The handshake is done: the sender accepts mouse packets from now on.
    std::function<void()> ready;
    std::function<void(int x, int y)> cursor;
    /// The channel is gone.
    std::function<void()> ended;
  };

  MouseChannel(std::shared_ptr<ChannelStream> stream, Handlers handlers);

  void start();
  /// Closes the channel; no handler is called from then on.
  void close();

  const std::shared_ptr<ChannelStream>& stream() const { return stream_; }

 private:
  void read();
  void onCursorCommand() override;
  void onCaptureCommand() override;
  void onCursor(int x, int y) override;

  const std::shared_ptr<ChannelStream> stream_;
  Handlers handlers_;
  MouseMessages messages_{*this};
  std::array<std::uint8_t, 512> buffer_{};
  bool closed_ = false;
};

}  // namespace tessel::hub
