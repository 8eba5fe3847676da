#include <limits>

#include "display/FrameCredits.h"
#include "display/FrameStatistics.h"
#include "display/PictureSize.h"
#include "tests/display/DisplayTest.h"

// The small values that a display connection is made of.
namespace tessel::test {
namespace {

using namespace std::chrono_literals;

TEST(FrameCreditsTest, EndWhenTakenAndComeBackWhenGiven) {
  FrameCredits credits;
  EXPECT_FALSE(credits.take());
  credits.set(2);
  EXPECT_TRUE(credits.take());
  EXPECT_TRUE(credits.take());
  EXPECT_FALSE(credits.take());
  EXPECT_EQ(credits.count(), 0);
  credits.give();
  EXPECT_EQ(credits.count(), 1);
  EXPECT_TRUE(credits.take());
}

TEST(PictureSizeTest, TruncatesAndTakesWhatIsNoSizeAsNone) {
  const auto picture = PictureSize::from({1919.9, 1080.5});
  EXPECT_EQ(picture.width, 1919);
  EXPECT_EQ(picture.height, 1080);
  EXPECT_FALSE(picture.empty());
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  for (const Size size : {Size{}, Size{0.9, 100}, Size{100, -5}, Size{notANumber, 100}}) {
    EXPECT_TRUE(PictureSize::from(size).empty());
  }
  EXPECT_EQ(PictureSize::from({1e300, 1}).width, std::numeric_limits<std::int32_t>::max());
}

TEST(FrameStatisticsTest, TimesEachFrameFromItsStartToItsOutput) {
  FrameStatistics statistics;
  statistics.encodingStarted(100ms);
  statistics.encodingStarted(110ms);
  statistics.encodingFinished(125ms, true);
  statistics.encodingFinished(130ms, false);
  EXPECT_DOUBLE_EQ(statistics.snapshot().encodeSeconds, 0.045);
  EXPECT_EQ(statistics.snapshot().framesEncoded, 1);
}

TEST(FrameStatisticsTest, ARefusedFrameIsNotWaitedFor) {
  FrameStatistics statistics;
  statistics.encodingRefused();
  statistics.encodingStarted(100ms);
  statistics.encodingStarted(110ms);
  statistics.encodingRefused();
  statistics.encodingFinished(120ms, true);
  statistics.encodingFinished(500ms, true);
  EXPECT_DOUBLE_EQ(statistics.snapshot().encodeSeconds, 0.020);
}

TEST(FrameStatisticsTest, CountsWhatItIsTold) {
  FrameStatistics statistics;
  statistics.captured();
  statistics.captured();
  statistics.dropped();
  statistics.sent(56);
  statistics.sent(1000);
  const auto snapshot = statistics.snapshot();
  EXPECT_EQ(snapshot.framesCaptured, 2);
  EXPECT_EQ(snapshot.framesDropped, 1);
  EXPECT_EQ(snapshot.bytesSent, 1056);
  EXPECT_EQ(snapshot.framesEncoded, 0);
}

}  // namespace
}  // namespace tessel::test
