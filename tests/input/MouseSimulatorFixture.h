#pragma once

#include "input/TSLMouseSimulator.h"
#include "tests/input/InputFixture.h"

namespace tessel::test {

inline const std::string kSimulate = "-[TSLMouseSimulator simulateMouseEvent:]";
inline const std::string kLeftDown = "post mouse 1 (10,20) button 0 click 1";
inline const std::string kLeftUp = "post mouse 2 (10,20) button 0 click 1";
inline const std::string kRightDown = "post mouse 3 (10,20) button 1 click 1";
inline const std::string kRightUp = "post mouse 4 (10,20) button 1 click 1";
inline const std::vector<std::string> kLeftDouble{
    "post mouse 1 (10,20) button 0 click 1", "post mouse 2 (10,20) button 0 click 1",
    "post mouse 1 (10,20) button 0 click 2", "post mouse 2 (10,20) button 0 click 2"};

/// A simulator of a session, whose events are recorded.
class TSLMouseSimulatorTest : public InputTest {
 protected:
  void send(std::uint8_t command, std::uint16_t x = 10, std::uint16_t y = 20,
            std::uint8_t wheel = 0) {
    simulator->simulateMouseEvent({8, 0x0D, x, y, command, wheel});
  }
  /// What was posted since the last call.
  std::vector<std::string> takePosts() {
    auto posts = world.poster.posts();
    world.poster.operations.clear();
    return posts;
  }

  std::shared_ptr<TSLMouseSimulator> simulator = TSLMouseSimulator::init(session);
};

}  // namespace tessel::test
