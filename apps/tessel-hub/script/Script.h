#pragma once

#include <chrono>
#include <cstdint>
#include <istream>
#include <string>
#include <variant>
#include <vector>

#include "apps/tessel-hub/channels/HubKey.h"
#include "apps/tessel-hub/channels/InputSender.h"

namespace tessel::hub {

/// The steps of a script. A command that does several things, such as `click`, is several steps.
namespace step {

struct Move {
  int x = 0;
  int y = 0;
  bool operator==(const Move&) const = default;
};
struct Button {
  MouseButton button = MouseButton::kLeft;
  bool down = false;
  bool operator==(const Button&) const = default;
};
struct Wheel {
  int lines = 0;
  bool operator==(const Wheel&) const = default;
};
struct Key {
  HubKey key;
  bool down = false;
  bool operator==(const Key&) const = default;
};
struct Sleep {
  std::chrono::milliseconds time{0};
  bool operator==(const Sleep&) const = default;
};
struct WaitFrame {
  std::uint64_t number = 0;
  bool operator==(const WaitFrame&) const = default;
};
struct Quit {
  bool operator==(const Quit&) const = default;
};

}  // namespace step

using Step = std::variant<step::Move, step::Button, step::Wheel, step::Key, step::Sleep,
                          step::WaitFrame, step::Quit>;

/// A script of mouse and keyboard events, one command a line:
///
///     move X Y                    in pixels of the picture, from its upper left corner
///     down|up|click|doubleclick left|right
///     drag X1 Y1 X2 Y2            with the left button
///     wheel LINES                 below 0 scrolls down
///     key C [down|up]             a character, or its number of at least two digits
///     special N [down|up]         a special key of the hub
///     text "Hello\n"              typed, with Shift where it is needed
///     sleep SECONDS
///     wait-frame N                until so many pictures have been shown
///     quit                        ends the hub
///     # a comment
struct Script {
  std::vector<Step> steps;

  /// Throws std::runtime_error that names the first faulty line: no whole sentence, but the part of
  /// one that follows the script's name.
  static Script parse(std::istream& text);
};

}  // namespace tessel::hub
