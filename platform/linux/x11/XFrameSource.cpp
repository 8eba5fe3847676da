#include "platform/linux/x11/XFrameSource.h"

#include <algorithm>
#include <cstring>
#include <libyuv.h>
#include <numeric>
#include <utility>

namespace tessel::platform {
namespace {

// Strips have an even height, so that chroma can be compared as well.
constexpr int kStripHeight = 2;

// `verify` and an idle poll read every n-th strip: the whole monitor in n calls.
constexpr int kVerifyStep = 30;
constexpr int kPollStep = 15;

// After this many polls without a change only strips are read.
constexpr int kMaxIdlePolls = 30;

// Requesting more areas than this costs more than reading the pixels between them.
constexpr std::size_t kMaxAreas = 24;

bool overlapsAny(const PixelArea& area, const std::vector<PixelArea>& others) {
  return std::any_of(others.begin(), others.end(),
                     [&](const PixelArea& other) { return !intersection(area, other).empty(); });
}

// Whether the areas are so large a part of the picture that one pass over all of it costs no more.
bool areMostOf(const PixelArea& picture, const std::vector<PixelArea>& areas) {
  std::int64_t pixels = 0;
  for (const PixelArea& area : areas) pixels += area.pixels();
  return pixels * 4 > picture.pixels() * 3;
}

// Whether `a`, which has the size of `area`, and that area of `b` are the same in all planes.
bool same(const PlanarPicture& a, const PlanarPicture& b, const PixelArea& area) {
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int shrink = plane == 0 ? 1 : 2;
    const int width = (area.width + shrink - 1) / shrink;
    const int height = (area.height + shrink - 1) / shrink;
    const std::uint8_t* ofA = a.planes[plane];
    const std::uint8_t* ofB = b.planes[plane] +
                              static_cast<std::ptrdiff_t>(area.y / shrink) * b.strides[plane] +
                              area.x / shrink;
    for (int y = 0; y < height; ++y, ofA += a.strides[plane], ofB += b.strides[plane]) {
      if (std::memcmp(ofA, ofB, static_cast<std::size_t>(width)) != 0) return false;
    }
  }
  return true;
}

void copy(const PlanarPicture& from, const PlanarPicture& to) {
  libyuv::I420Copy(from.planes[0], from.strides[0], from.planes[1], from.strides[1], from.planes[2],
                   from.strides[2], to.planes[0], to.strides[0], to.planes[1], to.strides[1],
                   to.planes[2], to.strides[2], from.width, from.height);
}

}  // namespace

std::unique_ptr<XFrameSource> XFrameSource::open(const std::string& display,
                                                 std::uint32_t monitorName, int width, int height) {
  std::unique_ptr<XConnection> connection = XConnection::open(display);
  if (!connection) return nullptr;
  const std::optional<XPixelFormat> format = XPixelFormat::of(*connection);
  if (!format) return nullptr;
  return std::unique_ptr<XFrameSource>{
      new XFrameSource{std::move(connection), *format, monitorName, width, height}};
}

XFrameSource::XFrameSource(std::unique_ptr<XConnection> connection, XPixelFormat format,
                           std::uint32_t monitorName, int width, int height)
    : connection_{std::move(connection)},
      format_{format},
      monitorName_{monitorName},
      damage_{*connection_},
      grabber_{*connection_, format},
      outputs_{width, height},
      polling_{!damage_.available()} {
  connection_->watchLayout();
}

void XFrameSource::processEvents() {
  while (const XEvent event = connection_->event()) {
    damage_.handle(*event);
    layoutChanged_ = layoutChanged_ || connection_->isLayoutChange(*event);
  }
  if (layoutChanged_) refreshLayout();
}

void XFrameSource::refreshLayout() {
  layoutChanged_ = false;
  const XLayout layout = connection_->layout();
  if (layout.monitors.empty()) return;
  auto found = std::ranges::find(layout.monitors, monitorName_, &XMonitor::name);
  if (found == layout.monitors.end()) found = layout.monitors.begin();
  if (found->area == monitor_) return;
  monitor_ = found->area;
  if (!canvases_ || canvases_->width() != monitor_.width ||
      canvases_->height() != monitor_.height) {
    canvases_ = std::make_unique<PixelBufferPool>(monitor_.width, monitor_.height);
    scaler_.reset();
    if (outputs_.width() != monitor_.width || outputs_.height() != monitor_.height) {
      scaler_.emplace(monitor_.width, monitor_.height, outputs_.width(), outputs_.height());
    }
  }
  canvas_ = {};
  scaled_ = {};
  whole_ = true;
  damaged_.clear();
  unreported_.clear();
}

// Moves what DAMAGE reports into damaged_.
void XFrameSource::collectDamage() {
  for (const PixelArea& area : damage_.take()) {
    PixelArea inMonitor = intersection(area, monitor_);
    if (inMonitor.empty()) continue;
    inMonitor.x -= monitor_.x;
    inMonitor.y -= monitor_.y;
    damaged_.push_back(evenAligned(inMonitor, monitor_.width, monitor_.height));
  }
  // These changes were only reported late.
  std::erase_if(unreported_,
                [this](const PixelArea& strip) { return overlapsAny(strip, damaged_); });
}

std::vector<PixelArea> XFrameSource::areasToRead() const {
  if (whole_) return {wholeArea()};
  std::vector<PixelArea> areas = damaged_;
  if (areas.size() > kMaxAreas) {
    areas = {std::accumulate(areas.begin(), areas.end(), areas.front(), boundingBox)};
  }
  if (areMostOf(wholeArea(), areas)) return {wholeArea()};
  return areas;
}

// Reads areas of the monitor into a picture of the monitor's size.
bool XFrameSource::read(const std::vector<PixelArea>& areas, const PlanarPicture& into) {
  std::vector<PixelArea> inRoot = areas;
  for (PixelArea& area : inRoot) {
    area.x += monitor_.x;
    area.y += monitor_.y;
  }
  const std::vector<const std::uint8_t*> pixels = grabber_.grab(inRoot);
  if (pixels.size() != areas.size()) {
    // The root window has just become smaller, or the server is gone.
    layoutChanged_ = true;
    return false;
  }
  for (std::size_t index = 0; index < areas.size(); ++index) {
    const PixelArea& area = areas[index];
    format_.convert(pixels[index], area.width, area.height, into, area.x, area.y);
  }
  return true;
}

std::shared_ptr<const PixelBuffer> XFrameSource::capture() {
  if (monitor_.empty()) return nullptr;
  const std::vector<PixelArea> areas = polling_ ? updateByPolling() : updateByDamage();
  if (areas.empty()) return nullptr;
  if (!scaler_) return canvas_.buffer;
  scale(areas);
  return scaled_.buffer;
}

// Brings the canvas up to date and returns which areas of it were read; empty when none.
std::vector<PixelArea> XFrameSource::updateByDamage() {
  collectDamage();
  std::vector<PixelArea> areas = areasToRead();
  if (areas.empty()) return {};
  // A canvas that was handed out is immutable; one that is only scaled is updated in place.
  const bool handedOut = !scaler_;
  const PooledPicture next = canvas_ && !handedOut ? canvas_ : canvases_->take();
  if (handedOut && areas.front() != wholeArea()) copy(canvas_.picture, next.picture);
  if (!read(areas, next.picture)) return {};
  canvas_ = next;
  whole_ = false;
  damaged_.clear();
  return areas;
}

std::vector<PixelArea> XFrameSource::updateByPolling() {
  const bool hinted = whole_ || damage_.pending();
  if (damage_.pending()) collectDamage();
  if (!hinted && idlePolls_ >= kMaxIdlePolls && changedStrips(nextStrips(kPollStep)).empty()) {
    return {};
  }
  const PooledPicture next = canvases_->take();
  if (!read({wholeArea()}, next.picture)) return {};
  damaged_.clear();
  if (!whole_ && same(next.picture, canvas_.picture, wholeArea())) {
    ++idlePolls_;
    return {};
  }
  idlePolls_ = 0;
  whole_ = false;
  canvas_ = next;
  return {wholeArea()};
}

// Brings scaled_ up to date with these areas of the canvas.
void XFrameSource::scale(const std::vector<PixelArea>& areas) {
  const PixelArea all{0, 0, outputs_.width(), outputs_.height()};
  std::vector<PixelArea> parts;
  for (const PixelArea& area : areas) parts.push_back(scaler_->affected(area));
  if (!scaled_ || areMostOf(all, parts)) parts = {all};
  const PooledPicture next = outputs_.take();
  if (parts.front() != all) copy(scaled_.picture, next.picture);
  for (const PixelArea& part : parts) scaler_->scale(canvas_.picture, next.picture, part);
  scaled_ = next;
}

// Every `step`-th strip of the monitor, beginning with another one each time.
std::vector<PixelArea> XFrameSource::nextStrips(int step) {
  stripPhase_ = (stripPhase_ + 1) % step;
  std::vector<PixelArea> strips;
  for (int y = stripPhase_ * kStripHeight; y < monitor_.height; y += step * kStripHeight) {
    strips.push_back({0, y, monitor_.width, std::min(kStripHeight, monitor_.height - y)});
  }
  return strips;
}

// The strips that differ from the canvas.
std::vector<PixelArea> XFrameSource::changedStrips(const std::vector<PixelArea>& strips) {
  std::vector<PixelArea> changed;
  const PooledPicture now = canvases_->take();
  if (!canvas_ || !read(strips, now.picture)) return changed;
  for (const PixelArea& strip : strips) {
    PlanarPicture row = now.picture;
    row.planes[0] += static_cast<std::ptrdiff_t>(strip.y) * row.strides[0];
    for (const std::size_t plane : {1, 2}) {
      row.planes[plane] += static_cast<std::ptrdiff_t>(strip.y / 2) * row.strides[plane];
    }
    if (!same(row, canvas_.picture, strip)) changed.push_back(strip);
  }
  return changed;
}

bool XFrameSource::verify() {
  layoutChanged_ = true;  // the server sends no event for monitors that a user defines
  processEvents();
  if (polling_ || whole_ || monitor_.empty()) return false;

  collectDamage();
  if (!unreported_.empty()) {
    polling_ = true;
    idlePolls_ = 0;
    return false;
  }
  // A change between the report above and this read is reported later, and then erased.
  for (const PixelArea& strip : changedStrips(nextStrips(kVerifyStep))) {
    if (!overlapsAny(strip, damaged_)) unreported_.push_back(strip);
  }
  return !unreported_.empty();
}

}  // namespace tessel::platform
