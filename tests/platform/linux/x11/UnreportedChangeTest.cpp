#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/PrivateXServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// The memory of a server's screen. A write to it is not reported by DAMAGE, like those of some
// drivers. The file is an XWD dump; of its header's big-endian 32-bit fields these matter:
//
//   at  size  field
//    0     4  size of the header
//   48     4  bytes of a row
//   76     4  number of colours, 12 bytes each, between header and pixels
class ScreenMemory {
 public:
  explicit ScreenMemory(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) return;
    size_ = static_cast<std::size_t>(status.st_size);
    void* mapped = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (mapped != MAP_FAILED) memory_ = static_cast<std::uint8_t*>(mapped);
  }
  ~ScreenMemory() {
    if (memory_ != nullptr) munmap(memory_, size_);
  }
  ScreenMemory(const ScreenMemory&) = delete;
  ScreenMemory& operator=(const ScreenMemory&) = delete;

  bool mapped() const { return memory_ != nullptr; }

  // A white rectangle, of four bytes a pixel.
  void fill(int x, int y, int width, int height) {
    std::uint8_t* pixels = memory_ + field(0) + std::size_t{12} * field(76);
    for (int row = y; row < y + height; ++row) {
      std::memset(
          pixels + static_cast<std::size_t>(row) * field(48) + static_cast<std::size_t>(x) * 4,
          0xFF, static_cast<std::size_t>(width) * 4);
    }
  }

 private:
  std::uint32_t field(std::size_t at) const {
    return static_cast<std::uint32_t>(memory_[at]) << 24U |
           static_cast<std::uint32_t>(memory_[at + 1]) << 16U |
           static_cast<std::uint32_t>(memory_[at + 2]) << 8U | memory_[at + 3];
  }

  std::uint8_t* memory_ = nullptr;
  std::size_t size_ = 0;
};

bool isWhiteAt(const PixelBuffer& picture, int x, int y) {
  return isNear(lumaAt(picture, x, y), kWhiteLuma);
}

TEST(UnreportedChangeTest, IsNoticedAndFromThenOnEveryOneIs) {
  const test::TemporaryFolder folder;
  const test::PrivateXServer server{{.arguments = {"-fbdir", folder.path().string()}}};
  chooseScreen();
  test::XPainter painter;
  painter.clear(kGrey);
  ScreenMemory memory{folder / "Xvfb_screen0"};
  ASSERT_TRUE(memory.mapped());
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));

  memory.fill(200, 100, 300, 200);
  EXPECT_NE(capture.frames->waitFor(
                [](const PixelBuffer& picture) { return isWhiteAt(picture, 300, 200); }),
            nullptr);

  // It polls now: small changes too are found, however long after.
  EXPECT_FALSE(capture.frames->waitForCount(3, milliseconds{1500}));
  memory.fill(700, 501, 3, 2);
  EXPECT_NE(
      capture.frames->waitFor(
          [](const PixelBuffer& picture) { return isWhiteAt(picture, 701, 501); }, seconds{5}),
      nullptr);
  painter.paint({{900, 600, 40, 40, kWhite}});
  EXPECT_NE(capture.frames->waitFor(
                [](const PixelBuffer& picture) { return isWhiteAt(picture, 920, 620); }),
            nullptr);
}

TEST(UnreportedChangeTest, IsNoticedBesideReportedOnes) {
  const test::TemporaryFolder folder;
  const test::PrivateXServer server{{.arguments = {"-fbdir", folder.path().string()}}};
  chooseScreen();
  test::XPainter painter;
  painter.clear(kGrey);
  ScreenMemory memory{folder / "Xvfb_screen0"};
  ASSERT_TRUE(memory.mapped());
  const Capture capture{{1280, 720}};
  ASSERT_TRUE(capture.frames->waitForCount(1));
  memory.fill(200, 100, 300, 200);
  std::shared_ptr<const PixelBuffer> found;
  for (int paints = 0; !found && paints < 500; ++paints) {
    painter.paint({{1000, 700, 10, 10, static_cast<std::uint32_t>(paints) * 0x080808U}});
    found = capture.frames->waitFor(
        [](const PixelBuffer& picture) { return isWhiteAt(picture, 300, 200); }, milliseconds{20});
  }
  EXPECT_NE(found, nullptr);
}

}  // namespace
}  // namespace tessel::platform
