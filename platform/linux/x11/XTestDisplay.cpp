#include "platform/linux/x11/XTestDisplay.h"

#include <span>
#include <utility>
#include <xcb/xtest.h>

#include "platform/linux/x11/XSettings.h"

namespace tessel::platform {
namespace {

using std::chrono::steady_clock;

// X key codes are evdev codes moved up by the eight that X does not use.
constexpr std::uint8_t kFirstKeyCode = 8;

constexpr std::uint8_t kAbsolute = 0;

// The server does not report monitors that a user has defined, so the layout is read again this
// often; as in XScreens, whose coordinates these are.
constexpr auto kMaxLayoutAge = std::chrono::seconds{1};

// The settings are read again at a press, this often at most.
constexpr auto kMaxSettingsAge = std::chrono::seconds{1};

// What toolkits assume where no settings daemon tells.
constexpr std::int32_t kDefaultDoubleClickTime = 400;

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
  // Without this a press that makes another client grab the server is never released: the release
  // would wait for that client, and the client for the release.
  connection_->request(xcb_test_grab_control, 1);
  clockWindow_ = connection_->generateID();
  const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  connection_->request(xcb_create_window, 0, clockWindow_, connection_->root(), 0, 0, 1, 1, 0,
                       XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
  connection_->watchLayout();
}

PixelArea XTestDisplay::firstScreen() {
  readEvents();
  const auto now = steady_clock::now();
  if (std::exchange(layoutChanged_, false) || now >= nextLayout_) {
    const XLayout layout = connection_->layout();
    if (!layout.monitors.empty()) firstScreen_ = layout.monitors.front().area;
    nextLayout_ = now + kMaxLayoutAge;
  }
  return firstScreen_;
}

// Also takes errors, and events that every client gets: they would pile up.
void XTestDisplay::readEvents() {
  while (const XEvent event = connection_->event()) {
    layoutChanged_ = layoutChanged_ || connection_->isLayoutChange(*event);
    if ((event->response_type & 0x7FU) == XCB_PROPERTY_NOTIFY) {
      time_ = reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
    }
  }
}

// The server tells its time with each change of a property, also when nothing is appended to it.
std::optional<std::uint32_t> XTestDisplay::time() {
  time_.reset();
  connection_->request(xcb_change_property, XCB_PROP_MODE_APPEND, clockWindow_, XCB_ATOM_WM_NAME,
                       XCB_ATOM_STRING, 8, 0, nullptr);
  finish();
  readEvents();
  return time_;
}

std::chrono::milliseconds XTestDisplay::doubleClickTime() {
  const auto now = steady_clock::now();
  if (now >= nextSettings_) {
    const auto told = integerXSetting(readXSettings(*connection_), "Net/DoubleClickTime");
    doubleClickTime_ = std::chrono::milliseconds{told.value_or(kDefaultDoubleClickTime)};
    nextSettings_ = now + kMaxSettingsAge;
  }
  return doubleClickTime_;
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
  const xcb_get_modifier_mapping_cookie_t mapping = connection_->request(xcb_get_modifier_mapping);
  const xcb_query_pointer_cookie_t pointer =
      connection_->request(xcb_query_pointer, connection_->root());
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
