#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using test::PrivateXServer;
using test::XPainter;

// A colour and its levels in BT.601 with limited range:
//
//   Y  = 16  + ( 65.481 R + 128.553 G +  24.966 B) / 255
//   Cb = 128 + (-37.797 R -  74.203 G + 112.000 B) / 255
//   Cr = 128 + (112.000 R -  93.786 G -  18.214 B) / 255
struct Colour {
  const char* name;
  std::uint32_t rgb;
  std::array<int, 3> levels;
};
constexpr std::array<Colour, 8> kColours{{
    {"red", 0xFF0000, {81, 90, 240}},
    {"green", 0x00FF00, {145, 54, 34}},
    {"blue", 0x0000FF, {41, 240, 110}},
    {"cyan", 0x00FFFF, {170, 166, 16}},
    {"magenta", 0xFF00FF, {106, 202, 222}},
    {"yellow", 0xFFFF00, {210, 16, 146}},
    {"white", 0xFFFFFF, {235, 128, 128}},
    {"black", 0x000000, {16, 128, 128}},
}};

constexpr int kBarWidth = 80;

// A bar of each colour, captured at a size, has its levels in the middle.
void expectColours(const PrivateXServer::Options& options, int width, int height, int tolerance) {
  const PrivateXServer server{options};
  chooseScreen();
  XPainter painter;
  std::vector<FilledRectangle> bars;
  for (const Colour& colour : kColours) {
    bars.push_back({static_cast<int>(bars.size()) * kBarWidth, 0, kBarWidth, 480, colour.rgb});
  }
  painter.paint(bars);
  const Capture capture{{static_cast<double>(width), static_cast<double>(height)}};
  ASSERT_NE(capture.session, nullptr);
  ASSERT_TRUE(capture.frames->waitForCount(1));
  const auto picture = capture.frames->frames().front().imageBuffer;
  const int barWidth = kBarWidth * width / options.width;
  for (std::size_t bar = 0; bar < kColours.size(); ++bar) {
    for (std::size_t plane = 0; plane < 3; ++plane) {
      const int shrink = plane == 0 ? 1 : 2;
      const int x = (static_cast<int>(bar) * barWidth + barWidth / 2) / shrink;
      const int y = height / 2 / shrink;
      EXPECT_NEAR(picture->planes[plane][y * picture->strides[plane] + x],
                  kColours[bar].levels[plane], tolerance)
          << kColours[bar].name << ", plane " << plane;
    }
  }
}

TEST(CapturedColoursTest, AreThoseOfTheScreen) {
  expectColours({.width = 640, .height = 480}, 640, 480, 2);
}

TEST(CapturedColoursTest, AreThoseOfTheScreenWhenScaled) {
  expectColours({.width = 640, .height = 480}, 480, 300, 2);
}

TEST(CapturedColoursTest, AreThoseOfAScreenOfSixteenBits) {
  expectColours({.width = 640, .height = 480, .depth = 16}, 640, 480, 2);
}

TEST(CapturedColoursTest, AreThoseOfAScreenOfThirtyBits) {
  expectColours({.width = 640, .height = 480, .depth = 30}, 640, 480, 2);
}

}  // namespace
}  // namespace tessel::platform
