#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "apps/tessel-hub/video/VideoDecoder.h"

namespace tessel::hub {
namespace {

using Bytes = std::vector<std::uint8_t>;

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
