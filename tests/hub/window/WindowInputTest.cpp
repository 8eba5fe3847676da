#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/tessel-hub/window/WindowInput.h"
#include "tests/hub/channels/InputFixture.h"

namespace tessel::hub {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct WindowInputTest : InputFixture {
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
  EXPECT_EQ(press(SDL_SCANCODE_Q, true, KMOD_LCTRL | KMOD_LALT), WindowInput::Command::kQuit);
  EXPECT_THAT(keyboard->takeSent(), ElementsAre(8, 0, 0, 0, 0, 3, 4, 0, 8, 0, 0, 0, 0, 3, 8, 0));
  EXPECT_EQ(press(SDL_SCANCODE_F, true, KMOD_LCTRL | KMOD_LALT),
            WindowInput::Command::kToggleFullscreen);
  EXPECT_EQ(press(SDL_SCANCODE_F, false), WindowInput::Command::kNone);
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

}  // namespace
}  // namespace tessel::hub
