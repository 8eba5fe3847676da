#include "platform/linux/x11/XGrabber.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace tessel::platform {
namespace {

constexpr std::uint32_t kAllPlanes = 0xFFFFFFFF;

// Areas are 64-byte aligned for SIMD.
std::size_t aligned(std::size_t size) { return (size + 63) / 64 * 64; }

// MIT-SHM 1.2 takes the memory as a file descriptor, which leaves no name behind when the process
// dies.
bool canTakeMemory(const XConnection& connection) {
  if (!connection.has(xcb_shm_id)) return false;
  const auto version =
      connection.reply(xcb_shm_query_version_reply, connection.request(xcb_shm_query_version));
  return version && (version->major_version > 1 || version->minor_version >= 2);
}

}  // namespace

XGrabber::XGrabber(XConnection& connection, XPixelFormat format)
    : connection_{connection}, format_{format}, mayShare_{canTakeMemory(connection)} {}

XGrabber::~XGrabber() { release(); }

std::vector<const std::uint8_t*> XGrabber::grab(std::span<const PixelArea> areas) {
  std::size_t size = 0;
  for (const PixelArea& area : areas) {
    size += aligned(format_.stride(area.width) * static_cast<std::size_t>(area.height));
  }
  if (mayShare_ && size > size_) mayShare_ = reserve(size);
  return mayShare_ ? grabShared(areas) : grabCopied(areas);
}

bool XGrabber::reserve(std::size_t size) {
  release();
  const int file = memfd_create("tessel-capture", MFD_CLOEXEC);
  if (file < 0) return false;
  void* mapped = MAP_FAILED;
  if (ftruncate(file, static_cast<off_t>(size)) == 0) {
    mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  if (mapped == MAP_FAILED) {
    close(file);
    return false;
  }
  memory_ = static_cast<std::uint8_t*>(mapped);
  size_ = size;
  segment_ = connection_.generateID();
  // The connection closes the descriptor.
  if (connection_.succeeded(connection_.request(xcb_shm_attach_fd_checked, segment_, file, 0))) {
    return true;
  }
  segment_ = 0;
  release();
  return false;
}

// The server has its own mapping of the memory: a late answer of it writes to no memory of ours.
void XGrabber::release() {
  if (segment_ != 0) connection_.request(xcb_shm_detach, segment_);
  if (memory_ != nullptr) munmap(memory_, size_);
  segment_ = 0;
  memory_ = nullptr;
  size_ = 0;
}

std::vector<const std::uint8_t*> XGrabber::grabShared(std::span<const PixelArea> areas) {
  std::vector<xcb_shm_get_image_cookie_t> cookies;
  std::vector<const std::uint8_t*> pixels;
  std::size_t offset = 0;
  for (const PixelArea& area : areas) {
    cookies.push_back(connection_.request(xcb_shm_get_image, connection_.root(), area.x, area.y,
                                          area.width, area.height, kAllPlanes,
                                          XCB_IMAGE_FORMAT_Z_PIXMAP, segment_, offset));
    pixels.push_back(memory_ + offset);
    offset += aligned(format_.stride(area.width) * static_cast<std::size_t>(area.height));
  }
  bool complete = true;
  for (const xcb_shm_get_image_cookie_t cookie : cookies) {
    const auto reply = connection_.reply(xcb_shm_get_image_reply, cookie);
    complete = complete && reply;
  }
  if (!complete) pixels.clear();
  return pixels;
}

std::vector<const std::uint8_t*> XGrabber::grabCopied(std::span<const PixelArea> areas) {
  copies_.clear();
  std::vector<xcb_get_image_cookie_t> cookies;
  for (const PixelArea& area : areas) {
    cookies.push_back(connection_.request(xcb_get_image, XCB_IMAGE_FORMAT_Z_PIXMAP,
                                          connection_.root(), area.x, area.y, area.width,
                                          area.height, kAllPlanes));
  }
  std::vector<const std::uint8_t*> pixels;
  bool complete = true;
  for (std::size_t index = 0; index < areas.size(); ++index) {
    auto reply = connection_.reply(xcb_get_image_reply, cookies[index]);
    const std::size_t needed =
        format_.stride(areas[index].width) * static_cast<std::size_t>(areas[index].height);
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < needed) {
      complete = false;
      continue;
    }
    pixels.push_back(xcb_get_image_data(reply.get()));
    copies_.push_back(std::move(reply));
  }
  if (!complete) pixels.clear();
  return pixels;
}

}  // namespace tessel::platform
