// What an X server and its other clients see of posted events.
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Services.h"
#include "platform/linux/x11/XConnection.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using test::PrivateXServer;

constexpr std::uint16_t kVirtualA = 0x00;
constexpr std::uint16_t kVirtualB = 0x0B;
constexpr std::uint16_t kVirtualCapsLock = 0x39;
constexpr int kXKeyA = KEY_A + 8;
constexpr int kXKeyB = KEY_B + 8;

// Reached by tests that fail only.
constexpr auto kBound = std::chrono::seconds{10};

// Whether it comes to hold.
bool comesTrue(const std::function<bool()>& holds) {
  for (const auto end = steady_clock::now() + kBound; steady_clock::now() < end;) {
    if (holds()) return true;
    std::this_thread::yield();
  }
  return false;
}

void key(EventPoster& poster, std::uint16_t virtualKey, bool down) {
  if (const auto event = poster.createKeyboardEvent(virtualKey, down)) poster.post(*event);
}

void mouse(EventPoster& poster, MouseEventType type, std::int64_t clickState = 1) {
  auto event = poster.createMouseEvent(type, {100, 100}, MouseButton::kLeft);
  if (!event) return;
  event->clickState = clickState;
  poster.post(*event);
}

void click(EventPoster& poster, std::int64_t clickState = 1) {
  mouse(poster, MouseEventType::kLeftDown, clickState);
  mouse(poster, MouseEventType::kLeftUp, clickState);
}

// Another client of the server. It sees the presses of the pointer's buttons, on the root window.
class Client {
 public:
  explicit Client(const PrivateXServer& server)
      : connection_{xcb_connect(server.display().c_str(), nullptr)},
        root_{xcb_setup_roots_iterator(xcb_get_setup(get())).data->root} {
    const std::uint32_t mask = XCB_EVENT_MASK_BUTTON_PRESS;
    xcb_change_window_attributes(get(), root_, XCB_CW_EVENT_MASK, &mask);
    finish();
  }

  xcb_connection_t* get() const { return connection_.get(); }

  // Waits until the server has done all that this client has asked for.
  void finish() const {
    const XReply<xcb_get_input_focus_reply_t> reply{
        xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr)};
  }

  bool isDown(int keyCode) const {
    const XReply<xcb_query_keymap_reply_t> keys{
        xcb_query_keymap_reply(get(), xcb_query_keymap(get()), nullptr)};
    return keys && (keys->keys[keyCode / 8] >> (keyCode % 8) & 1) != 0;
  }

  bool holds(std::uint16_t mask) const {
    const XReply<xcb_query_pointer_reply_t> pointer{
        xcb_query_pointer_reply(get(), xcb_query_pointer(get(), root_), nullptr)};
    return pointer && (pointer->mask & mask) != 0;
  }

  // The server's times of the left button's presses so far.
  const std::vector<xcb_timestamp_t>& presses() {
    finish();
    while (const XEvent event{xcb_poll_for_event(get())}) {
      if ((event->response_type & 0x7FU) != XCB_BUTTON_PRESS) continue;
      const auto& press = *reinterpret_cast<const xcb_button_press_event_t*>(event.get());
      if (press.detail == 1) presses_.push_back(press.time);
    }
    return presses_;
  }

  void setGrab(bool grab) const {
    if (grab) {
      xcb_grab_server(get());
    } else {
      xcb_ungrab_server(get());
    }
    finish();
  }

  // Becomes the settings daemon.
  void setDoubleClickTime(milliseconds time) const {
    const xcb_window_t window = xcb_generate_id(get());
    xcb_create_window(get(), 0, window, root_, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    const auto value = static_cast<std::uint32_t>(time.count());
    std::vector<std::uint8_t> settings{0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 19, 0};
    const std::string name = "Net/DoubleClickTime";
    settings.insert(settings.end(), name.begin(), name.end());
    settings.insert(settings.end(), {0, 0, 0, 0, 0});  // the padding and a serial
    for (int shift = 0; shift < 32; shift += 8) {
      settings.push_back(static_cast<std::uint8_t>(value >> shift));
    }
    const xcb_atom_t property = atom("_XSETTINGS_SETTINGS");
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, property, 8,
                        static_cast<std::uint32_t>(settings.size()), settings.data());
    xcb_set_selection_owner(get(), window, atom("_XSETTINGS_S0"), XCB_CURRENT_TIME);
    finish();
  }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  xcb_atom_t atom(const std::string& name) const {
    const XReply<xcb_intern_atom_reply_t> reply{xcb_intern_atom_reply(
        get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr)};
    return reply ? reply->atom : XCB_NONE;
  }

  const std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  const xcb_window_t root_;
  std::vector<xcb_timestamp_t> presses_;
};

std::unique_ptr<EventPoster> makePoster() {
  return services().desktops->current()->makeEventPoster();
}

class XTestPosterTest : public testing::Test {
 protected:
  PrivateXServer server;
};

TEST_F(XTestPosterTest, PressThatMakesAnotherClientGrabTheServerIsReleased) {
  chooseScreen();
  const Client client{server};
  const auto poster = makePoster();
  key(*poster, kVirtualA, true);
  mouse(*poster, MouseEventType::kLeftDown);
  ASSERT_TRUE(comesTrue([&] { return client.isDown(kXKeyA); }));
  client.setGrab(true);
  key(*poster, kVirtualA, false);
  key(*poster, kVirtualB, true);
  EXPECT_TRUE(comesTrue([&] { return !client.isDown(kXKeyA) && client.isDown(kXKeyB); }));
  mouse(*poster, MouseEventType::kLeftUp);
  EXPECT_TRUE(comesTrue([&] { return !client.holds(XCB_BUTTON_MASK_1); }));
  poster->close();
  EXPECT_TRUE(comesTrue([&] { return !client.isDown(kXKeyB); }));
  client.setGrab(false);
}

TEST_F(XTestPosterTest, InputGoesOnOnAServerThatWasStartedAnew) {
  chooseScreen();
  const auto poster = makePoster();
  {
    const Client client{server};
    key(*poster, kVirtualA, true);
    key(*poster, kVirtualCapsLock, true);
    mouse(*poster, MouseEventType::kLeftDown);
    ASSERT_TRUE(
        comesTrue([&] { return client.isDown(kXKeyA) && client.holds(XCB_MOD_MASK_LOCK); }));
  }
  server.end();
  server.restart();
  const Client client{server};
  // Another user's; the poster held the same ones on the server that is gone.
  const auto other = makePoster();
  key(*other, kVirtualA, true);
  key(*other, kVirtualCapsLock, true);
  mouse(*other, MouseEventType::kLeftDown);
  ASSERT_TRUE(comesTrue([&] { return client.isDown(kXKeyA) && client.holds(XCB_MOD_MASK_LOCK); }));

  EXPECT_TRUE(comesTrue([&] {
    key(*poster, kVirtualB, true);
    return client.isDown(kXKeyB);
  }));
  EXPECT_TRUE(client.isDown(kXKeyA));
  poster->releaseAll();
  EXPECT_TRUE(comesTrue([&] { return !client.isDown(kXKeyB); }));
  EXPECT_TRUE(client.isDown(kXKeyA));
  EXPECT_TRUE(client.holds(XCB_BUTTON_MASK_1));
  EXPECT_TRUE(client.holds(XCB_MOD_MASK_LOCK));

  other->releaseAll();
  ASSERT_TRUE(comesTrue([&] { return !client.isDown(kXKeyA); }));
  key(*poster, kVirtualA, true);  // no repeated press: it is up here
  EXPECT_TRUE(comesTrue([&] { return client.isDown(kXKeyA); }));
}

TEST_F(XTestPosterTest, CloseReturnsAtOnceAndReleasesOnceTheServerAnswers) {
  chooseScreen();
  const Client client{server};
  const auto poster = makePoster();
  key(*poster, kVirtualA, true);
  ASSERT_TRUE(comesTrue([&] { return client.isDown(kXKeyA); }));
  server.suspend();
  const auto start = steady_clock::now();
  poster->close();
  EXPECT_LT(steady_clock::now() - start, kXServerTimeout / 2);
  server.resume();
  EXPECT_TRUE(comesTrue([&] { return !client.isDown(kXKeyA); }));
}

TEST_F(XTestPosterTest, CloseDoesNotWaitForAPostThatWaitsForTheServer) {
  chooseScreen();
  const Client client{server};
  const auto poster = makePoster();
  key(*poster, kVirtualA, true);
  ASSERT_TRUE(comesTrue([&] { return client.isDown(kXKeyA); }));
  server.suspend();
  // The press asks for the lock first, which waits for an answer.
  std::thread posting{[&] { key(*poster, kVirtualCapsLock, true); }};
  const auto start = steady_clock::now();
  poster->close();
  EXPECT_LT(steady_clock::now() - start, kXServerTimeout / 2);
  server.resume();
  posting.join();
  EXPECT_TRUE(comesTrue([&] { return !client.isDown(kXKeyA); }));
  EXPECT_TRUE(comesTrue([&] { return !client.holds(XCB_MOD_MASK_LOCK); }));
}

TEST_F(XTestPosterTest, PosterThatIsClosedWhileTheServerIsSilentPostsNothingAfterwards) {
  chooseScreen();
  const Client client{server};
  const auto poster = makePoster();
  const KeyboardEvent made{kVirtualB, true, 0};
  server.suspend();
  key(*poster, kVirtualCapsLock, true);  // waits for an answer, in vain
  poster->close();
  server.resume();
  ASSERT_TRUE(comesTrue([&] { return XConnection::open(server.display()) != nullptr; }));
  EXPECT_FALSE(poster->createKeyboardEvent(kVirtualB, true).has_value());
  // For longer than the poster leaves between two attempts to connect.
  for (const auto end = steady_clock::now() + milliseconds{1500}; steady_clock::now() < end;) {
    poster->post(made);
    ASSERT_FALSE(client.isDown(kXKeyB));
  }
}

class DoubleClickTest : public XTestPosterTest {
 protected:
  // What the hub's rule posts for the second press of two.
  void postSecondClick() const {
    click(*poster);
    click(*poster, 2);
  }
  // Returns once the server's time is more than `gap` after its first press.
  void waitSincePress(milliseconds gap) {
    ASSERT_FALSE(client.presses().empty());
    const auto end = steady_clock::now() + gap + milliseconds{2};
    while (steady_clock::now() < end) std::this_thread::yield();
  }

  DoubleClickTest() {
    chooseScreen();
    poster = makePoster();
  }

  Client client{server};
  std::unique_ptr<EventPoster> poster;
};

TEST_F(DoubleClickTest, WithinTheDesktopsLimitOnePressIsPosted) {
  client.setDoubleClickTime(std::chrono::minutes{10});
  click(*poster);
  waitSincePress(milliseconds{450});
  postSecondClick();
  EXPECT_EQ(client.presses().size(), 2U);
  EXPECT_TRUE(comesTrue([&] { return !client.holds(XCB_BUTTON_MASK_1); }));
}

TEST_F(DoubleClickTest, BeyondTheDesktopsLimitOneMoreClickIsPosted) {
  client.setDoubleClickTime(milliseconds{1});
  click(*poster);
  waitSincePress(milliseconds{1});
  postSecondClick();
  const auto& presses = client.presses();
  ASSERT_EQ(presses.size(), 3U);
  EXPECT_TRUE(comesTrue([&] { return !client.holds(XCB_BUTTON_MASK_1); }));
}

TEST_F(DoubleClickTest, WithoutASettingsDaemonTheLimitIs400Milliseconds) {
  click(*poster);
  waitSincePress(milliseconds{400});
  postSecondClick();
  EXPECT_EQ(client.presses().size(), 3U);
  // The last two count as two, and so would these.
  const auto first = client.presses().size();
  click(*poster);
  postSecondClick();
  const auto& presses = client.presses();
  const bool quick = presses[first + 1] - presses[first] < 400;
  EXPECT_EQ(presses.size(), first + (quick ? 2 : 3));
}

TEST_F(DoubleClickTest, LimitThatTheDesktopChangesIsReadAgain) {
  client.setDoubleClickTime(std::chrono::minutes{10});
  click(*poster);
  postSecondClick();
  ASSERT_EQ(client.presses().size(), 2U);
  client.setDoubleClickTime(milliseconds{0});  // no two presses are one row
  EXPECT_TRUE(comesTrue([&] {
    const auto before = client.presses().size();
    click(*poster);
    postSecondClick();
    return client.presses().size() == before + 3;
  }));
}

TEST_F(DoubleClickTest, RowsAreCountedForEachButton) {
  client.setDoubleClickTime(std::chrono::minutes{10});
  auto right =
      poster->createMouseEvent(MouseEventType::kRightDown, {100, 100}, MouseButton::kRight);
  ASSERT_TRUE(right.has_value());
  poster->post(*right);
  click(*poster);
  click(*poster, 2);
  EXPECT_EQ(client.presses().size(), 2U);
}

}  // namespace
}  // namespace tessel::platform
