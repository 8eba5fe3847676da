#pragma once

#include "tests/input/InputFixture.h"

namespace tessel::test {

inline const std::string kStart = "-[TSLMouseConnection startWithCompletionHandler:]";
inline const std::string kInit = "-[TSLMouseConnection newInitialization:]";
inline const std::string kReceive = "-[TSLMouseConnection rcvMouseEvent:]";
inline const std::string kTick = "-[TSLMouseConnection sendMouseEvent]";
inline const Bytes kMovePacket{8, 0x0D, 10, 0, 20, 0, 1, 0};
inline const Bytes kLeftDownPacket{8, 0x0D, 10, 0, 20, 0, 2, 0};

/// A mouse channel, with its log less the lines of its timer and its simulator.
class TSLMouseConnectionTest : public MouseChannelTest {
 protected:
  /// Lines of the handshake and the receive loop.
  std::vector<std::string> channelLog() const {
    auto lines = world.log.lines();
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with(kTick) || line.starts_with("lastPt") ||
             line.starts_with("-[TSLMouseSimulator");
    });
    return lines;
  }
};

}  // namespace tessel::test
