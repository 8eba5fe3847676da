#pragma once

#include <gtest/gtest.h>
#include <memory>

#include "apps/tessel-hub/channels/InputSender.h"
#include "tests/hub/channels/FakeStream.h"

namespace tessel::hub {

/// Input for a session of 1920 by 1080 whose channels end in the test.
struct InputFixture : ::testing::Test {
  InputFixture() {
    input.attachMouse(mouse);
    input.attachKeyboard(keyboard);
  }

  std::shared_ptr<FakeStream> mouse = std::make_shared<FakeStream>();
  std::shared_ptr<FakeStream> keyboard = std::make_shared<FakeStream>();
  InputSender input{1920, 1080};
};

}  // namespace tessel::hub
