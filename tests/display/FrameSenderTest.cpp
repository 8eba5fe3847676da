#include "display/FrameSender.h"
#include "tests/display/DisplayTest.h"
#include "tests/support/Pattern.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<Bytes> sendsOf(std::size_t length) {
  RecordingSink sink;
  const Bytes frame = pattern(length);
  sendFrame(sink, frame.data(), frame.size());
  return sink.sends;
}

Bytes piece(const Bytes& frame, std::size_t from, std::size_t to) {
  return {frame.begin() + static_cast<std::ptrdiff_t>(from),
          frame.begin() + static_cast<std::ptrdiff_t>(to)};
}

Bytes joined(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The transmit header whose numbers lie at their offsets.
Bytes header(Bytes length, std::uint8_t more, Bytes following, Bytes total) {
  return joined({std::move(length),
                 {0x05, more},
                 Bytes(8),
                 {12, 0, 1, 0},
                 std::move(following),
                 Bytes(4),
                 Bytes(28),
                 std::move(total)});
}

TEST(FrameSenderTest, AShortFrameIsOneMessage) {
  EXPECT_THAT(sendsOf(1040), ElementsAre(header({0x48, 0x04}, 0, {0x38, 0x04, 0, 0},
                                                {0x10, 0x04, 0, 0}),  // 1096, 1080, 1040
                                         pattern(1040)));
}

TEST(FrameSenderTest, APayloadOf50000BytesIsOneMessageAnd50001BytesAreTwo) {
  EXPECT_THAT(sendsOf(50000), ElementsAre(header({0x88, 0xC3}, 0, {0x78, 0xC3, 0, 0},
                                                 {0x50, 0xC3, 0, 0}),  // 50056, 50040, 50000
                                          pattern(50000)));
  const Bytes frame = pattern(50001);
  EXPECT_THAT(
      sendsOf(50001),
      ElementsAre(header({0x88, 0xC3}, 1, {0x79, 0xC3, 0, 0}, {0x51, 0xC3, 0, 0}),
                  piece(frame, 0, 50000), Bytes{5, 0, 0x05, 0}, piece(frame, 50000, 50001)));
}

TEST(FrameSenderTest, AFrameOf120000BytesIsAMessageAndTwoExtendedCommands) {
  const Bytes frame = pattern(120000);
  EXPECT_THAT(sendsOf(120000),
              ElementsAre(header({0x88, 0xC3}, 1, {0xE8, 0xD4, 0x01, 0},  // 50056, 120040
                                 {0xC0, 0xD4, 0x01, 0}),                  // 120000
                          piece(frame, 0, 50000),                         //
                          Bytes{0x54, 0xC3, 0x05, 1},                     // 50004, more
                          piece(frame, 50000, 100000),                    //
                          Bytes{0x24, 0x4E, 0x05, 0},                     // 20004
                          piece(frame, 100000, 120000)));
}

TEST(FrameSenderTest, AFrameOf100000BytesHasNoMoreAfterItsSecondPiece) {
  const auto sends = sendsOf(100000);
  ASSERT_EQ(sends.size(), 4U);
  EXPECT_EQ(sends[0][3], 1);
  EXPECT_EQ(sends[2], (Bytes{0x54, 0xC3, 0x05, 0}));
}

TEST(FrameSenderTest, AnEmptyFrameIsAHeaderAndAnEmptyPiece) {
  EXPECT_THAT(sendsOf(0), ElementsAre(header({56, 0}, 0, {40, 0, 0, 0}, {0, 0, 0, 0}), IsEmpty()));
}

TEST(FrameSenderTest, AFailedSendEndsTheFrameWithItsLogLine) {
  const std::string name = "-[TSLDisplayConnection sendSampleBuffer:bufferLength:]";
  const std::vector<std::string> lines = {
      name + ": Failed to send SIMPLE_TRANSMIT_MSG!",
      name + ": Failed to send SIMPLE_TRANSMIT_MSG data. bytesToSend: 50000!",
      name + ": Failed to send SIMPLE_TRANSMIT_MSG extended command!",
      name + ": Failed to send SIMPLE_TRANSMIT_MSG extended command data. bytesToSend: 50000!",
      name + ": Failed to send SIMPLE_TRANSMIT_MSG extended command!",
      name + ": Failed to send SIMPLE_TRANSMIT_MSG extended command data. bytesToSend: 20000!"};
  const Bytes frame = pattern(120000);
  for (std::size_t failing = 0; failing < lines.size(); ++failing) {
    const LogRecorder log;
    RecordingSink sink;
    sink.failing = failing;
    sendFrame(sink, frame.data(), frame.size());
    EXPECT_EQ(sink.sends.size(), failing);
    EXPECT_THAT(log.lines(), ElementsAre(lines[failing]));
  }
}

}  // namespace
}  // namespace tessel::test
