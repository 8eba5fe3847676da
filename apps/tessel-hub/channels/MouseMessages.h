#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tessel::hub {

/// Splits what a sender says on the mouse channel, after its opening, into handshake commands and
/// reports of its cursor; these may stand between those from the start.
///
///     cursor command    02 00 00 00 02 00 00 00 01 01
///     capture command   02 00 00 00 02 00 00 00 03 01
///     cursor report     08 0D x x y y 01 00
///
/// One thread. Calls `Sink` from within `feed`.
class MouseMessages {
 public:
  class Sink {
   public:
    virtual void onCursorCommand() = 0;
    virtual void onCaptureCommand() = 0;
    /// In the session's coordinates, y downwards.
    virtual void onCursor(int x, int y) = 0;

   protected:
    ~Sink() = default;
  };

  explicit MouseMessages(Sink& sink) : sink_{sink} {}

  /// Takes the next bytes, cut anywhere. False at bytes that are no message.
  bool feed(std::span<const std::uint8_t> bytes);

 private:
  bool takeByte(std::uint8_t byte);

  Sink& sink_;
  std::vector<std::uint8_t> message_;  // the message being read, at most 10 bytes
};

constexpr std::array<std::uint8_t, 10> kCursorReply{2, 0, 0, 0, 2, 0, 0, 0, 2, 1};
constexpr std::array<std::uint8_t, 10> kCaptureReply{2, 0, 0, 0, 2, 0, 0, 0, 4, 1};

}  // namespace tessel::hub
