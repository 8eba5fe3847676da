#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hub/channels/InputFixture.h"

namespace tessel::hub {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using InputSenderTest = InputFixture;

TEST_F(InputSenderTest, MouseRecordsCarryPlaceAndCommand) {
  input.move(258, 772);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x01, 0));
  input.button(MouseButton::kLeft, true);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x02, 0));
  input.button(MouseButton::kLeft, false);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x04, 0));
  input.button(MouseButton::kRight, true);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x08, 0));
  input.button(MouseButton::kRight, false);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x10, 0));
}

TEST_F(InputSenderTest, WheelTellsDirectionByCommandAndLinesByAmount) {
  input.wheel(-3);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x20, 3));
  input.wheel(3);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x40, 3));
  input.wheel(-1000);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x20, 255));
  input.wheel(0);
  EXPECT_THAT(mouse->takeSent(), IsEmpty());
}

TEST_F(InputSenderTest, PlacesOutsideTheSessionGoToItsEdge) {
  input.move(-5, 5000);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0x38, 0x04, 0x01, 0));
}

TEST_F(InputSenderTest, KeyRecordsTellKindDirectionAndCode) {
  input.key({.special = false, .code = 'A'}, true);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 0, 0x41, 0));
  input.key({.special = false, .code = 'A'}, false);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 1, 0x41, 0));
  input.key({.special = true, .code = 5}, true);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 2, 5, 0));
  input.key({.special = true, .code = 5}, false);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 3, 5, 0));
}

TEST_F(InputSenderTest, WhatIsHeldIsPressedOnceAndReleasedOnce) {
  const HubKey shift{.special = true, .code = 5};
  input.key(shift, true);
  input.key(shift, true);
  input.button(MouseButton::kRight, true);
  EXPECT_EQ(keyboard->takeSent().size(), 8U);
  mouse->takeSent();
  input.releaseAll();
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 3, 5, 0));
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x10, 0));
  input.releaseAll();
  input.key(shift, false);
  EXPECT_THAT(keyboard->takeSent(), IsEmpty());
  EXPECT_THAT(mouse->takeSent(), IsEmpty());
}

TEST_F(InputSenderTest, NothingIsSentOrRememberedWithoutAChannel) {
  input.detachKeyboard();
  EXPECT_FALSE(input.ready());
  input.key({.special = false, .code = 'a'}, true);
  input.attachKeyboard(keyboard);
  input.releaseAll();
  EXPECT_THAT(keyboard->takeSent(), IsEmpty());
}

}  // namespace
}  // namespace tessel::hub
