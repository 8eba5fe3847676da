#include "platform/linux/XTestDisplay.h"

#include <poll.h>
#include <span>
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

// Any request with a reply: requests are done in order.
void XTestDisplay::finish() { await<void>(xcb_get_input_focus(connection_->get()).sequence); }

std::optional<bool> XTestDisplay::modifierIsOn(std::uint8_t evdev) {
  auto* const connection = connection_->get();
  const unsigned mapping = xcb_get_modifier_mapping(connection).sequence;
  const unsigned pointer = xcb_query_pointer(connection, connection_->root()).sequence;
  const auto state = await<xcb_query_pointer_reply_t>(pointer);
  if (!state) {
    xcb_discard_reply(connection, mapping);
    return std::nullopt;
  }
  const auto map = await<xcb_get_modifier_mapping_reply_t>(mapping);  // came before
  if (!map) return std::nullopt;
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

// The reply to a request; null after a second without it.
template <typename Reply>
XReply<Reply> XTestDisplay::await(unsigned sequence) {
  auto* const connection = connection_->get();
  xcb_flush(connection);
  const auto end = steady_clock::now() + kLongestWait;
  pollfd readable{xcb_get_file_descriptor(connection), POLLIN, 0};
  while (alive()) {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    const bool done = xcb_poll_for_reply(connection, sequence, &reply, &error) != 0;
    XReply<Reply> replyHolder{static_cast<Reply*>(reply)};
    const XReply<xcb_generic_error_t> errorHolder{error};
    if (done) return replyHolder;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
    if (left.count() <= 0) break;
    poll(&readable, 1, static_cast<int>(left.count()));
  }
  xcb_discard_reply(connection, sequence);
  return nullptr;
}

}  // namespace tessel::platform
