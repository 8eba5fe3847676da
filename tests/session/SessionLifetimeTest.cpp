// A host ends a session by dropping it: in every state, and from within every call.
#include "platform/Queues.h"
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class SessionLifetimeTest : public SessionFixture {
 protected:
  // Drops the session, lets the world end what it started, and looks at what is left.
  void drop() {
    const std::weak_ptr<TSLSession> weak = session;
    session.reset();
    world.run();
    EXPECT_TRUE(weak.expired());
    world.advance(120s);
    EXPECT_EQ(world.scheduler.runningTimers(), 0);
    for (const auto& connection : world.network.connections) {
      EXPECT_TRUE(connection->cancelled || !connection->started);
    }
  }
};

TEST_F(SessionLifetimeTest, DroppedInState0ItLogsAndDisconnects) {
  session.reset();
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession dealloc]: ENTER",
                                             "-[TSLSession disconnect]: ENTER, Session State: 0",
                                             "-[TSLSession disconnect]: EXIT"));
}

TEST_F(SessionLifetimeTest, DroppedWhileItFetchesDeviceDetails) {
  hub.answersDetails = false;
  session->connect();
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0"));
}

TEST_F(SessionLifetimeTest, DroppedBeforeTheAnswerIsEvaluated) {
  session->connect();  // the answer is on its way
  drop();
  EXPECT_TRUE(world.network.connections.empty());
}

TEST_F(SessionLifetimeTest, DroppedDuringTheLaunch) {
  hub.answersLaunch = false;
  session->connect();
  world.run();
  drop();
}

TEST_F(SessionLifetimeTest, DroppedDuringTheDisplayChannelsPause) {
  session->connect();
  world.run();
  world.advance(1s);
  drop();
}

TEST_F(SessionLifetimeTest, DroppedWhileTheDisplayChannelOpens) {
  session->connect();
  world.run();
  world.advance(2s);
  drop();
}

TEST_F(SessionLifetimeTest, DroppedWhileTheMouseChannelOpens) {
  session->connect();
  hub.takeDisplay();
  drop();
  EXPECT_TRUE(hub.display->cancelled);
}

TEST_F(SessionLifetimeTest, DroppedWhileTheKeyboardChannelOpens) {
  session->connect();
  hub.takeDisplay();
  hub.takeMouse();
  drop();
}

TEST_F(SessionLifetimeTest, DroppedWhileConnected) {
  bringUp();
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0"));
  EXPECT_TRUE(world.log.has("-[TSLSession disconnect]: ENTER, Session State: 2"));
  EXPECT_TRUE(world.log.has("-[TSLSession disconnect]_block_invoke: Display Connection Closed"));
}

TEST_F(SessionLifetimeTest, DroppedAfterDisconnect) {
  bringUp();
  session->disconnect();
  drop();
}

TEST_F(SessionLifetimeTest, DroppedDuringAPoll) {
  hub.answersPolls = false;
  bringUp();
  world.run();
  ASSERT_EQ(hub.polls().size(), 1U);
  const auto poll = hub.polls().front();
  drop();  // nothing holds the session while it waits for an answer
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0"));
}

TEST_F(SessionLifetimeTest, AnAnswerThatComesAfterTheDropIsIgnored) {
  hub.answersPolls = false;
  bringUp();
  world.run();
  const auto poll = hub.polls().front();
  const std::weak_ptr<TSLSession> weak = session;
  session.reset();
  EXPECT_TRUE(weak.expired());
  poll->respond(hub.status);
  world.run();
  EXPECT_TRUE(poll->answered);
  EXPECT_EQ(hub.polls().size(), 1U);
}

TEST_F(SessionLifetimeTest, DroppedWhileConnectedItStopsEachChannel) {
  bringUp();
  world.run();
  world.log.clear();
  session.reset();
  EXPECT_THAT(world.log.startingWith("-[TSLSession disconnect]"),
              ElementsAre("-[TSLSession disconnect]: ENTER, Session State: 2",
                          "-[TSLSession disconnect]: Closing Display Connection",
                          "-[TSLSession disconnect]_block_invoke: Display Connection Closed",
                          "-[TSLSession disconnect]: Closing Mouse Connection",
                          "-[TSLSession disconnect]_block_invoke_2: Mouse Connection Closed",
                          "-[TSLSession disconnect]: Closing Keyboard Connection",
                          "-[TSLSession disconnect]_block_invoke_3: Keyboard Connection Closed",
                          "-[TSLSession disconnect]: EXIT"));
}

TEST_F(SessionLifetimeTest, CallsThatItsDestructionMakesCarryNoSession) {
  session->setDelegate(delegate, OperationQueue::serialQueue("delegate"));
  session->connect();
  world.run();
  delegate->keepsSession = true;
  bool told = false;
  delegate->onState = [&](std::int64_t state) {
    told = true;
    EXPECT_EQ(state, 0);
    EXPECT_EQ(delegate->lastSession, nullptr);
  };
  session.reset();
  world.run();
  EXPECT_TRUE(told);
}

TEST_F(SessionLifetimeTest, ADelegateThatDropsTheSessionAsItConnects) {
  delegate->onState = [this](std::int64_t) { session.reset(); };
  session->connect();
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0"));
}

TEST_F(SessionLifetimeTest, ADelegateThatDropsTheSessionOnceItIsConnected) {
  delegate->onState = [this](std::int64_t state) {
    if (state == TSLSessionStateConnected) session.reset();
  };
  session->connect();
  hub.takeChannels();
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0"));
}

TEST_F(SessionLifetimeTest, ADelegateThatDropsTheSessionAsItEnds) {
  bringUp();
  delegate->onState = [this](std::int64_t) { session.reset(); };
  session->disconnect();
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0"));
}

TEST_F(SessionLifetimeTest, ADelegateThatDropsTheSessionAsItIsCancelled) {
  delegate->onFailure = [this](const Error&) { session.reset(); };
  session->connect();
  session->cancelConnect();
  drop();
}

TEST_F(SessionLifetimeTest, ADelegateThatDropsTheSessionAsAStepFails) {
  hub.answersDetails = false;
  delegate->onFailure = [this](const Error&) { session.reset(); };
  session->connect();
  world.http.last()->fail({platform::kURLErrorDomain, 7, ""});
  world.run();
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 7"));
}

TEST_F(SessionLifetimeTest, ADelegateThatDropsTheSessionAsTheHeartbeatEndsIt) {
  hub.status = "";
  bringUp();
  delegate->onFailure = [this](const Error&) { session.reset(); };
  world.advance(30s);
  drop();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0", "failed 3"));
}

}  // namespace
}  // namespace tessel::test
