#include <limits>

#include "tests/input/InputFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

Bytes report(unsigned x, unsigned y) {
  const auto low = [](unsigned value) { return static_cast<std::uint8_t>(value); };
  return {8, 0x0D, low(x), low(x >> 8), low(y), low(y >> 8), 1, 0};
}

class CursorReportTest : public MouseChannelTest {
 protected:
  void moveTo(Point point) {
    world.screens.mouse = point;
    world.advance(25ms);
  }
};

// The first tick after the connection is ready always sends, because lastPoint starts at (-1, -1).
TEST_F(CursorReportTest, TheFirstTickAfterReadyAlwaysSends) {
  world.screens.mouse = {0, 1080};
  start();
  world.run();
  hub->becomeReady();
  world.run();
  world.log.clear();
  world.advance(25ms);
  EXPECT_THAT(hub->sends, ElementsAre(kStartCommand, kCursorCommand, report(0, 0)));
  EXPECT_THAT(world.log.lines(),
              ElementsAre("lastPtX/Y:-1.000000/-1.000000, currentPtx/Y:0.000000/1080.000000"));
}

TEST_F(CursorReportTest, AStillCursorIsReportedOnce) {
  initialize();
  moveTo({100, 980});
  world.log.clear();
  world.advance(1s);
  EXPECT_THAT(hub->sends, ElementsAre(report(100, 100)));
  EXPECT_THAT(world.log.lines(), IsEmpty());
  EXPECT_EQ(mouse->lastPoint(), (Point{100, 980}));
}

TEST_F(CursorReportTest, TheCursorIsSampledEvery25Milliseconds) {
  initialize();
  for (unsigned i = 1; i <= 40; ++i) moveTo({i * 1.0, 1080.0 - i});
  ASSERT_EQ(hub->sends.size(), 40U);
  for (unsigned i = 1; i <= 40; ++i) EXPECT_EQ(hub->sends[i - 1], report(i, i));
}

TEST_F(CursorReportTest, TheCursorIsScaledToTheSession) {
  world.screens.list = {Screen{7, {{0, 0}, {3840, 2160}}}};
  initialize();
  moveTo({1001, 2160 - 1001});
  EXPECT_THAT(hub->sends, ElementsAre(report(500, 500)));
  EXPECT_EQ(mouse->lastPoint(), (Point{1920.0 * 1001 / 3840, 1080.0 * 1159 / 2160}));
}

// A quotient first would give other last bits.
TEST_F(CursorReportTest, TheCursorIsMultipliedFirstAndThenDivided) {
  world.screens.list = {Screen{7, {{0, 0}, {1440, 900}}}};
  const Point expected{1920.0 * 745 / 1440, 1080.0 * 51 / 900};
  ASSERT_NE(expected.x, 745 / 1440.0 * 1920);
  ASSERT_NE(expected.x, 745 * (1920.0 / 1440));
  ASSERT_NE(expected.y, 51 / 900.0 * 1080);
  ASSERT_NE(expected.y, 51 * (1080.0 / 900));
  initialize();
  moveTo({745, 51});
  EXPECT_EQ(mouse->lastPoint(), expected);
}

TEST_F(CursorReportTest, TheFirstScreensOriginIsNotSubtracted) {
  world.screens.list = {Screen{7, {{100, 50}, {1920, 1080}}}};
  initialize();
  moveTo({150, 80});
  EXPECT_THAT(hub->sends, ElementsAre(report(150, 1000)));
}

// A cursor on a second display (outside the first screen's frame) is sent as its raw coordinates
// clamped to 0..sw and 0..sh, not scaled.
TEST_F(CursorReportTest, ACursorOnASecondDisplayIsClampedAndNotScaled) {
  world.screens.list = {Screen{7, {{0, 0}, {960, 540}}}, Screen{8, {{960, 0}, {1920, 1080}}}};
  initialize();
  moveTo({1000, 600});
  moveTo({2500, 700});
  moveTo({-5, -3});
  moveTo({970, 2000});
  EXPECT_THAT(hub->sends,
              ElementsAre(report(1000, 480), report(1920, 380), report(0, 1080), report(970, 0)));
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseConnection sendMouseEvent]/180: "
                                          "point.x/y=2500.000000/700.000000, not in rectangle"));
}

TEST_F(CursorReportTest, AStillCursorOutsideTheScreenIsSentOnceAndLoggedAtEachTick) {
  world.screens.list = {Screen{7, {{0, 0}, {960, 540}}}};
  initialize();
  moveTo({1000, 600});
  world.log.clear();
  world.advance(1s);
  EXPECT_THAT(hub->sends, ElementsAre(report(1000, 480)));
  const std::string line =
      "-[TSLMouseConnection sendMouseEvent]/180: "
      "point.x/y=1000.000000/600.000000, not in rectangle";
  EXPECT_THAT(world.log.lines(), testing::AllOf(testing::SizeIs(40), testing::Each(line)));
}

TEST_F(CursorReportTest, OfTheScreensEdgesTheLeftAndTheUpperOneBelongToIt) {
  world.screens.list = {Screen{7, {{0, 0}, {960, 540}}}};
  initialize();
  moveTo({0, 540});    // inside: scaled to (0, 1080)
  moveTo({960, 540});  // outside: clamped
  moveTo({0, 0});      // outside: clamped
  moveTo({959, 1});    // inside
  EXPECT_THAT(hub->sends,
              ElementsAre(report(0, 0), report(960, 540), report(0, 1080), report(1918, 1078)));
}

TEST_F(CursorReportTest, WithoutAScreenTheRawLocationIsClamped) {
  initialize();
  world.screens.list.clear();
  moveTo({30, 40});
  EXPECT_THAT(hub->sends, ElementsAre(report(30, 1040)));
}

TEST_F(CursorReportTest, PositionsThatDifferBelowOneUnitAreSentAlike) {
  initialize();
  moveTo({10.25, 1000});
  moveTo({10.5, 1000});
  EXPECT_THAT(hub->sends, ElementsAre(report(10, 80), report(10, 80)));
}

TEST_F(CursorReportTest, ACoordinateKeepsItsLow16Bits) {
  world.screens.list = {Screen{7, {{0, 50}, {1920, 1080}}}};
  initialize();
  moveTo({150, 1130});  // 50 above the picture
  session->sessionConfig()->setSessionSize({192'000, 108'000});
  moveTo({1000, 130});
  EXPECT_THAT(hub->sends, ElementsAre(report(150, 0x10000 - 50),
                                      report(100'000 - 0x10000, 108'000 - 13'000 - 0x10000)));
}

TEST_F(CursorReportTest, ALocationThatIsNoNumberStaysInBounds) {
  initialize();
  session->sessionConfig()->setSessionSize({1e300, 1e300});
  moveTo({1e200, 1e200});
  moveTo({std::numeric_limits<double>::quiet_NaN(), 0});
  ASSERT_THAT(hub->sends, Not(IsEmpty()));
  EXPECT_EQ(hub->sends.front(), report(0, 0));
}

TEST_F(CursorReportTest, ASessionWithoutSettingsHasNoSize) {
  initialize();
  session->setSessionConfig(nullptr);
  moveTo({30, 40});
  EXPECT_THAT(hub->sends, ElementsAre(report(0, 0)));
}

TEST_F(CursorReportTest, AHubThatDoesNotReadGetsNoReportsUntilItReadsOn) {
  initialize();
  moveTo({1, 1079});
  hub->unsent = 1'000'000;
  for (int i = 2; i < 400; ++i) moveTo({i * 1.0, 1079});
  EXPECT_THAT(hub->sends, ElementsAre(report(1, 1)));
  EXPECT_EQ(mouse->lastPoint(), (Point{1, 1079}));
  hub->unsent = 0;
  world.advance(25ms);
  EXPECT_THAT(hub->sends, ElementsAre(report(1, 1), report(399, 1)));
}

TEST_F(CursorReportTest, ReportsGoOnAfterAReceiveErrorAndEndWithTheStop) {
  initialize();
  hub->breakWith({platform::kNetworkErrorDomain, 54, "Connection reset by peer"});
  world.run();
  moveTo({5, 1000});
  EXPECT_THAT(hub->sends, ElementsAre(report(5, 80)));
  mouse->stopWithCompletionHandler(nullptr);
  moveTo({6, 1000});
  EXPECT_EQ(hub->sends.size(), 1U);
}

}  // namespace
}  // namespace tessel::test
