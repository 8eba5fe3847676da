#include "platform/linux/x11/XFrameSource.h"

#include <algorithm>
#include <cstring>
#include <libyuv.h>
#include <utility>

namespace tessel::platform {
namespace {

// Strips have an even height, so that chroma can be compared as well.
constexpr int kStripHeight = 2;

// Every n-th strip is looked at in one go: all of them in n.
constexpr int kVerifyStep = 30;
constexpr int kPollStep = 15;

// After this many polls without a change, only strips are looked at.
constexpr int kBusyPolls = 30;

// More areas than this cost more to ask for than what lies between them.
constexpr std::size_t kManyAreas = 24;

// The area grown to even coordinates, as far as the picture goes: chroma covers two by two pixels.
PixelArea evenly(const PixelArea& area, int width, int height) {
  const int x = area.x / 2 * 2;
  const int y = area.y / 2 * 2;
  return {x, y, std::min(width, (area.right() + 1) / 2 * 2) - x,
          std::min(height, (area.bottom() + 1) / 2 * 2) - y};
}

bool meets(const PixelArea& area, const std::vector<PixelArea>& others) {
  return std::any_of(others.begin(), others.end(),
                     [&](const PixelArea& other) { return !intersection(area, other).empty(); });
}

PixelArea boundingBox(const std::vector<PixelArea>& areas) {
  PixelArea box = areas.front();
  for (const PixelArea& area : areas) {
    const int right = std::max(box.right(), area.right());
    const int bottom = std::max(box.bottom(), area.bottom());
    box.x = std::min(box.x, area.x);
    box.y = std::min(box.y, area.y);
    box.width = right - box.x;
    box.height = bottom - box.y;
  }
  return box;
}

// Calls `row(plane, bytes of a, bytes of b, count)` for the rows of all planes; `a` has the size of
// the area, `b` holds the area at its place.
template <typename Row>
void forEachRow(const PlanarPicture& a, const PlanarPicture& b, const PixelArea& area, Row row) {
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int shrink = plane == 0 ? 1 : 2;
    const int width = (area.width + shrink - 1) / shrink;
    const int height = (area.height + shrink - 1) / shrink;
    for (int y = 0; y < height; ++y) {
      const std::ptrdiff_t inB =
          static_cast<std::ptrdiff_t>(area.y / shrink + y) * b.strides[plane] + area.x / shrink;
      row(a.planes[plane] + static_cast<std::ptrdiff_t>(y) * a.strides[plane],
          b.planes[plane] + inB, static_cast<std::size_t>(width));
    }
  }
}

bool same(const PlanarPicture& a, const PlanarPicture& b, const PixelArea& area) {
  bool equal = true;
  forEachRow(a, b, area,
             [&](const std::uint8_t* left, const std::uint8_t* right, std::size_t size) {
               equal = equal && std::memcmp(left, right, size) == 0;
             });
  return equal;
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
    layoutChanged_ = layoutChanged_ || connection_->tellsOfLayout(*event);
  }
  if (layoutChanged_) refreshLayout();
}

void XFrameSource::refreshLayout() {
  layoutChanged_ = false;
  const XLayout layout = connection_->layout();
  if (layout.monitors.empty()) return;
  auto found = std::find_if(layout.monitors.begin(), layout.monitors.end(),
                            [this](const XMonitor& each) { return each.name == monitorName_; });
  if (found == layout.monitors.end()) found = layout.monitors.begin();
  if (found->area == monitor_) return;
  const bool resized = !canvases_ || canvases_->width() != found->area.width ||
                       canvases_->height() != found->area.height;
  monitor_ = found->area;
  if (resized) canvases_ = std::make_unique<PixelBufferPool>(monitor_.width, monitor_.height);
  canvas_ = {};
  whole_ = true;
  damaged_.clear();
  suspects_.clear();
}

// Moves what the server tells into damaged_.
void XFrameSource::collectDamage() {
  for (const PixelArea& area : damage_.take()) {
    PixelArea inMonitor = intersection(area, monitor_);
    if (inMonitor.empty()) continue;
    inMonitor.x -= monitor_.x;
    inMonitor.y -= monitor_.y;
    damaged_.push_back(evenly(inMonitor, monitor_.width, monitor_.height));
  }
  // What it tells late was no lie.
  std::erase_if(suspects_, [this](const PixelArea& strip) { return meets(strip, damaged_); });
}

std::vector<PixelArea> XFrameSource::areasToRead() const {
  const PixelArea all{0, 0, monitor_.width, monitor_.height};
  if (whole_) return {all};
  std::vector<PixelArea> areas = damaged_;
  if (areas.size() > kManyAreas) areas = {boundingBox(areas)};
  std::int64_t pixels = 0;
  for (const PixelArea& area : areas) pixels += area.pixels();
  // Beyond this, what it saves is less than copying the rest of the picture costs.
  if (pixels * 4 > all.pixels() * 3) return {all};
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
  return (polling_ ? capturePolled() : captureTold()) ? output() : nullptr;
}

bool XFrameSource::captureTold() {
  collectDamage();
  const std::vector<PixelArea> areas = areasToRead();
  if (areas.empty()) return false;
  const bool partly =
      areas.front().pixels() < canvases_->width() * std::int64_t{canvases_->height()};
  // A canvas that has been handed out stays as it is; one that is only scaled can be written on.
  const bool handedOut = outputs_.width() == monitor_.width && outputs_.height() == monitor_.height;
  const PooledPicture next = canvas_ && !handedOut ? canvas_ : canvases_->take();
  if (partly && handedOut) copy(canvas_.picture, next.picture);
  if (!read(areas, next.picture)) return false;
  canvas_ = next;
  whole_ = false;
  damaged_.clear();
  return true;
}

bool XFrameSource::capturePolled() {
  const PixelArea all{0, 0, monitor_.width, monitor_.height};
  const bool hinted = whole_ || damage_.pending();
  if (damage_.pending()) collectDamage();
  if (!hinted && idlePolls_ >= kBusyPolls && strayStrips(nextStrips(kPollStep)).empty()) {
    return false;
  }
  const PooledPicture next = canvases_->take();
  if (!read({all}, next.picture)) return false;
  damaged_.clear();
  if (!whole_ && same(next.picture, canvas_.picture, all)) {
    ++idlePolls_;
    return false;
  }
  idlePolls_ = 0;
  whole_ = false;
  canvas_ = next;
  return true;
}

std::shared_ptr<const PixelBuffer> XFrameSource::output() {
  if (outputs_.width() == monitor_.width && outputs_.height() == monitor_.height) {
    return canvas_.buffer;
  }
  const PlanarPicture& from = canvas_.picture;
  const PooledPicture scaled = outputs_.take();
  const PlanarPicture& to = scaled.picture;
  libyuv::I420Scale(from.planes[0], from.strides[0], from.planes[1], from.strides[1],
                    from.planes[2], from.strides[2], from.width, from.height, to.planes[0],
                    to.strides[0], to.planes[1], to.strides[1], to.planes[2], to.strides[2],
                    to.width, to.height, libyuv::kFilterBox);
  return scaled.buffer;
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

// Those strips that do not look as they did when they were last read.
std::vector<PixelArea> XFrameSource::strayStrips(const std::vector<PixelArea>& strips) {
  std::vector<PixelArea> stray;
  const PooledPicture now = canvases_->take();
  if (!canvas_ || !read(strips, now.picture)) return stray;
  for (const PixelArea& strip : strips) {
    PlanarPicture row = now.picture;
    row.planes[0] += static_cast<std::ptrdiff_t>(strip.y) * row.strides[0];
    for (const std::size_t plane : {1, 2}) {
      row.planes[plane] += static_cast<std::ptrdiff_t>(strip.y / 2) * row.strides[plane];
    }
    if (!same(row, canvas_.picture, strip)) stray.push_back(strip);
  }
  return stray;
}

bool XFrameSource::verify() {
  layoutChanged_ = true;  // monitors that a user defines are not told of
  processEvents();
  if (polling_ || whole_ || monitor_.empty()) return false;

  // Told first, read then: a change between the two is told later, and clears its suspects.
  collectDamage();
  if (!suspects_.empty()) {
    polling_ = true;
    idlePolls_ = 0;
    return false;
  }
  for (const PixelArea& strip : strayStrips(nextStrips(kVerifyStep))) {
    if (!meets(strip, damaged_)) suspects_.push_back(strip);
  }
  return !suspects_.empty();
}

}  // namespace tessel::platform
