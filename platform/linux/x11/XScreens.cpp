#include "platform/linux/x11/XScreens.h"

#include <utility>

#include "platform/posix/PipeSignalGuard.h"

namespace tessel::platform {
namespace {

using std::chrono::steady_clock;

// A server that is not there is asked for this often at most.
constexpr auto kAttemptInterval = std::chrono::seconds{1};

// The server does not tell of monitors that a user has defined (xrandr --setmonitor), so the
// layout is asked for again this often, however quiet it has been.
constexpr auto kLayoutAge = std::chrono::seconds{1};

}  // namespace

XScreens::XScreens(std::string display, bool acceptsXwayland)
    : display_{std::move(display)}, acceptsXwayland_{acceptsXwayland} {}

std::vector<Screen> XScreens::screens() {
  const MutexLock lock{mutex_};
  const PipeSignalGuard guard;
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
  const PipeSignalGuard guard;
  refresh();
  if (!connection_) return mouse_;
  const auto pointer = connection_->reply(
      xcb_query_pointer_reply, xcb_query_pointer(connection_->get(), connection_->root()));
  if (pointer) mouse_ = point(pointer->root_x, pointer->root_y);
  return mouse_;
}

Point XScreens::point(int rootX, int rootY) const {
  if (layout_.monitors.empty()) return {};
  const PixelArea& primary = layout_.monitors.front().area;
  return {static_cast<double>(rootX - primary.x), static_cast<double>(primary.bottom() - rootY)};
}

// Whether there is a connection that works.
bool XScreens::connected() {
  if (connection_ && connection_->alive()) return true;
  connection_.reset();
  const auto now = steady_clock::now();
  if (now < nextAttempt_) return false;
  nextAttempt_ = now + kAttemptInterval;
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
    stale = stale || connection_->tellsOfLayout(*event);
  }
  if (connection_->alive() && !stale) return;
  layout_ = connection_->layout();  // without monitors when the server has gone
  nextLayout_ = now + kLayoutAge;
}

}  // namespace tessel::platform
