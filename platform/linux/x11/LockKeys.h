#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace tessel::platform {

class XTestDisplay;

/// Caps lock and num lock: a press turns a lock of the computer that outlasts the press. Remembers
/// which of them one poster has turned, to turn them back. One thread at a time.
class LockKeys {
 public:
  LockKeys();

  /// To be called before a key is pressed.
  void notePress(std::uint8_t evdev, XTestDisplay& display);

  /// Turns back what the presses have turned. A lock that is as it was before is left alone: the
  /// computer's own user has turned it back, or the key is no lock on this desktop.
  void turnBack(XTestDisplay& display);

  /// Nothing is turned: the server is a new one.
  void forget();

 private:
  struct Lock {
    std::uint8_t evdev = 0;
    bool turned = false;
    std::optional<bool> wasOn = std::nullopt;  ///< before the first press, if the server told
  };

  std::array<Lock, 2> locks_;
};

}  // namespace tessel::platform
