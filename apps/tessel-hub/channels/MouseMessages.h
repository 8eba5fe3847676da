#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tessel::hub {

/// Splits what a sender sends on the mouse channel, after its opening, into handshake commands and
/// cursor reports. Reports may come before and between the commands.
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
  bool takeReport();
  bool takeCommand();

  Sink& sink_;
  std::vector<std::uint8_t> message_;  // the message being read, at most 10 bytes
};

}  // namespace tessel::hub
