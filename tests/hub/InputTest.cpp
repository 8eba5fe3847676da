#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeStream.h"
#include "InputSender.h"
#include "Letterbox.h"
#include "WindowInput.h"

namespace tessel::hub {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct InputTest : ::testing::Test {
  InputTest() {
    input.attachMouse(mouse);
    input.attachKeyboard(keyboard);
  }

  std::shared_ptr<FakeStream> mouse = std::make_shared<FakeStream>();
  std::shared_ptr<FakeStream> keyboard = std::make_shared<FakeStream>();
  InputSender input{1920, 1080};
};

TEST_F(InputTest, MouseRecordsCarryPlaceAndCommand) {
  input.move(258, 772);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x01, 0));
  input.button(MouseButton::left, true);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x02, 0));
  input.button(MouseButton::left, false);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x04, 0));
  input.button(MouseButton::right, true);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x08, 0));
  input.button(MouseButton::right, false);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 2, 1, 4, 3, 0x10, 0));
}

TEST_F(InputTest, WheelTellsDirectionByCommandAndLinesByAmount) {
  input.wheel(-3);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x20, 3));
  input.wheel(3);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x40, 3));
  input.wheel(-1000);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0, 0, 0x20, 255));
  input.wheel(0);
  EXPECT_THAT(mouse->takeSent(), IsEmpty());
}

TEST_F(InputTest, PlacesOutsideTheSessionGoToItsEdge) {
  input.move(-5, 5000);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0, 0, 0x38, 0x04, 0x01, 0));
}

TEST_F(InputTest, KeyRecordsTellKindDirectionAndCode) {
  input.key({.special = false, .code = 'A'}, true);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 0, 0x41, 0));
  input.key({.special = false, .code = 'A'}, false);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 1, 0x41, 0));
  input.key({.special = true, .code = 5}, true);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 2, 5, 0));
  input.key({.special = true, .code = 5}, false);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 3, 5, 0));
}

TEST_F(InputTest, WhatIsHeldIsPressedOnceAndReleasedOnce) {
  const HubKey shift{.special = true, .code = 5};
  input.key(shift, true);
  input.key(shift, true);
  input.button(MouseButton::right, true);
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

TEST_F(InputTest, NothingIsSentOrRememberedWithoutAChannel) {
  input.detachKeyboard();
  EXPECT_FALSE(input.ready());
  input.key({.special = false, .code = 'a'}, true);
  input.attachKeyboard(keyboard);
  input.releaseAll();
  EXPECT_THAT(keyboard->takeSent(), IsEmpty());
}

struct WindowInputTest : InputTest {
  WindowInputTest() {
    window.begin(1920, 1080, [this](const std::function<void(InputSender&)>& use) { use(input); });
    window.setBox(Letterbox::fit(1920, 1080, 960, 600));
  }

  WindowInput::Command press(SDL_Scancode scancode, bool down, int modifiers = 0, int repeat = 0) {
    SDL_Event event{};
    event.type = down ? SDL_KEYDOWN : SDL_KEYUP;
    event.key.keysym.scancode = scancode;
    event.key.keysym.mod = static_cast<Uint16>(modifiers);
    event.key.repeat = static_cast<Uint8>(repeat);
    return window.take(event);
  }

  WindowInput window;
};

TEST_F(WindowInputTest, MouseIsSentInTheSessionsCoordinates) {
  SDL_Event event{};
  event.type = SDL_MOUSEMOTION;
  event.motion.x = 480;
  event.motion.y = 30 + 270;
  window.take(event);
  EXPECT_THAT(mouse->takeSent(), ElementsAre(8, 0x0D, 0xC0, 0x03, 0x1C, 0x02, 1, 0));
}

TEST_F(WindowInputTest, RepeatsAreNotSent) {
  press(SDL_SCANCODE_A, true);
  keyboard->takeSent();
  press(SDL_SCANCODE_A, true, 0, 1);
  EXPECT_THAT(keyboard->takeSent(), IsEmpty());
}

TEST_F(WindowInputTest, KeysAreReleasedWhenTheWindowLosesTheFocus) {
  press(SDL_SCANCODE_LSHIFT, true);
  keyboard->takeSent();
  SDL_Event event{};
  event.type = SDL_WINDOWEVENT;
  event.window.event = SDL_WINDOWEVENT_FOCUS_LOST;
  window.take(event);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 3, 5, 0));
}

TEST_F(WindowInputTest, AKeyIsReleasedAsWhatItWasPressed) {
  press(SDL_SCANCODE_KP_7, true, KMOD_NUM);
  press(SDL_SCANCODE_KP_7, false);
  EXPECT_THAT(keyboard->takeSent(),
              ElementsAre(8, 0, 0, 0, 0, 0, '7', 0, 8, 0, 0, 0, 0, 1, '7', 0));
}

TEST_F(WindowInputTest, HubsOwnKeysAreNotSent) {
  press(SDL_SCANCODE_LCTRL, true);
  press(SDL_SCANCODE_LALT, true, KMOD_LCTRL);
  keyboard->takeSent();
  EXPECT_EQ(press(SDL_SCANCODE_Q, true, KMOD_LCTRL | KMOD_LALT), WindowInput::Command::quit);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 3, 4, 0, 8, 0, 0, 0, 0, 3, 8, 0));
  EXPECT_EQ(press(SDL_SCANCODE_F, true, KMOD_LCTRL | KMOD_LALT),
            WindowInput::Command::toggleFullscreen);
  EXPECT_EQ(press(SDL_SCANCODE_F, false), WindowInput::Command::none);
  EXPECT_THAT(keyboard->takeSent(), IsEmpty());
}

TEST_F(WindowInputTest, NothingIsSentWithoutASession) {
  window.end();
  press(SDL_SCANCODE_A, true);
  SDL_Event event{};
  event.type = SDL_MOUSEBUTTONDOWN;
  event.button.button = SDL_BUTTON_LEFT;
  window.take(event);
  EXPECT_THAT(keyboard->takeSent(), IsEmpty());
  EXPECT_THAT(mouse->takeSent(), IsEmpty());
}

TEST(LetterboxTest, PictureKeepsItsShapeInTheMiddle) {
  const Letterbox wide = Letterbox::fit(1920, 1080, 1000, 1000);
  EXPECT_EQ(wide.width, 1000);
  EXPECT_EQ(wide.height, 562);
  EXPECT_EQ(wide.x, 0);
  EXPECT_EQ(wide.y, 219);
  const Letterbox tall = Letterbox::fit(1080, 1920, 1000, 1000);
  EXPECT_EQ(tall.width, 562);
  EXPECT_EQ(tall.height, 1000);
}

TEST(LetterboxTest, PlacesOutsideThePictureGoToItsEdge) {
  EXPECT_EQ(Letterbox::toSession(-1, 500, 1920), 0);
  EXPECT_EQ(Letterbox::toSession(250, 500, 1920), 960);
  EXPECT_EQ(Letterbox::toSession(501, 500, 1920), 1920);
  EXPECT_EQ(Letterbox::toSession(5, 0, 1920), 0);
}

}  // namespace
}  // namespace tessel::hub
