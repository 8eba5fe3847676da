// Construction, the delegate, the state, and the end of a session.
#include <stdexcept>
#include <utility>

#include "platform/Queues.h"
#include "tessel/TSLSession.h"
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class TSLSessionTest : public SessionFixture {
 protected:
  // The session size with one screen of `size`.
  Size sessionSizeOn(Size size) {
    world.screens.list = {Screen{1, {{0, 0}, size}}, Screen{2, {{0, 0}, {640, 480}}}};
    return TSLSession::initWithHostName("h", 0)->sessionConfig()->sessionSize();
  }

  // The session's lines while it ends in state 2 with all channels up; `last` comes at the end.
  static std::vector<std::string> linesOfAnEnd(const std::vector<std::string>& last) {
    std::vector<std::string> lines = {
        "-[TSLSession disconnect]: ENTER, Session State: 2",
        "-[TSLSession setState:]: ENTER, State: 0",
        "-[TSLSession setState:]: EXIT",
        "-[TSLSession disconnect]: Closing Display Connection",
        "-[TSLSession disconnect]_block_invoke: Display Connection Closed",
        "-[TSLSession disconnect]: Closing Mouse Connection",
        "-[TSLSession disconnect]_block_invoke_2: Mouse Connection Closed",
        "-[TSLSession disconnect]: Closing Keyboard Connection",
        "-[TSLSession disconnect]_block_invoke_3: Keyboard Connection Closed",
        "-[TSLSession cancelHeartBeat], ENTER",
        "-[TSLSession cancelHeartBeat], EXIT",
        "-[TSLSession setState:]: ENTER, State: 0",
        "-[TSLSession setState:]: EXIT"};
    lines.insert(lines.end(), last.begin(), last.end());
    return lines;
  }
};

TEST_F(TSLSessionTest, InitialValues) {
  EXPECT_FALSE(session->sslEnabled());
  EXPECT_FALSE(session->newProtocol());
  EXPECT_FALSE(session->multiTokenProtocol());
  EXPECT_FALSE(session->busyStatus());
  EXPECT_EQ(session->lauchport(), 55555);
  EXPECT_EQ(session->state(), 0);
  EXPECT_EQ(session->displayConnection(), nullptr);
  EXPECT_EQ(session->hostName(), "10.0.0.7");
  EXPECT_EQ(session->displayMode(), 3);
  EXPECT_EQ(session->applicationURL(), std::nullopt);
  EXPECT_EQ(session->sessionConfig()->HeartBeatTimeout(), 20.0);
  EXPECT_EQ(session->applicationName(), "ReceiverAppV1");
  EXPECT_EQ(session->deviceDetailsXML(), std::nullopt);
  EXPECT_EQ(session->mouseConnection(), nullptr);
  EXPECT_EQ(session->keyBoardConnection(), nullptr);
  EXPECT_EQ(session->xmlelementname(), std::nullopt);
  EXPECT_EQ(session->lastactive(), world.now());
  EXPECT_NE(session->heartbeattimer(), nullptr);
  EXPECT_EQ(world.scheduler.runningTimers(), 0);
  EXPECT_EQ(session->statistics().framesCaptured, 0);
  const auto other = TSLSession::initWithHostName("h", -5);
  EXPECT_EQ(other->delegate(), nullptr);
  EXPECT_EQ(other->delegateQueue(), nullptr);
  EXPECT_EQ(other->displayMode(), -5);
}

TEST_F(TSLSessionTest, LaunchDataCanBeSet) {
  session->setSslEnabled(true);
  session->setNewProtocol(true);
  session->setMultiTokenProtocol(true);
  session->setBusyStatus(true);
  session->setLauchport(-1);
  session->setApplicationURL("http://h/");
  session->setApplicationName("A");
  session->setDeviceDetailsXML("<d/>");
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_TRUE(session->newProtocol());
  EXPECT_TRUE(session->multiTokenProtocol());
  EXPECT_TRUE(session->busyStatus());
  EXPECT_EQ(session->lauchport(), -1);
  EXPECT_EQ(session->applicationURL(), "http://h/");
  EXPECT_EQ(session->applicationName(), "A");
  EXPECT_EQ(session->deviceDetailsXML(), "<d/>");
}

TEST_F(TSLSessionTest, TheMainScreensSizeIsCappedOnlyWhenBothSidesReachTheCap) {
  EXPECT_EQ(sessionSizeOn({2560, 1440}), (Size{1920, 1080}));
  EXPECT_EQ(sessionSizeOn({1440, 900}), (Size{1440, 900}));
  EXPECT_EQ(sessionSizeOn({1920, 1000}), (Size{1920, 1000}));
  EXPECT_EQ(sessionSizeOn({1920, 1080}), (Size{1920, 1080}));
  EXPECT_EQ(sessionSizeOn({1080, 1920}), (Size{1080, 1920}));
  EXPECT_EQ(sessionSizeOn({3440.5, 1079.5}), (Size{3440.5, 1079.5}));
}

TEST_F(TSLSessionTest, WithoutAScreenTheSessionSizeIs0By0) {
  world.screens.list.clear();
  EXPECT_EQ(TSLSession::initWithHostName("h", 0)->sessionConfig()->sessionSize(), (Size{0, 0}));
}

TEST_F(TSLSessionTest, SetStateWithTheCurrentValueLogsButDoesNotCallTheDelegate) {
  session->setState(0);
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession setState:]: ENTER, State: 0",
                                             "-[TSLSession setState:]: EXIT"));
  EXPECT_THAT(delegate->calls, IsEmpty());
}

TEST_F(TSLSessionTest, SetStateWithAnotherValueCallsTheDelegateBetweenItsTwoLines) {
  delegate->onState = [this](std::int64_t state) {
    EXPECT_EQ(session->state(), state);
    EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession setState:]: ENTER, State: 2"));
  };
  session->setState(2);
  EXPECT_THAT(delegate->calls, ElementsAre("state 2"));
  EXPECT_EQ(world.log.lines().back(), "-[TSLSession setState:]: EXIT");
}

TEST_F(TSLSessionTest, NotifyLogsAndHandsTheErrorOn) {
  const Error error{"some.domain", 77, "Why."};
  session->notifyConnectionDidFailWithError(error);
  EXPECT_THAT(delegate->errors, ElementsAre(error));
  EXPECT_THAT(world.log.lines(),
              ElementsAre("-[TSLSession notifyConnectionDidFailWithError:]: ENTER"));
}

TEST_F(TSLSessionTest, CallsOfTheDelegateNameTheSession) {
  delegate->keepsSession = true;
  session->setState(1);
  EXPECT_EQ(delegate->lastSession, session);
  delegate->lastSession = nullptr;
  session->notifyConnectionDidFailWithError({});
  EXPECT_EQ(delegate->lastSession, session);
  delegate->lastSession = nullptr;
}

TEST_F(TSLSessionTest, ADelegateWithAQueueIsCalledThereInOrder) {
  const auto queue = world.scheduler.makeSerialQueue("delegate");
  delegate->onState = [queue](std::int64_t) { EXPECT_TRUE(queue->isCurrent()); };
  delegate->onFailure = [queue](const Error&) { EXPECT_TRUE(queue->isCurrent()); };
  session->setDelegate(delegate, queue);
  EXPECT_EQ(session->delegateQueue(), queue);
  session->setState(1);
  session->notifyConnectionDidFailWithError({TSLErrorDomain, 5, ""});
  session->setState(0);
  EXPECT_THAT(delegate->calls, IsEmpty());
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "failed 5", "state 0"));
}

TEST_F(TSLSessionTest, AnOperationOnItsWayHoldsTheDelegateAndTheSession) {
  session->setDelegate(delegate, OperationQueue::serialQueue("delegate"));
  const std::weak_ptr<RecordingDelegate> weakDelegate = delegate;
  const std::weak_ptr<TSLSession> weakSession = session;
  session->setState(1);
  delegate.reset();
  session.reset();
  EXPECT_FALSE(weakDelegate.expired());
  EXPECT_FALSE(weakSession.expired());
  world.run();
  EXPECT_TRUE(weakDelegate.expired());
  EXPECT_TRUE(weakSession.expired());
}

TEST_F(TSLSessionTest, ADelegateThatIsGoneReceivesNothing) {
  delegate.reset();
  EXPECT_EQ(session->delegate(), nullptr);
  session->setState(1);
  session->notifyConnectionDidFailWithError({});
  EXPECT_EQ(session->state(), 1);
}

TEST_F(TSLSessionTest, TheDelegateCanBeTakenAwayAndReplaced) {
  session->setDelegate(nullptr, nullptr);
  session->setState(1);
  EXPECT_THAT(delegate->calls, IsEmpty());
  const auto other = std::make_shared<RecordingDelegate>();
  session->setDelegate(other, nullptr);
  session->setState(2);
  EXPECT_THAT(delegate->calls, IsEmpty());
  EXPECT_THAT(other->calls, ElementsAre("state 2"));
}

TEST_F(TSLSessionTest, ADelegateNeedNotHearOfEverything) {
  class Silent final : public TSLSessionDelegate {};
  const auto silent = std::make_shared<Silent>();
  session->setDelegate(silent, nullptr);
  session->connect();
  session->cancelConnect();
  EXPECT_EQ(session->state(), TSLSessionStateConnecting);
}

TEST_F(TSLSessionTest, DisconnectInState0OnlyLogsEntryAndExit) {
  session->disconnect();
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession disconnect]: ENTER, Session State: 0",
                                             "-[TSLSession disconnect]: EXIT"));
  EXPECT_THAT(delegate->calls, IsEmpty());
}

TEST_F(TSLSessionTest, DisconnectFromState2ClosesEveryChannelAndReportsState0) {
  bringUp();
  ASSERT_NE(session->deviceDetailsXML(), std::nullopt);
  delegate->calls.clear();
  delegate->onState = [this](std::int64_t) {
    EXPECT_FALSE(hub.display->cancelled) << "the delegate is called before any channel is closed";
  };
  world.log.clear();
  session->disconnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 0"));
  EXPECT_TRUE(hub.display->cancelled);
  EXPECT_TRUE(hub.mouse->cancelled);
  EXPECT_TRUE(hub.keyBoard->cancelled);
  EXPECT_EQ(session->displayConnection(), nullptr);
  EXPECT_EQ(session->mouseConnection(), nullptr);
  EXPECT_EQ(session->keyBoardConnection(), nullptr);
  EXPECT_EQ(session->deviceDetailsXML(), std::nullopt);
  EXPECT_EQ(world.log.startingWith("-[TSLSession "),
            linesOfAnEnd({"-[TSLSession disconnect]: EXIT"}));
}

TEST_F(TSLSessionTest, NothingIsSentOrPolledAfterDisconnect) {
  bringUp();
  session->disconnect();
  world.run();
  const auto requests = world.http.requests.size();
  const auto sends = hub.mouse->sends.size();
  world.screens.mouse = {1, 1};
  world.advance(60s);
  EXPECT_EQ(world.http.requests.size(), requests);
  EXPECT_EQ(hub.mouse->sends.size(), sends);
  EXPECT_FALSE(world.capture.last()->running);
  EXPECT_EQ(world.scheduler.runningTimers(), 0);
}

TEST_F(TSLSessionTest, DisconnectInState1ReportsState0) {
  session->connect();
  session->disconnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0"));
  EXPECT_THAT(world.log.startingWith("-[TSLSession disconnect]"),
              ElementsAre("-[TSLSession disconnect]: ENTER, Session State: 1",
                          "-[TSLSession disconnect]: EXIT"));
}

TEST_F(TSLSessionTest, AnAccidentalDisconnectInState1ReportsCode3) {
  session->connect();
  hub.takeDisplay();
  session->displayConnection()->setTerminateAccidentally(true);
  session->disconnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 0", "failed 3"));
}

// The flag is looked at after the delegate has got state 0.
TEST_F(TSLSessionTest, AnEndThatBecomesAccidentalAsItIsReportedGivesCode3) {
  bringUp();
  delegate->calls.clear();
  delegate->onState = [this](std::int64_t) {
    session->displayConnection()->setTerminateAccidentally(true);
  };
  session->disconnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 0", "failed 3"));
}

TEST_F(TSLSessionTest, AnEndThatIsNoLongerAccidentalAsItIsReportedGivesNoError) {
  bringUp();
  delegate->calls.clear();
  session->displayConnection()->setTerminateAccidentally(true);
  delegate->onState = [this](std::int64_t) {
    session->displayConnection()->setTerminateAccidentally(false);
  };
  session->disconnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 0"));
}

TEST_F(TSLSessionTest, AQueueOfTheHostThatThrowsSilencesTheDelegateForThatCallOnly) {
  class ThrowingOnce final : public OperationQueue {
   public:
    void addOperation(std::function<void()> operation) override {
      if (!std::exchange(threw_, true)) throw std::runtime_error{"the loop has ended"};
      operation();
    }

   private:
    bool threw_ = false;
  };
  session->setDelegate(delegate, std::make_shared<ThrowingOnce>());
  EXPECT_NO_THROW(session->connect());
  EXPECT_NO_THROW(session->disconnect());
  EXPECT_THAT(delegate->calls, ElementsAre("state 0"));
}

TEST_F(TSLSessionTest, AFailureOfTheDisplayChannelWhileConnectedEndsWithState0ThenCode3) {
  bringUp();
  delegate->calls.clear();
  world.log.clear();
  hub.display->deliver({0x08, 0x00, 0x87, 0x00});  // a message whose body never comes
  world.run();
  hub.display->close();
  world.run();
  EXPECT_THAT(delegate->calls, ElementsAre("state 0", "failed 3"));
  EXPECT_THAT(delegate->errors,
              ElementsAre(Error{TSLErrorDomain, 3, "The connection to the hub was lost."}));
  EXPECT_EQ(world.log.startingWith("-[TSLSession "),
            linesOfAnEnd({"-[TSLSession notifyConnectionDidFailWithError:]: ENTER",
                          "-[TSLSession disconnect]: EXIT"}));
}

TEST_F(TSLSessionTest, AMissingFailureTextIsEmpty) {
  world.localization.strings.clear();
  bringUp();
  session->displayConnection()->setTerminateAccidentally(true);
  session->disconnect();
  EXPECT_THAT(delegate->errors, ElementsAre(Error{TSLErrorDomain, 3, ""}));
}

TEST_F(TSLSessionTest, ShutDownAccidentallyOnlyLogs) {
  session->ShutDownAccidentally();
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLSession ShutDownAccidentally], ENTER/EXIT"));
}

TEST_F(TSLSessionTest, DisconnectFromWithinADelegateCall) {
  delegate->onState = [this](std::int64_t state) {
    if (state == TSLSessionStateConnected) session->disconnect();
  };
  session->connect();
  hub.takeChannels();
  EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
  EXPECT_THAT(delegate->calls, ElementsAre("state 1", "state 2", "state 0"));
  world.advance(60s);
  EXPECT_THAT(hub.polls(), IsEmpty());
}

TEST_F(TSLSessionTest, DisconnectFromWithinTheReportOfTheEndIsASecondOne) {
  bringUp();
  delegate->calls.clear();
  delegate->onState = [this](std::int64_t) { session->disconnect(); };
  session->disconnect();
  EXPECT_THAT(delegate->calls, ElementsAre("state 0"));
  EXPECT_TRUE(hub.display->cancelled);
}

TEST_F(TSLSessionTest, ConnectStormMakesOneSequence) {
  for (int i = 0; i < 100; ++i) session->connect();
  EXPECT_EQ(world.http.requests.size(), 1U);
  hub.takeChannels();
  EXPECT_EQ(world.network.connections.size(), 3U);
}

// Each connect's sequence continues after its disconnect; the session can still be closed.
TEST_F(TSLSessionTest, ConnectAndDisconnectStormLeavesNothingBehind) {
  world.network.onStart = [](SimConnection& connection) { connection.refuse(); };
  for (int i = 0; i < 20; ++i) {
    session->connect();
    world.advance(150ms);
    session->disconnect();
  }
  world.advance(10s);
  session->disconnect();
  world.run();
  EXPECT_EQ(session->state(), TSLSessionStateDisconnected);
  EXPECT_EQ(session->displayConnection(), nullptr);
  EXPECT_EQ(session.use_count(), 1);
}

}  // namespace
}  // namespace tessel::test
