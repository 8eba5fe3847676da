#include "platform/linux/XTestDisplay.h"

#include <poll.h>
#include <utility>
#include <xcb/xcbext.h>
#include <xcb/xtest.h>

#include "platform/linux/ScreenChoice.h"

namespace tessel::platform {
namespace {

using std::chrono::steady_clock;

// X key codes are evdev codes moved up by the eight that X does not use.
constexpr std::uint8_t kFirstKeyCode = 8;

constexpr std::uint8_t kAbsolute = 0;

// As for the list of screens, whose coordinates these are: the server does not tell of monitors
// that a user has defined.
constexpr auto kLayoutAge = std::chrono::seconds{1};

constexpr auto kLongestWait = std::chrono::seconds{1};

}  // namespace

std::unique_ptr<XTestDisplay> XTestDisplay::open(std::string& reason) {
  const std::string name = environment("DISPLAY");
  if (name.empty()) {
    reason = "there is no X display here (DISPLAY is not set)";
    return nullptr;
  }
  auto connection = XConnection::open();
  if (!connection) {
    reason = "the X display " + name + " cannot be opened";
    return nullptr;
  }
  if (!connection->has(xcb_test_id)) {
    reason = "the X display " + name + " does not offer the XTEST extension";
    return nullptr;
  }
  return std::unique_ptr<XTestDisplay>{new XTestDisplay{std::move(connection)}};
}

XTestDisplay::XTestDisplay(std::unique_ptr<XConnection> connection)
    : connection_{std::move(connection)} {
  connection_->watchLayout();
}

PixelArea XTestDisplay::firstScreen() {
  readEvents();
  const auto now = steady_clock::now();
  if (std::exchange(layoutChanged_, false) || now >= nextLayout_) {
    const XLayout layout = connection_->layout();
    if (!layout.monitors.empty()) firstScreen_ = layout.monitors.front().area;
    nextLayout_ = now + kLayoutAge;
  }
  return firstScreen_;
}

// Takes the errors too, and the events that the server sends to everybody, lest they pile up.
void XTestDisplay::readEvents() {
  while (const XEvent event{xcb_poll_for_event(connection_->get())}) {
    layoutChanged_ = layoutChanged_ || connection_->tellsOfLayout(*event);
  }
}

void XTestDisplay::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  xcb_test_fake_input(connection_->get(), type, detail, XCB_CURRENT_TIME, connection_->root(), x, y,
                      0);
}

void XTestDisplay::moveTo(int x, int y) {
  fake(XCB_MOTION_NOTIFY, kAbsolute, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
}

void XTestDisplay::button(std::uint8_t button, bool down) {
  fake(down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, button, 0, 0);
}

void XTestDisplay::key(std::uint8_t evdev, bool down) {
  fake(down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, static_cast<std::uint8_t>(evdev + kFirstKeyCode), 0,
       0);
}

void XTestDisplay::flush() {
  xcb_flush(connection_->get());
  readEvents();
}

void XTestDisplay::finish() {
  auto* const connection = connection_->get();
  // Any request with a reply: requests are done in order.
  const unsigned sequence = xcb_get_input_focus(connection).sequence;
  xcb_flush(connection);
  const auto end = steady_clock::now() + kLongestWait;
  pollfd readable{xcb_get_file_descriptor(connection), POLLIN, 0};
  while (alive()) {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    const bool done = xcb_poll_for_reply(connection, sequence, &reply, &error) != 0;
    const XReply<void> replyHolder{reply};
    const XReply<xcb_generic_error_t> errorHolder{error};
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
    if (done || left.count() <= 0) return;
    poll(&readable, 1, static_cast<int>(left.count()));
  }
}

}  // namespace tessel::platform
