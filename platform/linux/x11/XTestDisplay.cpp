#include "platform/linux/x11/XTestDisplay.h"

#include <span>
#include <utility>
#include <xcb/xtest.h>

namespace tessel::platform {
namespace {

using std::chrono::steady_clock;

// X key codes are evdev codes moved up by the eight that X does not use.
constexpr std::uint8_t kFirstKeyCode = 8;

constexpr std::uint8_t kAbsolute = 0;

// As for the list of screens, whose coordinates these are: the server does not tell of monitors
// that a user has defined.
constexpr auto kLayoutAge = std::chrono::seconds{1};

}  // namespace

std::unique_ptr<XTestDisplay> XTestDisplay::open(const std::string& display, std::string& reason) {
  auto connection = XConnection::open(display);
  if (!connection) {
    reason = "the X display " + display + " cannot be opened";
    return nullptr;
  }
  if (!connection->has(xcb_test_id)) {
    reason = "the X display " + display + " does not offer the XTEST extension";
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
  while (const XEvent event = connection_->event()) {
    layoutChanged_ = layoutChanged_ || connection_->isLayoutChange(*event);
  }
}

void XTestDisplay::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  connection_->request(xcb_test_fake_input, type, detail, XCB_CURRENT_TIME, connection_->root(), x,
                       y, 0);
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
  connection_->flush();
  readEvents();
}

void XTestDisplay::finish() { connection_->finish(); }

std::optional<bool> XTestDisplay::modifierIsOn(std::uint8_t evdev) {
  const auto mapping = connection_->request(xcb_get_modifier_mapping);
  const auto pointer = connection_->request(xcb_query_pointer, connection_->root());
  const auto map = connection_->reply(xcb_get_modifier_mapping_reply, mapping);
  const auto state = connection_->reply(xcb_query_pointer_reply, pointer);
  if (!map || !state) return std::nullopt;
  // A row of key codes for each modifier, in the order of the bits.
  const std::span codes{
      xcb_get_modifier_mapping_keycodes(map.get()),
      static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(map.get()))};
  for (std::size_t i = 0; i < codes.size(); ++i) {
    if (codes[i] != evdev + kFirstKeyCode) continue;
    return (state->mask >> i / map->keycodes_per_modifier & 1) != 0;
  }
  return false;
}

}  // namespace tessel::platform
