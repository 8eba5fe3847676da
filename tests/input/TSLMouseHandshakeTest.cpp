#include "input/TSLMouseConnection.h"
#include "tests/input/MouseConnectionFixture.h"

namespace tessel::test {
namespace {

using platform::ContentContext;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class SendingFails : public TSLMouseConnection {
 public:
  static std::shared_ptr<SendingFails> initWithHub(const std::shared_ptr<TSLSession>& hub) {
    std::shared_ptr<SendingFails> connection(new SendingFails(hub));
    connection->activate();
    return connection;
  }
  bool sendBuffer(const void* bytes, std::uint64_t length) override {
    if (sendsLeft-- <= 0) return false;
    return TSLMouseConnection::sendBuffer(bytes, length);
  }
  int sendsLeft = 0;

 private:
  using TSLMouseConnection::TSLMouseConnection;
};

using TSLMouseHandshakeTest = TSLMouseConnectionTest;

TEST_F(TSLMouseHandshakeTest, TheHandshakeSendsItsMessagesAndWaitsForTheReplies) {
  start();
  world.log.clear();
  hub->becomeReady();
  world.run();
  EXPECT_TRUE(mouse->connected());
  EXPECT_THAT(hub->sends, ElementsAre(kStartCommand, kCursorCommand));
  EXPECT_THAT(channelLog(), ElementsAre(kInit + ": ENTER", kInit + ": Sending startCommand",
                                        kInit + ": Sending cursorCommand",
                                        kInit + ": queueing recv", kInit + ": EXIT"));
  world.log.clear();
  hub->sends.clear();
  hub->deliver(kCursorReply);
  world.run();
  EXPECT_THAT(hub->sends, ElementsAre(kCaptureCommand));
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke: ReplyReceived",
                                        kInit + "_block_invoke: Sending captureCommand"));
  EXPECT_THAT(started.codes, IsEmpty());
  world.log.clear();
  hub->deliver(kCaptureReply);
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kReceive + ": Enter",
                                        kInit + "_block_invoke_2: Mouse Connection Initialized"));
  EXPECT_THAT(started.codes, ElementsAre(0));
}

// A hub that answers the cursor command with anything but 02 00 00 00 02 00 00 00 02 01 leaves the
// start completion uncalled.
TEST_F(TSLMouseHandshakeTest, AWrongCursorReplyLeavesTheCompletionUncalled) {
  for (std::size_t at = 0; at < kCursorReply.size(); ++at) {
    becomeReady();
    hub->sends.clear();
    world.log.clear();
    Bytes reply = kCursorReply;
    reply[at] ^= 0x80;
    hub->deliver(reply);
    hub->deliver(kCaptureReply);
    world.run();
    EXPECT_THAT(channelLog(),
                ElementsAre(kInit + "_block_invoke: ReplyReceived",
                            kInit + "_block_invoke: Mouse Connection: Cursor Response was not as "
                                    "expected"));
    EXPECT_THAT(hub->sends, Not(Contains(kCaptureCommand)));
  }
  EXPECT_THAT(started.codes, IsEmpty());
}

// A wrong capture reply does the same, after the ten-byte dump line.
TEST_F(TSLMouseHandshakeTest, AWrongCaptureReplyIsDumpedAndLeavesTheCompletionUncalled) {
  becomeReady();
  hub->deliver(kCursorReply);
  world.run();
  world.log.clear();
  hub->deliver({2, 0, 0x7F, 0x80, 0xFF, 0, 0, 0, 4, 1});
  world.run();
  EXPECT_THAT(channelLog(),
              ElementsAre(kInit + "_block_invoke_2: Mouse Connection: Capture Response was not as "
                                  "expected [0x2,0x0,0x7f,0xffffff80,0xffffffff,0x0,0x0,0x0,0x4,"
                                  "0x1]"));
  EXPECT_THAT(started.codes, IsEmpty());
}

TEST_F(TSLMouseHandshakeTest, ACaptureReplyThatIsWrongInAnyByteLeavesTheCompletionUncalled) {
  for (std::size_t at = 0; at < kCaptureReply.size(); ++at) {
    becomeReady();
    hub->deliver(kCursorReply);
    world.run();
    world.log.clear();
    Bytes reply = kCaptureReply;
    reply[at] ^= 0x40;
    hub->deliver(reply);
    hub->deliver(kMovePacket);
    world.run();
    EXPECT_THAT(channelLog(),
                ElementsAre(testing::StartsWith(kInit + "_block_invoke_2: Mouse Connection: "
                                                        "Capture Response was not as expected ["
                                                        "0x")))
        << at;
  }
  EXPECT_THAT(started.codes, IsEmpty());
  EXPECT_THAT(world.poster.operations, IsEmpty());
}

// A peer that closes the stream during the handshake leads to "Network Error" and error code 3,
// possibly twice.
TEST_F(TSLMouseHandshakeTest, ACloseDuringTheHandshakeIsANetworkErrorPossiblyTwice) {
  becomeReady();
  world.log.clear();
  hub->close();
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke: ReplyReceived",
                                        kInit + "_block_invoke: Network Error"));
  EXPECT_THAT(started.codes, ElementsAre(3, 3));

  started.codes.clear();
  becomeReady();
  hub->deliver(kCursorReply);
  world.run();
  world.log.clear();
  hub->close();
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke_2: Network Error",
                                        kInit + "_block_invoke_2: Network Error"));
  EXPECT_THAT(started.codes, ElementsAre(3, 3));
}

TEST_F(TSLMouseHandshakeTest, AReplyThatComesWithTheCloseIsAnErrorAndStillAReply) {
  becomeReady();
  hub->deliver(kCursorReply);
  world.run();
  hub->deliverAndClose(kCaptureReply);
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3, 0));

  started.codes.clear();
  becomeReady();
  hub->deliverAndClose(kCursorReply);
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3, 3, 3));
  EXPECT_THAT(hub->sends, Contains(kCaptureCommand));
}

TEST_F(TSLMouseHandshakeTest, ACompletedReplyOfAContextThatGoesOnIsNoError) {
  becomeReady();
  hub->completeReceive({kCursorReply, ContentContext{false}, true, std::nullopt});
  world.run();
  EXPECT_THAT(started.codes, IsEmpty());
  hub->completeReceive({kCaptureReply, std::nullopt, true, std::nullopt});
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3, 0));
}

TEST_F(TSLMouseHandshakeTest, ABreakDuringTheHandshakeIsCode3) {
  const Error reset{platform::kNetworkErrorDomain, 54, "Connection reset by peer"};
  becomeReady();
  world.log.clear();
  hub->breakWith(reset);
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3));
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke: ReplyReceived"));

  started.codes.clear();
  becomeReady();
  hub->deliver(kCursorReply);
  world.run();
  world.log.clear();
  hub->breakWith(reset);
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3));
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke_2: Network Error"));
}

TEST_F(TSLMouseHandshakeTest, AReplyThatComesWithAnErrorIsCode3AndNoReply) {
  const Error reset{platform::kNetworkErrorDomain, 54, "Connection reset by peer"};
  becomeReady();
  world.log.clear();
  hub->completeReceive({kCursorReply, ContentContext{false}, false, reset});
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3));
  EXPECT_THAT(hub->sends, Not(Contains(kCaptureCommand)));
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke: ReplyReceived"));

  started.codes.clear();
  becomeReady();
  hub->deliver(kCursorReply);
  world.run();
  world.log.clear();
  hub->completeReceive({kCaptureReply, ContentContext{false}, false, reset});
  world.run();
  EXPECT_THAT(started.codes, ElementsAre(3));
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke_2: Network Error"));
  EXPECT_EQ(hub->receives, 2);
}

TEST_F(TSLMouseHandshakeTest, ASendThatFailsEndsTheHandshakeWhereItIs) {
  mouse->stopWithCompletionHandler(nullptr);
  const auto failing = SendingFails::initWithHub(session);
  mouse = failing;
  becomeReady();
  world.advance(std::chrono::milliseconds{25});
  EXPECT_EQ(hub->receives, 0);
  EXPECT_THAT(channelLog(), Not(Contains(kInit + ": Sending cursorCommand")));
  EXPECT_THAT(world.log.lines(), Contains(kTick + "/224: Mouse event send failed!!!"));
  EXPECT_THAT(channelLog(), Contains(kInit + ": EXIT"));
  EXPECT_THAT(started.codes, IsEmpty());

  failing->sendsLeft = 2;
  becomeReady();
  EXPECT_EQ(hub->receives, 1);
  world.log.clear();
  hub->deliver(kCursorReply);
  world.run();
  EXPECT_THAT(channelLog(), ElementsAre(kInit + "_block_invoke: ReplyReceived",
                                        kInit + "_block_invoke: Sending captureCommand",
                                        kInit + "_block_invoke: Network Error"));
  EXPECT_THAT(started.codes, ElementsAre(3));
}

TEST_F(TSLMouseHandshakeTest, ACursorCommandThatCannotBeSentEndsTheHandshake) {
  mouse->stopWithCompletionHandler(nullptr);
  const auto failing = SendingFails::initWithHub(session);
  failing->sendsLeft = 1;
  mouse = failing;
  start();
  world.log.clear();
  hub->becomeReady();
  world.run();
  EXPECT_THAT(hub->sends, ElementsAre(kStartCommand));
  EXPECT_EQ(hub->receives, 0);
  EXPECT_THAT(channelLog(), ElementsAre(kInit + ": ENTER", kInit + ": Sending startCommand",
                                        kInit + ": Sending cursorCommand", kInit + ": EXIT"));
  EXPECT_THAT(started.codes, IsEmpty());
}

}  // namespace
}  // namespace tessel::test
