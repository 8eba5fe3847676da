#include "platform/linux/x11/XScreens.h"

#include <utility>

namespace tessel::platform {
namespace {

using std::chrono::steady_clock;

// Between attempts to connect to a server that cannot be reached.
constexpr auto kReconnectInterval = std::chrono::seconds{1};

// The server sends no event for monitors that a user defines (xrandr --setmonitor), so the layout
// is read again after this time in any case.
constexpr auto kMaxLayoutAge = std::chrono::seconds{1};

}  // namespace

XScreens::XScreens(std::string display, bool acceptsXwayland)
    : display_{std::move(display)}, acceptsXwayland_{acceptsXwayland} {}

std::vector<Screen> XScreens::screens() {
  const MutexLock lock{mutex_};
  refresh();
  std::vector<Screen> list;
  for (const XMonitor& monitor : layout_.monitors) {
    const PixelArea& area = monitor.area;
    list.emplace_back(monitor.name,
                      Rect{point(area.x, area.bottom()),
                           {static_cast<double>(area.width), static_cast<double>(area.height)}});
  }
  return list;
}

Point XScreens::mouseLocation() {
  const MutexLock lock{mutex_};
  refresh();
  if (!connection_) return mouse_;
  const auto pointer = connection_->reply(
      xcb_query_pointer_reply, connection_->request(xcb_query_pointer, connection_->root()));
  if (pointer) mouse_ = point(pointer->root_x, pointer->root_y);
  return mouse_;
}

Point XScreens::point(int rootX, int rootY) const {
  if (layout_.monitors.empty()) return {};
  const PixelArea& primary = layout_.monitors.front().area;
  return {static_cast<double>(rootX - primary.x), static_cast<double>(primary.bottom() - rootY)};
}

// Whether there is a working connection; connects, at most once per kReconnectInterval.
bool XScreens::connected() {
  if (connection_ && connection_->alive()) return true;
  connection_.reset();
  const auto now = steady_clock::now();
  if (now < nextAttempt_) return false;
  nextAttempt_ = now + kReconnectInterval;
  connection_ = XConnection::open(display_);
  if (!connection_) return false;
  if (!acceptsXwayland_ && connection_->isXwayland()) {
    connection_.reset();
    return false;
  }
  connection_->watchLayout();
  nextLayout_ = {};
  return true;
}

// Brings layout_ up to date.
void XScreens::refresh() {
  if (!connected()) {
    layout_ = {};
    return;
  }
  const auto now = steady_clock::now();
  bool stale = now >= nextLayout_;
  while (const XEvent event = connection_->event()) {
    stale = stale || connection_->isLayoutChange(*event);
  }
  if (connection_->alive() && !stale) return;
  layout_ = connection_->layout();  // without monitors when the server has gone
  nextLayout_ = now + kMaxLayoutAge;
}

}  // namespace tessel::platform
