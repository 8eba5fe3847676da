#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>

#include "Picture.h"
#include "Snapshot.h"
#include "StreamRecorder.h"
#include "VideoDecoder.h"
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

TEST(SnapshotTest, APlaceThatCannotBeWrittenIsToldWhy) {
  std::string problem;
  EXPECT_FALSE(writeSnapshot(plain(2, 2, 0, 0, 0), "/nonexistent/a.png", problem));
  EXPECT_EQ(problem, "No such file or directory");
}

TEST(StreamRecorderTest, FramesStandOneBehindTheOther) {
  const test::TemporaryFolder folder;
  const std::string path = folder / "stream.h264";
  StreamRecorder recorder;
  std::string problem;
  ASSERT_TRUE(recorder.open(path, problem));
  EXPECT_TRUE(recorder.write(Bytes{1, 2}));
  EXPECT_TRUE(recorder.write(Bytes{3}));
  std::ifstream file{path, std::ios::binary};
  EXPECT_EQ((std::string{std::istreambuf_iterator<char>{file}, {}}), "\x01\x02\x03");
}

TEST(StreamRecorderTest, AFullDiskIsToldOnce) {
  StreamRecorder recorder;
  std::string problem;
  ASSERT_TRUE(recorder.open("/dev/full", problem));
  EXPECT_FALSE(recorder.write(Bytes{1}));
  EXPECT_TRUE(recorder.write(Bytes{1}));
}

TEST(VideoDecoderTest, NoiseYieldsNoPictureAndNoCrash) {
  VideoDecoder decoder{640, 480};
  std::mt19937 random{5};
  for (int round = 0; round < 200; ++round) {
    Bytes noise{0, 0, 0, 1, 0x67};
    for (int i = 0; i < 300; ++i) noise.push_back(static_cast<std::uint8_t>(random()));
    noise.insert(noise.end(), {0, 0, 0, 1, 0x65});
    for (int i = 0; i < 300; ++i) noise.push_back(static_cast<std::uint8_t>(random()));
    std::string problem;
    const auto picture = decoder.decode(noise, problem);
    if (picture) {
      EXPECT_LE(picture->width * picture->height, (640 + 64) * (480 + 64));
    }
  }
}

TEST(VideoDecoderTest, AnEmptyFrameIsNoFault) {
  VideoDecoder decoder{640, 480};
  std::string problem = "stale";
  EXPECT_FALSE(decoder.decode({}, problem));
  EXPECT_EQ(problem, "");
}

}  // namespace
}  // namespace tessel::hub
