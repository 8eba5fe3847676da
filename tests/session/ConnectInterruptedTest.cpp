// What `cancelConnect` and `disconnect` do to a sequence that runs, and what completes after them.
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using ConnectInterruptedTest = SessionFixture;

TEST_F(ConnectInterruptedTest, CancelConnectInState1YieldsOneFailureWithCode5AndLeavesState1) {
  session->connect();
  session->cancelConnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "failed 5"));
  EXPECT_THAT(delegate->errors, ElementsAre(Error{TSLErrorDomain, 5, ""}));
  EXPECT_EQ(session->state(), TSLSessionStateConnecting);
  EXPECT_TRUE(world.log.has("-[TSLSession cancelConnect]: Enter"));
}

TEST_F(ConnectInterruptedTest, CancelConnectInState0OnlyLogs) {
  session->cancelConnect();
  world.advance(60s);
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession cancelConnect]: Enter"));
  EXPECT_THAT(delegate->calls, IsEmpty());
  EXPECT_THAT(world.http.requests, IsEmpty());
  EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
}

TEST_F(ConnectInterruptedTest, CancelConnectInState2OnlyLogs) {
  bringUp();
  delegate->calls.clear();
  world.log.clear();
  session->cancelConnect();
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession cancelConnect]: Enter"));
  EXPECT_THAT(delegate->calls, IsEmpty());
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
}

TEST_F(ConnectInterruptedTest, AStepThatCompletesAfterCancelConnectContinuesTheSequence) {
  session->connect();
  session->cancelConnect();
  hub.takeChannels();
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "failed 5", "state 2"));
}

TEST_F(ConnectInterruptedTest, AStepThatCompletesAfterDisconnectContinuesTheSequence) {
  hub.answersDetails = false;
  session->connect();
  session->disconnect();
  EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
  world.http.last()->respond(hub.details, hub.detailsHeaders);
  hub.takeChannels();
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "state 2"));
  world.advance(60s);
  EXPECT_THAT(hub.polls(), IsEmpty());
}

TEST_F(ConnectInterruptedTest,
       ADisplayStartThatCompletesAfterDisconnectStillStartsTheNextChannels) {
  session->connect();
  world.run();
  ASSERT_NE(session->displayConnection(), nullptr);
  session->disconnect();
  hub.takeChannels();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "state 2"));
  EXPECT_EQ(session->displayConnection(), nullptr);
  EXPECT_NE(session->mouseConnection(), nullptr);
  EXPECT_NE(session->keyBoardConnection(), nullptr);
  EXPECT_TRUE(hub.display->cancelled);
}

TEST_F(ConnectInterruptedTest, ADisconnectWhileTheMouseChannelOpensEndsTheSequence) {
  session->connect();
  hub.takeDisplay();
  ASSERT_NE(session->mouseConnection(), nullptr);
  session->disconnect();
  world.advance(60s);
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0"));
  EXPECT_EQ(session->mouseConnection(), nullptr);
  EXPECT_EQ(session->keyBoardConnection(), nullptr);
}

// Its channel is closed under the start, which reads as success.
TEST_F(ConnectInterruptedTest, ADisconnectWhileTheKeyboardChannelOpensIsFollowedByState2Again) {
  session->connect();
  hub.takeDisplay();
  hub.takeMouse();
  ASSERT_NE(session->keyBoardConnection(), nullptr);
  session->disconnect();
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "state 2"));
  EXPECT_EQ(session->keyBoardConnection(), nullptr);
  world.advance(60s);
  EXPECT_THAT(hub.polls(), IsEmpty());
}

TEST_F(ConnectInterruptedTest, ALateFailureAfterDisconnectIsStillReported) {
  hub.answersDetails = false;
  session->connect();
  session->disconnect();
  world.http.last()->fail({platform::kURLErrorDomain, 7, "Refused."});
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 7"));
}

}  // namespace
}  // namespace tessel::test
