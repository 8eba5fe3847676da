#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using platform::ContentContext;
using platform::Received;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kHeader = "-[TSLDisplayConnection doReceive:]_block_invoke";
const std::string kBody = kHeader + "_2";
const std::string kDisconnect =
    "-[TSLDisplayConnection disconnectSessionDueToConnectionError]: ENTER";
const std::string kSessionDisconnect = "-[TSLSession disconnect]: ENTER";
const std::string kMainQueue = "main";
const Error kBroken{platform::kNetworkErrorDomain, 54, "Connection reset by peer"};

class DisplayReceiveTest : public DisplayTest {
 protected:
  // How often the session was asked to disconnect.
  int disconnects() { return static_cast<int>(world.log.startingWith(kSessionDisconnect).size()); }
  // The lines of the receive loop.
  std::vector<std::string> lines() { return world.log.startingWith(kHeader); }
  // Completes the open receive and lets the world go on.
  void complete(const Received& received) {
    ASSERT_TRUE(connection()->completeReceive(received));
    world.run();
  }
  // The header of an acknowledgement with `length`, read without a hitch.
  static Received header(std::uint8_t length, std::uint8_t command = 0x87) {
    return {Bytes{length, 0, command, 0}, ContentContext{false}, false, std::nullopt};
  }
};

TEST_F(DisplayReceiveTest, AnAcknowledgementGivesOneCredit) {
  startUntilCasting();
  EXPECT_EQ(display->ackedSamples(), 6);
  hubSends(kAcknowledgement);
  EXPECT_EQ(display->ackedSamples(), 7);
  hubSends({12, 0, 0x87, 0, 1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(display->ackedSamples(), 8);
  EXPECT_EQ(display->statistics().credits, 8);
}

TEST_F(DisplayReceiveTest, AMessageOfLength4HasAnEmptyBody) {
  startUntilCasting();
  const int receives = connection()->receives;
  hubSends({4, 0, 0x87, 0, 4, 0, 0x87, 0});
  EXPECT_EQ(display->ackedSamples(), 8);
  EXPECT_EQ(connection()->receives, receives + 4);  // twice: nothing to skip, then a header
  EXPECT_EQ(disconnects(), 0);
}

TEST_F(DisplayReceiveTest, AnUnknownCommandIsLoggedAndSkipped) {
  startUntilCasting();
  Bytes message = {20, 0, 0x90, 0};
  message.resize(20, 0x01);
  hubSends(message);
  EXPECT_THAT(lines(), ElementsAre(kHeader + ": VSCH_CMD_CREATE_CONTEXT_RESPONSE received",
                                   kHeader + ": received unknown command: 0x90"));
  EXPECT_EQ(display->ackedSamples(), 6);
  hubSends(kAcknowledgement);
  EXPECT_EQ(display->ackedSamples(), 7);
}

TEST_F(DisplayReceiveTest, ALengthBelow4SkipsNothing) {
  startUntilCasting();
  for (std::uint8_t length = 0; length < 4; ++length) hubSends({length, 0, 0x87, 0});
  EXPECT_EQ(display->ackedSamples(), 10);
  EXPECT_EQ(disconnects(), 0);
}

TEST_F(DisplayReceiveTest, EndlessUnknownCommandsKeepTheStreamInStep) {
  startUntilCasting();
  Bytes stream;
  for (int i = 0; i < 10000; ++i) stream.insert(stream.end(), {5, 0, 0x10, 1, 0x87});
  hubSends(stream);
  EXPECT_EQ(display->ackedSamples(), 6);
  hubSends(kAcknowledgement);
  EXPECT_EQ(display->ackedSamples(), 7);
}

TEST_F(DisplayReceiveTest, TheStreamMayBeCutAtEveryByte) {
  const Bytes stream = {8, 0, 0x81, 0, 1, 2, 3, 4, 4,    0, 0x87, 0,
                        6, 0, 0x42, 1, 9, 9, 5, 0, 0x87, 0, 7};
  for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
    display = TSLDisplayConnection::initWithHub(session);
    startUntilNegotiating();
    const auto at = stream.begin() + static_cast<std::ptrdiff_t>(cut);
    hubSends({stream.begin(), at});
    hubSends({at, stream.end()});
    EXPECT_EQ(display->ackedSamples(), 8) << cut;
    EXPECT_TRUE(capture()->running) << cut;
  }
}

TEST_F(DisplayReceiveTest, TheStreamMayComeByteByByte) {
  startUntilNegotiating();
  for (const std::uint8_t byte : Bytes{6, 0, 0x81, 0, 1, 2, 4, 0, 0x87, 0, 5, 0, 0x87, 0, 9}) {
    hubSends({byte});
  }
  EXPECT_EQ(display->ackedSamples(), 8);
  EXPECT_TRUE(capture()->running);
}

TEST_F(DisplayReceiveTest, AnEarlyContextResponseReleasesNothing) {
  startUntilConnecting();
  hubSends(kContextResponse);
  EXPECT_TRUE(world.log.has(kHeader + ": VSCH_CMD_CREATE_CONTEXT_RESPONSE received"));
  connection()->becomeReady();
  world.run();
  EXPECT_THAT(outcomes, IsEmpty());
  hubSends(kContextResponse);
  EXPECT_THAT(outcomes, ElementsAre(std::nullopt));
}

TEST_F(DisplayReceiveTest, ASecondContextResponseIsLoggedAndSkipped) {
  startUntilCasting();
  hubSends(kContextResponse);
  hubSends(kAcknowledgement);
  EXPECT_EQ(world.log.count(kHeader + ": VSCH_CMD_CREATE_CONTEXT_RESPONSE received"), 2);
  EXPECT_EQ(display->ackedSamples(), 7);
  EXPECT_EQ(outcomes.size(), 1U);
}

TEST_F(DisplayReceiveTest, ALossBetweenTwoMessagesEndsTheLoopSilently) {
  startUntilCasting();
  world.log.clear();
  const int receives = connection()->receives;
  connection()->close();
  world.run();
  EXPECT_THAT(world.log.lines(), IsEmpty());
  EXPECT_EQ(connection()->receives, receives);
  EXPECT_FALSE(display->terminateAccidentally());
}

TEST_F(DisplayReceiveTest, AnErrorBetweenTwoMessagesEndsTheLoopSilently) {
  startUntilCasting();
  world.log.clear();
  connection()->breakWith(kBroken);
  world.run();
  EXPECT_THAT(world.log.lines(), IsEmpty());
}

TEST_F(DisplayReceiveTest, ALossInsideABodyAsksTheSessionToDisconnect) {
  startUntilCasting();
  session->setDisplayConnection(display);
  session->setState(TSLSessionStateConnected);
  world.log.clear();
  connection()->deliver({20, 0, 0x87, 0, 1, 2, 3});
  connection()->close();
  world.run();
  EXPECT_THAT(lines(), ElementsAre(kBody + ": VSCH_CMD_CONTROL_C2H skip failed"));
  EXPECT_TRUE(display->terminateAccidentally());
  EXPECT_EQ(disconnects(), 1);
  EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
  EXPECT_TRUE(connection()->cancelled);
}

TEST_F(DisplayReceiveTest, ASkipThatFailedIsLoggedByItsCommand) {
  for (const auto& [command, name] :
       std::map<std::uint8_t, std::string>{{0x81, "VSCH_CMD_CREATE_CONTEXT_RESPONSE"},
                                           {0x87, "VSCH_CMD_CONTROL_C2H"},
                                           {0x90, "unknown command"}}) {
    display = TSLDisplayConnection::initWithHub(session);
    startUntilCasting();
    connection()->deliver({20, 0, command, 0, 1, 2, 3});
    connection()->breakWith(kBroken);
    world.run();
    EXPECT_EQ(lines().back(), kBody + ": " + name + " skip failed");
    EXPECT_TRUE(display->terminateAccidentally());
  }
}

TEST_F(DisplayReceiveTest, ABodyThatFailsTwiceOverProducesOneDisconnect) {
  startUntilCasting();
  world.log.clear();
  complete(header(20));
  complete({std::nullopt, std::nullopt, true, kBroken});
  EXPECT_THAT(lines(), ElementsAre(kBody + ": VSCH_CMD_CONTROL_C2H skip failed",
                                   kBody + ": VSCH_CMD_CONTROL_C2H skip failed"));
  EXPECT_EQ(world.log.count(kDisconnect), 2);
  EXPECT_EQ(disconnects(), 1);
}

TEST_F(DisplayReceiveTest, TwoBodyReadFailuresInARowProduceOneDisconnect) {
  startUntilCasting();
  world.log.clear();
  // A close without an error does not end the loop: the header was read without a hitch.
  complete(header(20));
  complete({Bytes(16), ContentContext{true}, true, std::nullopt});
  complete(header(20));
  complete({std::nullopt, std::nullopt, false, kBroken});
  EXPECT_EQ(world.log.count(kDisconnect), 2);
  EXPECT_EQ(disconnects(), 1);
  EXPECT_FALSE(connection()->completeReceive({}));
}

TEST_F(DisplayReceiveTest, ACompletionWithAContextThatIsNotFinalIsNoLoss) {
  startUntilCasting();
  world.log.clear();
  Received last = header(5);
  last.isComplete = true;
  complete(last);
  complete({Bytes(1), ContentContext{false}, true, std::nullopt});
  EXPECT_THAT(world.log.lines(), IsEmpty());
  hubSends(kAcknowledgement);
  EXPECT_EQ(display->ackedSamples(), 8);
}

TEST_F(DisplayReceiveTest, AHeaderThatCameWithTheCloseEndsTheLoopAfterItsBody) {
  startUntilCasting();
  world.log.clear();
  connection()->deliverAndClose(kAcknowledgement);
  world.run();
  EXPECT_EQ(display->ackedSamples(), 7);
  EXPECT_THAT(world.log.lines(), ElementsAre(kBody + ": ERROR IN Recieve"));
  EXPECT_FALSE(display->connected());
  EXPECT_FALSE(display->terminateAccidentally());
  EXPECT_FALSE(connection()->completeReceive({}));
}

TEST_F(DisplayReceiveTest, AHeaderThatCompletedWithoutAContextEndsTheLoop) {
  startUntilCasting();
  Received last = header(4);
  last.isComplete = true;
  last.context = std::nullopt;
  complete(last);
  EXPECT_TRUE(world.log.has(kBody + ": ERROR IN Recieve"));
  EXPECT_FALSE(display->connected());
}

TEST_F(DisplayReceiveTest, AHeaderThatCameWithAnErrorEndsTheLoopAfterItsBody) {
  startUntilCasting();
  world.log.clear();
  Received last = header(4);
  last.error = kBroken;
  complete(last);
  EXPECT_EQ(display->ackedSamples(), 7);
  EXPECT_THAT(world.log.lines(), ElementsAre(kBody + ": Error: Error Domain=tessel.network Code=54 "
                                                     "\"Connection reset by peer\""));
  EXPECT_TRUE(display->connected());
  EXPECT_FALSE(connection()->completeReceive({}));
}

TEST_F(DisplayReceiveTest, TheSessionIsAskedOnTheMainQueueAndOnce) {
  session->setState(TSLSessionStateConnected);
  display->disconnectSessionDueToConnectionError();
  display->disconnectSessionDueToConnectionError();
  EXPECT_TRUE(display->terminateAccidentally());
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  world.run();
  EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
  EXPECT_EQ(disconnects(), 1);
}

TEST_F(DisplayReceiveTest, TheSessionIsAskedOnTheMainQueueFromWhereverTheLossIsSeen) {
  startUntilCasting();
  complete(header(20));
  complete({std::nullopt, std::nullopt, false, kBroken});
  EXPECT_THAT(world.log.queuesOf(kDisconnect),
              ElementsAre(display->socketDispatchQueue()->label()));
  EXPECT_THAT(world.log.queuesOf(kSessionDisconnect), ElementsAre(kMainQueue));

  display = TSLDisplayConnection::initWithHub(session);
  world.log.clear();
  display->disconnectSessionDueToConnectionError();
  EXPECT_FALSE(world.log.has(kSessionDisconnect));
  world.run();
  EXPECT_THAT(world.log.queuesOf(kSessionDisconnect), ElementsAre(kMainQueue));
}

TEST_F(DisplayReceiveTest, ASessionThatIsGoneIsNotAsked) {
  session.reset();
  world.log.clear();
  display->disconnectSessionDueToConnectionError();
  world.run();
  EXPECT_THAT(world.log.lines(), ElementsAre(kDisconnect));
}

TEST_F(DisplayReceiveTest, WhatComesAfterTheConnectionIsGoneDoesNothing) {
  startUntilCasting();
  connection()->deliver({20, 0, 0x87, 0});
  display.reset();
  world.log.clear();
  world.run();
  EXPECT_TRUE(connection()->cancelled);
  EXPECT_THAT(world.log.lines(), ElementsAre(kCancelled));
}

}  // namespace
}  // namespace tessel::test
