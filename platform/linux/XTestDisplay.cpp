#include "platform/linux/XTestDisplay.h"

#include <cstdlib>
#include <utility>
#include <xcb/randr.h>
#include <xcb/xtest.h>

#include "platform/linux/PipeSignalGuard.h"

namespace tessel::platform {

namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

// X key codes are evdev codes moved up by the eight that X does not use.
constexpr std::uint8_t kFirstKeyCode = 8;

constexpr std::uint8_t kAbsolute = 0;

// The top bit of an event's type tells only where it came from.
constexpr std::uint8_t kEventTypeMask = 0x7F;

bool hasExtension(xcb_connection_t* connection, xcb_extension_t& extension) {
  const auto* const data = xcb_get_extension_data(connection, &extension);
  return data != nullptr && data->present != 0;
}

}  // namespace

std::unique_ptr<XTestDisplay> XTestDisplay::open(std::string& reason) {
  const PipeSignalGuard guard;
  const char* const name = std::getenv("DISPLAY");
  if (name == nullptr || *name == '\0') {
    reason = "there is no X display here (DISPLAY is not set)";
    return nullptr;
  }
  int number = 0;
  Connection connection{xcb_connect(nullptr, &number)};
  if (xcb_connection_has_error(connection.get()) != 0) {
    reason = std::string("the X display ") + name + " cannot be opened";
    return nullptr;
  }
  if (!hasExtension(connection.get(), xcb_test_id)) {
    reason = std::string("the X display ") + name + " does not offer the XTEST extension";
    return nullptr;
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
  for (; number > 0 && screens.rem > 1; --number) xcb_screen_next(&screens);
  return std::unique_ptr<XTestDisplay>(new XTestDisplay(std::move(connection), *screens.data));
}

XTestDisplay::XTestDisplay(Connection connection, const xcb_screen_t& screen)
    : connection_{std::move(connection)},
      root_{screen.root},
      firstScreen_{0, 0, screen.width_in_pixels, screen.height_in_pixels} {
  watchMonitors();
  firstScreen_ = readFirstScreen();
}

XTestDisplay::~XTestDisplay() { flush(); }

void XTestDisplay::watchMonitors() {
  if (!hasExtension(connection_.get(), xcb_randr_id)) return;
  const Reply<xcb_randr_query_version_reply_t> version{xcb_randr_query_version_reply(
      connection_.get(), xcb_randr_query_version(connection_.get(), 1, 5), nullptr)};
  // Monitors came with version 1.5.
  monitorsKnown_ = version && std::pair{version->major_version, version->minor_version} >=
                                  std::pair<std::uint32_t, std::uint32_t>{1, 5};
  monitorEvents_ = xcb_get_extension_data(connection_.get(), &xcb_randr_id)->first_event;
  xcb_randr_select_input(connection_.get(), root_,
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

XTestDisplay::Area XTestDisplay::readFirstScreen() {
  auto* const connection = connection_.get();
  if (monitorsKnown_) {
    const Reply<xcb_randr_get_monitors_reply_t> monitors{xcb_randr_get_monitors_reply(
        connection, xcb_randr_get_monitors(connection, root_, 1), nullptr)};
    if (monitors) {
      // The server lists the primary monitor first when there is one.
      const auto first = xcb_randr_get_monitors_monitors_iterator(monitors.get());
      if (first.rem > 0) {
        return {first.data->x, first.data->y, first.data->width, first.data->height};
      }
    }
  }
  const Reply<xcb_get_geometry_reply_t> geometry{
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root_), nullptr)};
  if (!geometry) return firstScreen_;
  return {0, 0, geometry->width, geometry->height};
}

XTestDisplay::Area XTestDisplay::firstScreen() {
  const PipeSignalGuard guard;
  readEvents();
  if (monitorsChanged_) {
    monitorsChanged_ = false;
    firstScreen_ = readFirstScreen();
  }
  return firstScreen_;
}

// Also takes the errors and the events that the server sends to everybody, lest they pile up.
void XTestDisplay::readEvents() {
  while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
    const auto type = event->response_type & kEventTypeMask;
    if (monitorEvents_ != 0 && (type == monitorEvents_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                                type == monitorEvents_ + XCB_RANDR_NOTIFY)) {
      monitorsChanged_ = true;
    }
  }
}

void XTestDisplay::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  xcb_test_fake_input(connection_.get(), type, detail, XCB_CURRENT_TIME, root_, x, y, 0);
}

void XTestDisplay::moveTo(int x, int y) {
  const PipeSignalGuard guard;
  fake(XCB_MOTION_NOTIFY, kAbsolute, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
}

void XTestDisplay::button(std::uint8_t button, bool down) {
  const PipeSignalGuard guard;
  fake(down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, button, 0, 0);
}

void XTestDisplay::key(std::uint8_t evdev, bool down) {
  const PipeSignalGuard guard;
  fake(down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, static_cast<std::uint8_t>(evdev + kFirstKeyCode), 0,
       0);
}

void XTestDisplay::flush() {
  const PipeSignalGuard guard;
  xcb_flush(connection_.get());
  readEvents();
}

}  // namespace tessel::platform
