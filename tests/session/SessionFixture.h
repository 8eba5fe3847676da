#pragma once

#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "display/TSLDisplayConnection.h"
#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "tests/session/RecordingDelegate.h"
#include "tests/session/SimHub.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {

/// A session with the hub at 10.0.0.7, the real channels below it and a simulated world under
/// those. The delegate is called directly.
class SessionFixture : public testing::Test {
 protected:
  SessionFixture() { session->setDelegate(delegate, nullptr); }
  ~SessionFixture() override {
    // What a test hooked in looks at the test's own locals: not while the session goes.
    if (session) session->setDelegate(nullptr, nullptr);
    session.reset();
    world.advance(kCursorTick);  // a mouse channel that was dropped ends with its next tick
  }

  /// From state 0 to state 2.
  void bringUp() {
    session->connect();
    hub.takeChannels();
    ASSERT_EQ(session->state(), TSLSessionStateConnected);
  }

  static constexpr std::chrono::milliseconds kCursorTick{25};

  SimWorld world;
  SimHub hub{world};
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
  std::shared_ptr<TSLSession> session = TSLSession::initWithHostName("10.0.0.7", 3);
};

}  // namespace tessel::test
