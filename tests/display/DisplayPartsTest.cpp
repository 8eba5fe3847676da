#include <limits>

#include "display/FrameCredits.h"
#include "display/FrameStatistics.h"
#include "display/PictureDelivery.h"
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

TEST(FrameStatisticsTest, CountsFramesAndAddsUpTheirTimes) {
  FrameStatistics statistics;
  statistics.captured();
  statistics.captured();
  statistics.captured();
  statistics.dropped();
  statistics.encoded(25ms, true);
  statistics.encoded(20ms, false);
  const auto snapshot = statistics.snapshot();
  EXPECT_EQ(snapshot.framesCaptured, 3);
  EXPECT_EQ(snapshot.framesDropped, 1);
  EXPECT_EQ(snapshot.framesEncoded, 1);
  EXPECT_DOUBLE_EQ(snapshot.encodeSeconds, 0.045);
}

class PictureDeliveryTest : public testing::Test {
 protected:
  static PictureDelivery::Picture picture() {
    return std::make_shared<const platform::PixelBuffer>();
  }

  PictureDelivery pictures;
  const PictureDelivery::Picture first = picture();
  const PictureDelivery::Picture second = picture();
};

TEST_F(PictureDeliveryTest, ACapturedPictureIsOwedUntilItIsSubmitted) {
  EXPECT_EQ(pictures.owed(), nullptr);
  pictures.captured(first);
  EXPECT_EQ(pictures.owed(), first);
  pictures.submitted(1s);
  EXPECT_EQ(pictures.owed(), nullptr);
  pictures.finished(true);
  EXPECT_EQ(pictures.owed(), nullptr);
}

TEST_F(PictureDeliveryTest, ANewerPictureReplacesTheOneThatIsOwed) {
  pictures.captured(first);
  pictures.captured(second);
  EXPECT_EQ(pictures.owed(), second);
}

TEST_F(PictureDeliveryTest, ALostPictureIsOwedAgain) {
  pictures.captured(first);
  pictures.submitted(1s);
  pictures.finished(false);
  EXPECT_EQ(pictures.owed(), first);
  pictures.submitted(2s);
  pictures.refused();
  EXPECT_EQ(pictures.owed(), first);
}

TEST_F(PictureDeliveryTest, ALostPictureIsNotOwedIfANewerOneIsInTheEncoder) {
  pictures.captured(first);
  pictures.submitted(1s);
  pictures.captured(second);
  pictures.submitted(1s);
  pictures.finished(false);
  EXPECT_EQ(pictures.owed(), nullptr);
  pictures.finished(true);
  EXPECT_EQ(pictures.owed(), nullptr);
}

TEST_F(PictureDeliveryTest, AnOlderPicturesDeliveryDoesNotSettleANewerOne) {
  pictures.captured(first);
  pictures.submitted(1s);
  pictures.captured(second);
  pictures.finished(true);
  EXPECT_EQ(pictures.owed(), second);
}

TEST_F(PictureDeliveryTest, CountsAndTimesWhatIsInTheEncoder) {
  EXPECT_EQ(pictures.oldestSubmission(), std::nullopt);
  pictures.captured(first);
  pictures.submitted(1s);
  pictures.submitted(2s);
  EXPECT_EQ(pictures.inEncoder(), 2U);
  EXPECT_EQ(pictures.oldestSubmission(), 1s);
  pictures.finished(true);
  EXPECT_EQ(pictures.oldestSubmission(), 2s);
  pictures.finished(true);
  pictures.finished(true);
  EXPECT_EQ(pictures.inEncoder(), 0U);
}

TEST_F(PictureDeliveryTest, AResetForgets) {
  pictures.captured(first);
  pictures.submitted(1s);
  pictures.reset();
  EXPECT_EQ(pictures.owed(), nullptr);
  EXPECT_EQ(pictures.inEncoder(), 0U);
}

TEST_F(PictureDeliveryTest, ADeliveredPictureIsLetGo) {
  auto shown = picture();
  const std::weak_ptr<const platform::PixelBuffer> weak = shown;
  pictures.captured(std::move(shown));
  pictures.submitted(1s);
  pictures.finished(true);
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace tessel::test
