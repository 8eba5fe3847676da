#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "apps/tessel-hub/channels/MouseMessages.h"

namespace tessel::hub {
namespace {

using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

struct MessageRecorder final : MouseMessages::Sink {
  void onCursorCommand() override { seen.emplace_back("cursor command"); }
  void onCaptureCommand() override { seen.emplace_back("capture command"); }
  void onCursor(int x, int y) override {
    seen.push_back(std::to_string(x) + "," + std::to_string(y));
  }

  std::vector<std::string> seen;
};

const Bytes kStream{
    2, 0,    0,    0,    2,    0,    0, 0, 1, 1,  // cursor command
    8, 0x0D, 0x80, 0x07, 0x38, 0x04, 1, 0,        // cursor at 1920,1080
    8, 0x0D, 0,    0,    0xFF, 0xFF, 1, 0,        // cursor at 0,65535
    2, 0,    0,    0,    2,    0,    0, 0, 3, 1,  // capture command
    8, 0x0D, 1,    0,    2,    0,    1, 0,        // cursor at 1,2
};

TEST(MouseMessagesTest, ReportsMayStandBetweenTheHandshakeAndBeCutAnywhere) {
  for (std::size_t step = 1; step <= kStream.size(); ++step) {
    MessageRecorder recorder;
    MouseMessages messages{recorder};
    for (std::size_t at = 0; at < kStream.size(); at += step) {
      ASSERT_TRUE(
          messages.feed(std::span{kStream}.subspan(at, std::min(step, kStream.size() - at))));
    }
    EXPECT_THAT(recorder.seen,
                ElementsAre("cursor command", "1920,1080", "0,65535", "capture command", "1,2"));
  }
}

TEST(MouseMessagesTest, BytesOfNoMessageFailAtOnce) {
  for (const Bytes& wrong :
       {Bytes{1}, Bytes{8, 0x0E}, Bytes{2, 1}, Bytes{2, 0, 0, 0, 2, 0, 0, 0, 2, 1},
        Bytes{2, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}}) {
    MessageRecorder recorder;
    MouseMessages messages{recorder};
    EXPECT_FALSE(messages.feed(wrong));
    EXPECT_TRUE(recorder.seen.empty());
  }
}

TEST(MouseMessagesTest, RandomBytesAreSurvived) {
  std::mt19937 random{8};
  for (int round = 0; round < 200; ++round) {
    MessageRecorder recorder;
    MouseMessages messages{recorder};
    Bytes noise(64);
    std::ranges::generate(noise, [&random] { return static_cast<std::uint8_t>(random() % 14); });
    messages.feed(noise);
    EXPECT_LE(recorder.seen.size(), noise.size() / 8);
  }
}

}  // namespace
}  // namespace tessel::hub
