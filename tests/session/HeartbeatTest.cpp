#include "platform/Queues.h"
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class HeartbeatTest : public SessionFixture {
 protected:
  // Connects and answers the first poll.
  HeartbeatTest() {
    bringUp();
    world.run();
    delegate->calls.clear();
  }

  bool endedAccidentally() const {
    return delegate->calls == std::vector<std::string>{"state 0", "failed 3"};
  }
};

TEST_F(HeartbeatTest, TheFirstPollComesAtOnceAndEachLaterOne5SecondsAfterTheOneBefore) {
  EXPECT_EQ(hub.polls().size(), 1U);  // 2 seconds after construction
  world.advance(4999ms);
  EXPECT_EQ(hub.polls().size(), 1U);
  world.advance(1ms);
  EXPECT_EQ(hub.polls().size(), 2U);
  world.advance(15s);
  EXPECT_EQ(hub.polls().size(), 5U);
  EXPECT_EQ(world.log.count("-[TSLSession HeartBeatfunc]: ENTER/EXIT"), 5);
}

TEST_F(HeartbeatTest, APollGetsTheApplicationsResourceWithin4Seconds) {
  const auto poll = hub.polls().front();
  EXPECT_EQ(poll->request.url, "http://10.0.0.7:8008/apps/CasterApp");
  EXPECT_EQ(poll->request.method, "GET");
  EXPECT_EQ(poll->timeout, 4s);
}

TEST_F(HeartbeatTest, AnInstanceIsPolledThroughItsToken) {
  session->setApplicationName("CasterApp/abc");
  world.advance(5s);
  EXPECT_EQ(hub.polls().back()->request.url, "http://10.0.0.7:8008/apps/CasterApp/abc");
}

TEST_F(HeartbeatTest, AHubThatAnswersEveryPollKeepsTheSessionAlive) {
  world.advance(2min);
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  EXPECT_GE(session->lastactive(), world.now() - 5s);
}

TEST_F(HeartbeatTest, AHubThatStopsAnsweringEndsTheSessionWithState0ThenCode3) {
  hub.answersPolls = false;
  world.advance(19999ms);
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
  world.advance(1ms);
  EXPECT_TRUE(endedAccidentally());
  EXPECT_THAT(delegate->errors,
              ElementsAre(Error{TSLErrorDomain, 3, "The connection to the hub was lost."}));
  EXPECT_EQ(world.log.count("-[TSLSession HeartBeatfunc]:Too long to be inactive,the session will "
                            "be terminated."),
            1);
  EXPECT_TRUE(hub.display->cancelled);
  world.advance(60s);
  EXPECT_TRUE(endedAccidentally()) << "no more calls";
}

TEST_F(HeartbeatTest, TheTickThatEndsTheSessionDoesNotPoll) {
  hub.answersPolls = false;
  world.advance(30s);
  EXPECT_EQ(hub.polls().size(), 4U);  // at once and after 5, 10 and 15 seconds
}

TEST_F(HeartbeatTest, AStateThatDiffersFromRunningByABlankOrALetterCountsAsSilence) {
  for (const std::string text :
       {" running", "running ", "Running", "RUNNING", "running\n", "stopped", ""}) {
    session->setLastactive(world.now() - 1s);
    const auto before = session->lastactive();
    hub.status = "<service><state>" + text + "</state></service>";
    world.advance(5s);
    EXPECT_EQ(session->lastactive(), before) << text;
  }
  world.advance(20s);
  EXPECT_TRUE(endedAccidentally());
}

TEST_F(HeartbeatTest, OnlyAnElementNamedStateCounts) {
  hub.status = "<service><State>running</State><name>running</name></service>";
  world.advance(23s);
  EXPECT_TRUE(endedAccidentally());
}

TEST_F(HeartbeatTest, TheStateElementMayStandAtAnyDepth) {
  hub.status = "<a><b><c x='y'>text<state>running</state></c></b></a>";
  world.advance(60s);
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
}

TEST_F(HeartbeatTest, WhatStandsBeforeAFaultOfTheDocumentCounts) {
  hub.status = "<service><state>running</state><<<";
  world.advance(60s);
  EXPECT_EQ(session->state(), TSLSessionStateConnected);
}

TEST_F(HeartbeatTest, AnyHTTPStatusWithARunningStateCounts) {
  hub.answersPolls = false;
  world.advance(5s);
  hub.polls().back()->respond(hub.status, {}, 503);
  world.run();
  EXPECT_EQ(session->lastactive(), world.now());
}

TEST_F(HeartbeatTest, AFailedPollIsLoggedAndCountsAsSilence) {
  hub.answersPolls = false;
  const auto before = session->lastactive();
  world.advance(5s);
  hub.polls().back()->fail({platform::kURLErrorDomain, 7, "Could not connect to the server."});
  world.run();
  EXPECT_TRUE(world.log.has("Get error :Could not connect to the server."));
  EXPECT_EQ(session->lastactive(), before);
}

TEST_F(HeartbeatTest, APollThatIsNotAnsweredEndsAfter4Seconds) {
  hub.answersPolls = false;
  world.advance(8999ms);
  EXPECT_FALSE(world.log.has("Get error :The request timed out."));
  world.advance(1ms);
  EXPECT_TRUE(world.log.has("Get error :The request timed out."));
}

TEST_F(HeartbeatTest, ATimeoutOf0EndsTheSessionAtTheNextTick) {
  session->sessionConfig()->setHeartBeatTimeout(0);
  world.advance(5s);
  EXPECT_TRUE(endedAccidentally());
}

TEST_F(HeartbeatTest, APollSetsTheElementNameBackFirst) {
  EXPECT_EQ(session->xmlelementname(), "state");
  hub.answersPolls = false;
  world.advance(5s);
  EXPECT_EQ(session->xmlelementname(), "");
  session->foundCharacters("running");
  EXPECT_NE(session->lastactive(), world.now());
}

TEST_F(HeartbeatTest, AnAnswerAfterTheEndHasNoFurtherEffect) {
  hub.answersPolls = false;
  world.advance(5s);
  const auto poll = hub.polls().back();
  session->disconnect();
  delegate->calls.clear();
  poll->respond(hub.status);
  world.advance(60s);
  EXPECT_TRUE(delegate->calls.empty());
}

TEST_F(HeartbeatTest, TicksRunOnTheMainQueue) {
  bool onMainQueue = false;
  world.http.onRequest = [&](SimExchange&) {
    onMainQueue = world.scheduler.mainQueue()->isCurrent();
  };
  world.advance(5s);
  EXPECT_TRUE(onMainQueue);
}

// The main queue is busy: an answer that had to wait for it would come too late.
TEST_F(HeartbeatTest, AnAnswerIsEvaluatedOnTheURLSessionsCallbackQueue) {
  hub.answersPolls = false;
  world.advance(5s);
  const auto poll = hub.polls().back();
  world.scheduler.mainQueue()->async([this] { world.scheduler.sleep(3s); });
  poll->respond(hub.status);
  world.run();
  EXPECT_EQ(session->lastactive(), world.now());

  world.advance(5s);
  hub.polls().back()->fail({platform::kURLErrorDomain, 7, "Could not connect to the server."});
  world.run();
  EXPECT_THAT(world.log.queuesOf("Get error :"), ElementsAre("URL session"));
}

TEST_F(HeartbeatTest, WithoutAnApplicationURLThePollFails) {
  hub.answersPolls = false;
  session->setApplicationURL(std::nullopt);
  const auto before = session->lastactive();
  world.advance(5s);
  EXPECT_EQ(world.http.last()->request.url, "");
  world.http.last()->fail({platform::kURLErrorDomain, 3, "The URL is not valid."});
  world.run();
  EXPECT_TRUE(world.log.has("Get error :The URL is not valid."));
  EXPECT_EQ(session->lastactive(), before);
}

class HeartbeatStartTest : public SessionFixture {};

TEST_F(HeartbeatStartTest, ThereIsNoTickBeforeState2) {
  session->connect();
  hub.takeDisplay();
  world.advance(15s);
  EXPECT_EQ(world.log.count("-[TSLSession HeartBeatfunc]: ENTER/EXIT"), 0);
}

TEST_F(HeartbeatStartTest, ATimeoutOf0EndsTheSessionAtTheFirstTick) {
  session->sessionConfig()->setHeartBeatTimeout(0);
  session->connect();
  hub.takeChannels();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0", "failed 3"));
  EXPECT_TRUE(hub.polls().empty());
}

TEST_F(HeartbeatStartTest, ASessionMade20SecondsBeforeItConnectsEndsAtItsFirstTick) {
  world.advance(18s);  // and 2 more for the display channel's pause
  session->connect();
  hub.takeChannels();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0", "failed 3"));
}

TEST_F(HeartbeatStartTest, WithoutALastMomentOfActivityTheTickPolls) {
  session->setLastactive(std::nullopt);
  world.scheduler.mainQueue()->async([this] { session->HeartBeatfunc(); });
  world.run();
  EXPECT_EQ(hub.polls().size(), 1U);
}

}  // namespace
}  // namespace tessel::test
