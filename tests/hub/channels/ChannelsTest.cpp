#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/tessel-hub/channels/DisplayReceiver.h"
#include "apps/tessel-hub/channels/KeyboardChannel.h"
#include "apps/tessel-hub/channels/MouseChannel.h"
#include "tests/hub/channels/FakeStream.h"

namespace tessel::hub {
namespace {

using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

const Bytes kCursorCommand{2, 0, 0, 0, 2, 0, 0, 0, 1, 1};
const Bytes kCaptureCommand{2, 0, 0, 0, 2, 0, 0, 0, 3, 1};

struct MouseChannelTest : ::testing::Test {
  MouseChannelTest() {
    MouseChannel::Handlers handlers;
    handlers.ready = [this] { ++ready; };
    handlers.cursor = [this](int x, int y) { cursors.emplace_back(x, y); };
    handlers.ended = [this] { ++ended; };
    channel = std::make_shared<MouseChannel>(stream, std::move(handlers));
    channel->start();
  }
  // A stream and its reader own each other until its end.
  ~MouseChannelTest() override { stream->end(); }

  std::shared_ptr<FakeStream> stream = std::make_shared<FakeStream>();
  std::shared_ptr<MouseChannel> channel;
  int ready = 0;
  int ended = 0;
  std::vector<std::pair<int, int>> cursors;
};

TEST_F(MouseChannelTest, HandshakeIsAnsweredStepByStep) {
  stream->deliver(kCursorCommand);
  EXPECT_THAT(stream->takeSent(), ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 2, 1));
  EXPECT_EQ(ready, 0);
  stream->deliver(kCaptureCommand);
  EXPECT_THAT(stream->takeSent(), ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 4, 1));
  EXPECT_EQ(ready, 1);
}

TEST_F(MouseChannelTest, CursorReportsArePassedOn) {
  stream->deliver(Bytes{8, 0x0D, 5, 0, 0, 1, 1, 0});
  EXPECT_THAT(cursors, ElementsAre(std::pair{5, 256}));
}

TEST_F(MouseChannelTest, EndsOnceWhenItsBytesAreNoMessage) {
  stream->deliver(Bytes{0xFF, 0xFF, 0xFF});
  EXPECT_EQ(ended, 1);
  EXPECT_TRUE(stream->closed);
  EXPECT_FALSE(stream->isReading());
}

TEST_F(MouseChannelTest, CallsNoHandlerAfterItWasClosed) {
  channel->close();
  stream->end();
  EXPECT_EQ(ended, 0);
}

TEST(KeyboardChannelTest, WaitsForItsEndAndIgnoresWhatItReads) {
  const auto stream = std::make_shared<FakeStream>();
  int ended = 0;
  const auto channel = std::make_shared<KeyboardChannel>(stream, [&ended] { ++ended; });
  channel->start();
  stream->deliver(Bytes(1000, 7));
  EXPECT_EQ(ended, 0);
  EXPECT_TRUE(stream->isReading());
  stream->end();
  EXPECT_EQ(ended, 1);
}

struct DisplayReceiverTest : ::testing::Test, FrameAssembler::Sink {
  DisplayReceiverTest() {
    receiver = std::make_shared<DisplayReceiver>(
        stream, static_cast<FrameAssembler::Sink&>(*this),
        [this](const std::string& problem) { ends.push_back(problem); });
    receiver->start();
  }
  ~DisplayReceiverTest() override { stream->end(); }

  void onContextRequest(std::span<const std::uint8_t>) override {}
  void onDestroyContext() override {}
  void onFrame(Bytes) override {}
  void onOtherMessage(std::uint8_t) override {
    ++messages;
    if (pauseAtMessage) receiver->pause();
    if (closeAtMessage) receiver->close();
  }

  const Bytes message{4, 0, 0x90, 0};
  std::shared_ptr<FakeStream> stream = std::make_shared<FakeStream>();
  std::shared_ptr<DisplayReceiver> receiver;
  std::vector<std::string> ends;
  int messages = 0;
  bool pauseAtMessage = false;
  bool closeAtMessage = false;
};

TEST_F(DisplayReceiverTest, ReadsNothingWhilePaused) {
  pauseAtMessage = true;
  stream->deliver(message);
  EXPECT_FALSE(stream->isReading());
  EXPECT_EQ(stream->deliver(message), 0U);
  receiver->resume();
  EXPECT_TRUE(stream->isReading());
  stream->deliver(message);
  EXPECT_EQ(messages, 2);
}

TEST_F(DisplayReceiverTest, ResumingWhatIsNotPausedDoesNotReadTwice) {
  receiver->resume();
  stream->deliver(message);
  EXPECT_EQ(messages, 1);
}

TEST_F(DisplayReceiverTest, AnEndOutOfStepNamesTheProblem) {
  stream->deliver(Bytes{3, 0, 0x90, 0});
  EXPECT_THAT(ends, ElementsAre("a message of 3 bytes"));
  EXPECT_TRUE(stream->closed);
}

TEST_F(DisplayReceiverTest, EndOfTheStreamIsNoProblem) {
  stream->end();
  EXPECT_THAT(ends, ElementsAre(""));
}

TEST_F(DisplayReceiverTest, ClosingFromWithinAMessageEndsReading) {
  closeAtMessage = true;
  stream->deliver(message);
  EXPECT_TRUE(ends.empty());
  EXPECT_FALSE(stream->isReading());
}

}  // namespace
}  // namespace tessel::hub
