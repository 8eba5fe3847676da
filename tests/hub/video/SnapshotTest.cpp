#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "apps/tessel-hub/video/Picture.h"
#include "apps/tessel-hub/video/Snapshot.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::hub {
namespace {

using ::testing::Each;
using Bytes = std::vector<std::uint8_t>;

// A picture of one colour.
Picture plain(int width, int height, std::uint8_t y, std::uint8_t u, std::uint8_t v) {
  const auto memory = std::make_shared<Bytes>();
  const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  memory->assign(luma, y);
  memory->insert(memory->end(), luma, u);
  memory->insert(memory->end(), luma, v);
  return {.width = width,
          .height = height,
          .y = memory->data(),
          .u = memory->data() + luma,
          .v = memory->data() + 2 * luma,
          .yStride = width,
          .uStride = width,
          .vStride = width,
          .memory = memory};
}

TEST(SnapshotTest, BlackAndWhiteOfLimitedRangeAreBlackAndWhite) {
  EXPECT_THAT(rgbFrom(plain(4, 2, 16, 128, 128)), Each(0));
  EXPECT_THAT(rgbFrom(plain(4, 2, 235, 128, 128)), Each(255));
}

TEST(SnapshotTest, RedComesFirst) {
  const Bytes pixels = rgbFrom(plain(2, 2, 81, 90, 240));  // red in BT.601
  EXPECT_GT(pixels[0], 250);
  EXPECT_LT(pixels[1], 5);
  EXPECT_LT(pixels[2], 5);
}

TEST(SnapshotTest, FileIsAPngAndNothingElseIsLeftBehind) {
  const test::TemporaryFolder folder;
  const std::string path = folder / "picture.png";
  std::string problem;
  ASSERT_TRUE(writeSnapshot(plain(16, 8, 100, 128, 128), path, problem)) << problem;
  std::ifstream file{path, std::ios::binary};
  std::string signature(8, '\0');
  file.read(signature.data(), 8);
  EXPECT_EQ(signature, "\x89PNG\r\n\x1a\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator{folder.path()}, {}), 1);
}

TEST(SnapshotTest, APlaceThatCannotBeWrittenGivesTheReason) {
  const test::TemporaryFolder folder;
  for (const auto& [path, why] :
       {std::pair{std::string{"/nonexistent/a.png"}, "No such file or directory"},
        {folder.path().string(), "Is a directory"}}) {
    std::string problem;
    EXPECT_FALSE(writeSnapshot(plain(2, 2, 0, 0, 0), path, problem));
    EXPECT_EQ(problem, why);
    problem.clear();
    EXPECT_FALSE(canWriteSnapshot(path, problem));
    EXPECT_EQ(problem, why);
  }
}

TEST(SnapshotTest, AskingWhetherItCanBeWrittenChangesNothing) {
  const test::TemporaryFolder folder;
  const std::string old = folder / "old.png";
  std::ofstream{old} << "a picture";
  std::string problem;
  EXPECT_TRUE(canWriteSnapshot(old, problem)) << problem;
  EXPECT_TRUE(canWriteSnapshot(folder / "new.png", problem)) << problem;
  EXPECT_EQ(std::filesystem::file_size(old), 9U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator{folder.path()}, {}), 1);
}

TEST(SnapshotTest, ALinkStaysAndItsFileIsWritten) {
  const test::TemporaryFolder folder;
  const auto file = folder / "picture.png";
  const auto link = folder / "link.png";
  std::ofstream{file} << "an older picture";
  std::filesystem::create_symlink(file, link);
  std::string problem;
  ASSERT_TRUE(writeSnapshot(plain(16, 8, 100, 128, 128), link, problem)) << problem;
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  std::string signature(4, '\0');
  std::ifstream{file, std::ios::binary}.read(signature.data(), 4);
  EXPECT_EQ(signature, "\x89PNG");
}

// Links to them, so that a test that fails leaves the devices in their place.
TEST(SnapshotTest, ADeviceIsWrittenIntoAndStays) {
  const test::TemporaryFolder folder;
  const auto link = folder / "device";
  std::filesystem::create_symlink("/dev/null", link);
  std::string problem;
  EXPECT_TRUE(canWriteSnapshot(link, problem)) << problem;
  EXPECT_TRUE(writeSnapshot(plain(16, 8, 100, 128, 128), link, problem)) << problem;
  EXPECT_TRUE(std::filesystem::is_character_file(link));
  std::filesystem::remove(link);
  std::filesystem::create_symlink("/dev/full", link);
  EXPECT_FALSE(writeSnapshot(plain(16, 8, 100, 128, 128), link, problem));
  EXPECT_EQ(problem, "No space left on device");
}

TEST(SnapshotTest, APipeIsWrittenIntoIfItHasAReader) {
  const test::TemporaryFolder folder;
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::string problem;
  EXPECT_TRUE(canWriteSnapshot(pipe, problem)) << problem;
  EXPECT_FALSE(writeSnapshot(plain(16, 8, 100, 128, 128), pipe, problem));
  EXPECT_EQ(problem, "No such device or address");
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_TRUE(writeSnapshot(plain(16, 8, 100, 128, 128), pipe, problem)) << problem;
  std::string signature(4, '\0');
  EXPECT_EQ(read(reader, signature.data(), 4), 4);
  EXPECT_EQ(signature, "\x89PNG");
  close(reader);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

}  // namespace
}  // namespace tessel::hub
