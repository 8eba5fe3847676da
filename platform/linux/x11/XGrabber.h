#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>
#include <xcb/shm.h>

#include "platform/linux/x11/XConnection.h"
#include "platform/linux/x11/XPixelFormat.h"

namespace tessel::platform {

/// Reads pixels of the root window: by shared memory (MIT-SHM), or over the connection where the
/// server does not share memory. On the thread of its connection, which outlives it.
class XGrabber {
 public:
  XGrabber(XConnection& connection, XPixelFormat format);
  ~XGrabber();
  XGrabber(const XGrabber&) = delete;
  XGrabber& operator=(const XGrabber&) = delete;

  /// Reads areas of the root window with one round trip. Returns a pointer to the pixels of each,
  /// valid until the next call; empty when an area is outside the root window, the server refuses
  /// or the server is gone.
  std::vector<const std::uint8_t*> grab(std::span<const PixelArea> areas);

  bool sharesMemory() const { return memory_ != nullptr; }

 private:
  bool reserve(std::size_t size);
  void release();
  std::vector<const std::uint8_t*> grabShared(std::span<const PixelArea> areas);
  std::vector<const std::uint8_t*> grabCopied(std::span<const PixelArea> areas);

  XConnection& connection_;
  const XPixelFormat format_;
  bool mayShare_;
  xcb_shm_seg_t segment_ = 0;
  std::uint8_t* memory_ = nullptr;  // mapped; null until first used
  std::size_t size_ = 0;
  std::vector<XReply<xcb_get_image_reply_t>> copies_;  // of the last grab
};

}  // namespace tessel::platform
