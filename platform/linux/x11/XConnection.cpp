#include "platform/linux/x11/XConnection.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <xcb/randr.h>

namespace tessel::platform {

namespace {

constexpr std::string_view kXwayland = "XWAYLAND";

}  // namespace

std::unique_ptr<XConnection> XConnection::open(const std::string& display) {
  int screenNumber = 0;
  xcb_connection_t* const connection = connectToXServer(display, screenNumber);
  if (connection == nullptr) return nullptr;
  std::unique_ptr<XConnection> opened{new XConnection{connection, screenNumber, display}};
  if (!opened->alive() || opened->screen_ == nullptr) return nullptr;
  return opened;
}

XConnection::XConnection(xcb_connection_t* connection, int screenNumber, std::string display)
    : display_{std::move(display)},
      connection_{connection},
      watch_{xcb_get_file_descriptor(connection), [this] { return xServerTimeout(display_); },
             [this] { noteXServerAnswers(display_, false); }} {
  if (!alive()) return;
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 0 && screenNumber > 0; --screenNumber) xcb_screen_next(&screens);
  if (screens.rem <= 0) return;
  screen_ = screens.data;

  if (!has(xcb_randr_id)) return;
  const auto version = reply(xcb_randr_query_version_reply, request(xcb_randr_query_version, 1, 5));
  if (!version) return;
  randrEvent_ = firstEvent(xcb_randr_id);
  const auto reaches = [&](std::uint32_t minor) {
    return version->major_version > 1 ||
           (version->major_version == 1 && version->minor_version >= minor);
  };
  hasMonitors_ = reaches(5);
  hasRandr_ = reaches(3);
}

bool XConnection::succeeded(xcb_void_cookie_t cookie) const {
  const Call call{*this};
  const XReply<xcb_generic_error_t> error{xcb_request_check(get(), cookie)};
  return !error && alive();
}

XEvent XConnection::event() const {
  const Call call{*this};
  return XEvent{xcb_poll_for_event(get())};
}

void XConnection::flush() const {
  const Call call{*this};
  xcb_flush(get());
}

// Any request with a reply: the server does requests in order.
bool XConnection::finish() const {
  return reply(xcb_get_input_focus_reply, request(xcb_get_input_focus)) != nullptr;
}

std::uint32_t XConnection::generateID() const {
  const Call call{*this};
  return xcb_generate_id(get());
}

const xcb_query_extension_reply_t* XConnection::extension(xcb_extension_t& extension) const {
  const Call call{*this};
  const xcb_query_extension_reply_t* data = xcb_get_extension_data(get(), &extension);
  return data != nullptr && data->present != 0 ? data : nullptr;
}

bool XConnection::has(xcb_extension_t& extension) const {
  return this->extension(extension) != nullptr;
}

std::uint8_t XConnection::firstEvent(xcb_extension_t& extension) const {
  const xcb_query_extension_reply_t* data = this->extension(extension);
  return data == nullptr ? 0 : data->first_event;
}

bool XConnection::isXwayland() const {
  // Recent versions have an extension of that name, and name their outputs as the desktop does;
  // older ones name their outputs XWAYLAND0, XWAYLAND1 and so on.
  const auto extension = reply(xcb_query_extension_reply,
                               request(xcb_query_extension, kXwayland.size(), kXwayland.data()));
  if (extension && extension->present != 0) return true;
  if (!hasRandr_) return false;
  const auto resources = reply(xcb_randr_get_screen_resources_current_reply,
                               request(xcb_randr_get_screen_resources_current, root()));
  if (!resources) return false;
  const xcb_randr_output_t* outputs =
      xcb_randr_get_screen_resources_current_outputs(resources.get());
  const int count = xcb_randr_get_screen_resources_current_outputs_length(resources.get());
  return std::any_of(outputs, outputs + count, [this](xcb_randr_output_t output) {
    const auto info = reply(xcb_randr_get_output_info_reply,
                            request(xcb_randr_get_output_info, output, XCB_CURRENT_TIME));
    if (!info) return false;
    const std::string_view name{
        reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
        static_cast<std::size_t>(xcb_randr_get_output_info_name_length(info.get()))};
    return name.starts_with(kXwayland);
  });
}

void XConnection::watchLayout() {
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  request(xcb_change_window_attributes, root(), XCB_CW_EVENT_MASK, &mask);
  if (randrEvent_ != 0) {
    request(xcb_randr_select_input, root(),
            XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  }
  flush();
}

bool XConnection::isLayoutChange(const xcb_generic_event_t& event) const {
  const std::uint8_t type = event.response_type & 0x7FU;
  if (type == XCB_CONFIGURE_NOTIFY) return true;
  return randrEvent_ != 0 && (type == randrEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                              type == randrEvent_ + XCB_RANDR_NOTIFY);
}

XLayout XConnection::layout() const {
  const xcb_get_geometry_cookie_t geometryCookie = request(xcb_get_geometry, root());
  xcb_randr_get_monitors_cookie_t monitorsCookie{};
  if (hasMonitors_) monitorsCookie = request(xcb_randr_get_monitors, root(), 1);
  const auto geometry = reply(xcb_get_geometry_reply, geometryCookie);
  XReply<xcb_randr_get_monitors_reply_t> monitors;
  if (hasMonitors_) monitors = reply(xcb_randr_get_monitors_reply, monitorsCookie);

  XLayout layout;
  if (!geometry) return layout;
  const PixelArea whole{0, 0, geometry->width, geometry->height};
  std::vector<XMonitor> others;
  if (monitors) {
    for (auto each = xcb_randr_get_monitors_monitors_iterator(monitors.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
      const xcb_randr_monitor_info_t& info = *each.data;
      const XMonitor monitor{info.name,
                             intersection(whole, {info.x, info.y, info.width, info.height})};
      if (monitor.area.empty()) continue;
      (info.primary != 0 ? layout.monitors : others).push_back(monitor);
    }
  }
  layout.monitors.insert(layout.monitors.end(), others.begin(), others.end());
  if (layout.monitors.empty()) layout.monitors.push_back({root(), whole});
  return layout;
}

}  // namespace tessel::platform
