#pragma once

#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "tessel/TSLSession.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {

inline const Bytes kStartCommand{2, 0, 0, 0, 1, 0, 0, 0, 0};
inline const Bytes kCursorCommand{2, 0, 0, 0, 2, 0, 0, 0, 1, 1};
inline const Bytes kCursorReply{2, 0, 0, 0, 2, 0, 0, 0, 2, 1};
inline const Bytes kCaptureCommand{2, 0, 0, 0, 2, 0, 0, 0, 3, 1};
inline const Bytes kCaptureReply{2, 0, 0, 0, 2, 0, 0, 0, 4, 1};

/// A session with a hub, in a world whose one screen is as large as the session's picture.
class InputTest : public testing::Test {
 protected:
  InputTest() { world.log.clear(); }

  /// Lines of the log since the last clear, except those that begin with `unwanted`.
  std::vector<std::string> logWithout(const std::string& unwanted) const {
    auto lines = world.log.lines();
    std::erase_if(lines, [&](const std::string& line) { return line.starts_with(unwanted); });
    return lines;
  }

  SimWorld world;
  std::shared_ptr<TSLSession> session = TSLSession::initWithHostName("192.168.1.100", 0);
};

/// Lines whose line numbers are free, with "N" in their place.
inline std::vector<std::string> numbered(std::vector<std::string> lines) {
  for (std::string& line : lines) {
    const std::size_t first = line.find('/') + 1;  // 0 when there is none
    const std::size_t end = line.find_first_not_of("0123456789", first);
    if (first > 0 && end != std::string::npos && end > first && line[end] == ':') {
      line.replace(first, end - first, "N");
    }
  }
  return lines;
}

/// What completions were given: the code of each error, 0 for none.
class Completions {
 public:
  std::function<void(std::optional<Error>)> handler() {
    return [this](const std::optional<Error>& error) {
      if (error) {
        EXPECT_EQ(error->domain, TSLErrorDomain);
        EXPECT_EQ(error->localizedDescription, "");
      }
      codes.push_back(error ? error->code : 0);
    };
  }
  std::vector<long> codes;
};

/// A mouse channel in its session.
class MouseChannelTest : public InputTest {
 protected:
  ~MouseChannelTest() override { mouse->stopWithCompletionHandler(nullptr); }

  void start() {
    session->setMouseConnection(mouse);
    mouse->startWithCompletionHandler(started.handler());
    hub = world.network.last();
  }
  void becomeReady() {
    start();
    hub->becomeReady();
    world.run();
  }
  void initialize() {
    becomeReady();
    hub->deliver(kCursorReply);
    world.run();
    hub->deliver(kCaptureReply);
    world.run();
    ASSERT_THAT(started.codes, testing::ElementsAre(0));
    hub->sends.clear();
    world.log.clear();
  }

  std::shared_ptr<TSLMouseConnection> mouse = TSLMouseConnection::initWithHub(session);
  std::shared_ptr<SimConnection> hub;
  Completions started;
};

/// A keyboard channel in its session.
class KeyBoardChannelTest : public InputTest {
 protected:
  ~KeyBoardChannelTest() override { keyBoard->stopWithCompletionHandler(nullptr); }

  void start() {
    session->setKeyBoardConnection(keyBoard);
    keyBoard->startWithCompletionHandler(started.handler());
    hub = world.network.last();
  }
  void open() {
    world.network.onStart = [](SimConnection& connection) { connection.becomeReady(); };
    start();
    world.run();
    world.log.clear();
  }

  std::shared_ptr<TSLKeyBoardConnection> keyBoard = TSLKeyBoardConnection::initWithHub(session);
  std::shared_ptr<SimConnection> hub;
  Completions started;
};

}  // namespace tessel::test
