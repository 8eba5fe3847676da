#include "platform/linux/x11/X11Screens.h"

#include <utility>

#include "platform/media/PatternCapture.h"
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

X11Screens::X11Screens(std::shared_ptr<ScreenChoice> choice) : choice_{std::move(choice)} {}

std::optional<Error> X11Screens::select(ScreenSource source, Size patternSize) {
  choice_->choose(source, patternSize);
  {
    const std::lock_guard lock{mutex_};
    const PipeSignalGuard guard;
    connection_.reset();  // DISPLAY may name another server by now
    nextAttempt_ = {};
    layout_ = {};
  }
  return choice_->obstacle();
}

std::vector<Screen> X11Screens::screens() {
  std::vector<Screen> list;
  switch (choice_->kind()) {
    case ScreenChoice::Kind::none:
      break;
    case ScreenChoice::Kind::pattern:
      list.emplace_back(kPatternDisplayID, Rect{{0, 0}, choice_->patternSize()});
      break;
    case ScreenChoice::Kind::x11: {
      const std::lock_guard lock{mutex_};
      const PipeSignalGuard guard;
      refresh();
      for (const XMonitor& monitor : layout_.monitors) {
        const PixelArea& area = monitor.area;
        list.emplace_back(monitor.name, Rect{point(area.x, area.bottom()),
                                             {static_cast<double>(area.width),
                                              static_cast<double>(area.height)}});
      }
      break;
    }
  }
  return list;
}

Point X11Screens::mouseLocation() {
  switch (choice_->kind()) {
    case ScreenChoice::Kind::none:
      return {};
    case ScreenChoice::Kind::pattern: {
      const Size size = choice_->patternSize();
      return {size.width / 2, size.height / 2};
    }
    case ScreenChoice::Kind::x11:
      break;
  }
  const std::lock_guard lock{mutex_};
  const PipeSignalGuard guard;
  refresh();
  if (!connection_) return mouse_;
  const auto pointer = connection_->reply(
      xcb_query_pointer_reply, xcb_query_pointer(connection_->get(), connection_->root()));
  if (pointer) mouse_ = point(pointer->root_x, pointer->root_y);
  return mouse_;
}

// A place in the root window in global coordinates, whose origin is the lower left corner of the
// primary monitor. Under mutex_.
Point X11Screens::point(int rootX, int rootY) const {
  if (layout_.monitors.empty()) return {};
  const PixelArea& primary = layout_.monitors.front().area;
  return {static_cast<double>(rootX - primary.x), static_cast<double>(primary.bottom() - rootY)};
}

// Whether there is a connection that works. Under mutex_.
bool X11Screens::connected() {
  if (connection_ && connection_->alive()) return true;
  connection_.reset();
  const auto now = steady_clock::now();
  if (now < nextAttempt_) return false;
  nextAttempt_ = now + kAttemptInterval;
  connection_ = XConnection::open();
  if (!connection_) return false;
  choice_->noteXwayland(connection_->isXwayland());
  if (choice_->kind() != ScreenChoice::Kind::x11) {
    connection_.reset();
    return false;
  }
  connection_->watchLayout();
  nextLayout_ = {};
  return true;
}

// Brings layout_ up to date. Under mutex_.
void X11Screens::refresh() {
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
