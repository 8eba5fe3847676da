#include "platform/media/PixelBufferPool.h"

#include <new>
#include <utility>
#include <vector>

#include "platform/base/Mutex.h"

namespace tessel::platform {
namespace {

// Rows are 64-byte aligned for SIMD.
constexpr std::size_t kAlignment = 64;

struct AlignedDelete {
  void operator()(std::uint8_t* memory) const {
    operator delete[](memory, std::align_val_t{kAlignment});
  }
};
using Memory = std::unique_ptr<std::uint8_t[], AlignedDelete>;

std::size_t alignedStride(int width) {
  return (static_cast<std::size_t>(width) + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace

// Memory that is not in use. Any thread.
class PixelBufferPool::FreeList {
 public:
  explicit FreeList(std::size_t size) : size_{size} {}

  Memory take() {
    {
      const MutexLock lock{mutex_};
      if (!free_.empty()) {
        Memory memory = std::move(free_.back());
        free_.pop_back();
        return memory;
      }
    }
    return Memory{new (std::align_val_t{kAlignment}) std::uint8_t[size_]};
  }

  void giveBack(Memory memory) {
    const MutexLock lock{mutex_};
    free_.push_back(std::move(memory));
  }

 private:
  const std::size_t size_;
  Mutex mutex_;
  std::vector<Memory> free_ TESSEL_GUARDED_BY(mutex_);  // as many as were in use at the same time
};

PixelBufferPool::PixelBufferPool(int width, int height)
    : width_{width},
      height_{height},
      freeList_{std::make_shared<FreeList>(alignedStride(width) * static_cast<std::size_t>(height) +
                                           2 * alignedStride((width + 1) / 2) *
                                               static_cast<std::size_t>((height + 1) / 2))} {}

PooledPicture PixelBufferPool::take() {
  const std::size_t lumaStride = alignedStride(width_);
  const std::size_t chromaStride = alignedStride((width_ + 1) / 2);
  const std::size_t lumaSize = lumaStride * static_cast<std::size_t>(height_);
  const std::size_t chromaSize = chromaStride * static_cast<std::size_t>((height_ + 1) / 2);

  Memory memory = freeList_->take();
  std::uint8_t* const first = memory.get();
  std::shared_ptr<const void> storage{
      memory.release(), [list = freeList_](std::uint8_t* used) { list->giveBack(Memory{used}); }};

  PooledPicture taken;
  taken.picture = {width_,
                   height_,
                   {first, first + lumaSize, first + lumaSize + chromaSize},
                   {static_cast<int>(lumaStride), static_cast<int>(chromaStride),
                    static_cast<int>(chromaStride)}};
  taken.buffer = std::make_shared<const PixelBuffer>(
      PixelBuffer{width_,
                  height_,
                  {taken.picture.planes[0], taken.picture.planes[1], taken.picture.planes[2]},
                  taken.picture.strides,
                  std::move(storage)});
  return taken;
}

}  // namespace tessel::platform
