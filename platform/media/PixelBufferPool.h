#pragma once

#include <memory>

#include "platform/ScreenCapture.h"
#include "platform/media/PlanarPicture.h"

namespace tessel::platform {

/// A picture to fill and then to hand out: `buffer` refers to `picture`'s memory, which must not be
/// written any more once `buffer` has been handed out.
struct PooledPicture {
  PlanarPicture picture;
  std::shared_ptr<const PixelBuffer> buffer;

  explicit operator bool() const { return buffer != nullptr; }
};

/// Pictures of one size whose memory is used again once they are no longer referred to. A picture
/// may outlive the pool. Any thread.
class PixelBufferPool {
 public:
  PixelBufferPool(int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }

  /// A picture with no other reference; its content is left over from an earlier use.
  PooledPicture take();

 private:
  class FreeList;

  int width_;
  int height_;
  std::shared_ptr<FreeList> freeList_;
};

}  // namespace tessel::platform
