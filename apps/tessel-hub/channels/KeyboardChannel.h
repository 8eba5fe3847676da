#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include "apps/tessel-hub/channels/ChannelStream.h"

namespace tessel::hub {

/// The sender's keyboard channel: waits for its end. After its opening a sender sends nothing.
///
/// Runs on its stream's thread. A read under way keeps it alive until `close`.
class KeyboardChannel final : public std::enable_shared_from_this<KeyboardChannel> {
 public:
  KeyboardChannel(std::shared_ptr<ChannelStream> stream, std::function<void()> ended);

  void start();
  void close();

  const std::shared_ptr<ChannelStream>& stream() const { return stream_; }

 private:
  const std::shared_ptr<ChannelStream> stream_;
  std::function<void()> ended_;
  std::array<std::uint8_t, 64> buffer_{};
  bool closed_ = false;
};

}  // namespace tessel::hub
