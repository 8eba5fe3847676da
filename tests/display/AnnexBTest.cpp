#include "display/AnnexB.h"
#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kName = "-[TSLDisplayConnection elementaryStreamFromSampleBuffer:]";

class AnnexBTest : public testing::Test {
 protected:
  AnnexBTest() {
    frame.format.emplace();
    frame.format->count = std::size_t{2};
    frame.format->sets = {Bytes{0x67, 1}, Bytes{0x68, 2}};
    frame.units = std::vector<Bytes>{Bytes{0x65, 9}};
  }

  // The frame as a stream; none if it cannot be sent.
  std::optional<Bytes> converted() {
    Bytes stream = {0xEE, 0xEE};  // left over from the frame before
    if (!convertToAnnexB(frame, stream)) return std::nullopt;
    return stream;
  }

  LogRecorder log;
  FakeEncodedSampleBuffer frame;
};

TEST_F(AnnexBTest, AKeyFrameWithSetsOf20And8BytesAndAUnitOf1000BytesConvertsTo1040Bytes) {
  const Bytes sps(20, 0x67);
  const Bytes pps(8, 0x68);
  const Bytes slice(1000, 0x65);
  const Bytes startCode = {0, 0, 0, 1};
  frame.format->sets = {sps, pps};
  frame.units = std::vector<Bytes>{slice};

  Bytes expected;
  for (const Bytes& part : {startCode, sps, startCode, pps, startCode, slice}) {
    expected.insert(expected.end(), part.begin(), part.end());
  }
  EXPECT_EQ(expected.size(), 1040U);
  EXPECT_EQ(converted(), expected);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AnnexBTest, ANonKeyFrameCarriesNoParameterSets) {
  frame.notSyncValue = true;
  EXPECT_EQ(converted(), (Bytes{0, 0, 0, 1, 0x65, 9}));
}

TEST_F(AnnexBTest, AFrameThatDoesNotSayIsAKeyFrame) {
  const Bytes withSets = {0, 0, 0, 1, 0x67, 1, 0, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 9};
  EXPECT_EQ(converted(), withSets);
  frame.notSyncValue = false;
  EXPECT_EQ(converted(), withSets);
}

TEST_F(AnnexBTest, WithoutAFormatDescriptionAKeyFrameGoesWithoutParameterSets) {
  frame.format.reset();
  EXPECT_EQ(converted(), (Bytes{0, 0, 0, 1, 0x65, 9}));
  EXPECT_THAT(log.lines(),
              ElementsAre(kName + ": Unable to get sample buffer format description!"));
}

TEST_F(AnnexBTest, ANumberOfParameterSetsThatIsUnavailableCostsTheFrame) {
  frame.format->count = platform::Status{-12712};
  EXPECT_EQ(converted(), std::nullopt);
  EXPECT_THAT(log.lines(),
              ElementsAre(kName + ": Unable to get number of parameter sets. status: -12712"));
}

TEST_F(AnnexBTest, NoParameterSetsAddNothing) {
  frame.format->count = std::size_t{0};
  EXPECT_EQ(converted(), (Bytes{0, 0, 0, 1, 0x65, 9}));
}

TEST_F(AnnexBTest, AnEarlierParameterSetThatIsUnavailableCostsOnlyItself) {
  frame.format->sets[0] = platform::Status{-3};
  EXPECT_EQ(converted(), (Bytes{0, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 9}));
  EXPECT_THAT(log.lines(),
              ElementsAre(kName + ": Unable to get parameter set at index 0. status: -3"));
}

TEST_F(AnnexBTest, ALastParameterSetThatIsUnavailableCostsTheFrame) {
  frame.format->sets[1] = platform::Status{-4};
  EXPECT_EQ(converted(), std::nullopt);
  EXPECT_THAT(log.lines(),
              ElementsAre(kName + ": Unable to get parameter set at index 1. status: -4"));
}

TEST_F(AnnexBTest, ADataBlockThatIsUnavailableCostsTheFrame) {
  frame.units = platform::Status{-12700};
  EXPECT_EQ(converted(), std::nullopt);
  EXPECT_THAT(log.lines(),
              ElementsAre(kName + ": Failed to get block buffer data pointer. status: -12700"));
}

TEST_F(AnnexBTest, UnitsKeepTheirOrderAndAnEmptyOneIsAStartCode) {
  frame.notSyncValue = true;
  frame.units = std::vector<Bytes>{Bytes{0x06}, Bytes{}, Bytes{0x41, 7}};
  EXPECT_EQ(converted(), (Bytes{0, 0, 0, 1, 0x06, 0, 0, 0, 1, 0, 0, 0, 1, 0x41, 7}));
}

TEST_F(AnnexBTest, NoUnitsAddNothing) {
  frame.notSyncValue = true;
  frame.units = std::vector<Bytes>{};
  EXPECT_EQ(converted(), Bytes{});
}

TEST_F(AnnexBTest, AReusedStreamIsNotAllocatedAgain) {
  Bytes stream;
  ASSERT_TRUE(convertToAnnexB(frame, stream));
  const std::uint8_t* bytes = stream.data();
  ASSERT_TRUE(convertToAnnexB(frame, stream));
  EXPECT_EQ(stream.data(), bytes);
}

}  // namespace
}  // namespace tessel::test
