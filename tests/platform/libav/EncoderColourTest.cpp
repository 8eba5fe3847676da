// The colours that a receiver shows are those of the screen.
#include <array>
#include <gtest/gtest.h>

#include "platform/libav/EncoderChoice.h"
#include "platform/libav/LibavEncoder.h"
#include "tests/platform/libav/EncoderOutput.h"

namespace tessel::platform {
namespace {

constexpr int kBlock = 64;
constexpr std::array<std::uint32_t, 8> kColours{0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00,
                                                0x00FFFF, 0xFF00FF, 0xFFFFFF, 0x000000};
constexpr int kPictureWidth = kBlock * static_cast<int>(kColours.size());

// The colour of a pixel as a player shows it that goes by what the stream says of itself.
std::array<double, 3> shownColour(const AVFrame& shown, int x, int y) {
  const bool hd = shown.colorspace == AVCOL_SPC_BT709;
  const double kr = hd ? 0.2126 : 0.299;
  const double kb = hd ? 0.0722 : 0.114;
  const auto sample = [&](int plane, int column, int row) {
    return static_cast<double>(shown.data[plane][row * shown.linesize[plane] + column]);
  };
  const double luma = (sample(0, x, y) - 16) / 219;
  const double blue = (sample(1, x / 2, y / 2) - 128) / 224;
  const double red = (sample(2, x / 2, y / 2) - 128) / 224;
  const double r = luma + 2 * (1 - kr) * red;
  const double b = luma + 2 * (1 - kb) * blue;
  return {255 * r, 255 * (luma - kr * r - kb * b) / (1 - kr - kb), 255 * b};
}

// Encodes with x264 from pictures of the format given.
class EncoderColourTest : public testing::TestWithParam<AVPixelFormat> {};

TEST_P(EncoderColourTest, SaturatedColoursArriveAsTheyWere) {
  const EncoderCandidate x264{"libx264",
                              false,
                              GetParam(),
                              AV_HWDEVICE_TYPE_NONE,
                              nullptr,
                              nullptr,
                              {{{"preset", "ultrafast"}, {"tune", "zerolatency"}}}};
  LibavVideoEncoding encoding{std::make_shared<ClockByHand>(),
                              EncoderChoice{std::span{&x264, 1}, LibavEncoder::open}};
  Output output;
  const auto session = std::get<std::shared_ptr<CompressionSession>>(
      encoding.makeCompressionSession(kPictureWidth, kBlock, {}, output.callback()));

  const PooledPicture picture = PixelBufferPool{kPictureWidth, kBlock}.take();
  std::vector<FilledRectangle> blocks;
  for (const std::uint32_t colour : kColours) {
    blocks.push_back({static_cast<int>(blocks.size()) * kBlock, 0, kBlock, kBlock, colour});
  }
  paint(blocks, picture.picture);
  ASSERT_EQ(session->encodeFrame(picture.buffer, {1, 30}), 0);
  Decoder decoder;
  const AVFrame* shown = decoder.decode(output.next().annexB());
  ASSERT_NE(shown, nullptr);
  ASSERT_EQ(shown->format, AV_PIX_FMT_YUV420P);
  ASSERT_EQ(shown->color_range, AVCOL_RANGE_MPEG);
  for (const FilledRectangle& block : blocks) {
    const auto colour = shownColour(*shown, block.x + kBlock / 2, kBlock / 2);
    for (const unsigned channel : {0U, 1U, 2U}) {
      EXPECT_NEAR(colour[channel], block.rgb >> (16 - 8 * channel) & 0xFFU, 6)
          << std::hex << block.rgb << " channel " << channel;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, EncoderColourTest,
                         testing::Values(AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12),
                         [](const auto& format) {
                           return format.param == AV_PIX_FMT_NV12 ? "NV12" : "I420";
                         });

}  // namespace
}  // namespace tessel::platform
