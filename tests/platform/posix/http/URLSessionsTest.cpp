#include <array>
#include <atomic>
#include <cstdlib>
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

#include "platform/posix/http/CurlTransfer.h"
#include "platform/posix/http/CurlURLSessions.h"
#include "tests/platform/posix/http/URLFetch.h"
#include "tests/support/ScriptedHTTPServer.h"
#include "tests/support/ThreadSignals.h"

// How transfers queue, time out and call back.
namespace tessel::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

using URLSessionsTest = URLSessionTest;

void neverAnswer(ServerConnection& connection) { connection.waitForEnd(); }

// URL of a port that takes connections and never reads from them, without a thread.
std::string urlOfADeafServer() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(::bind(socket, generic, size), 0);
  EXPECT_EQ(::listen(socket, SOMAXCONN), 0);
  EXPECT_EQ(::getsockname(socket, generic, &size), 0);
  return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
}

// Counts the queues that are made, each of which has a thread.
class CountingQueues final : public platform::Queues {
 public:
  std::shared_ptr<platform::SerialQueue> makeSerialQueue(const std::string& label) override {
    ++made;
    return queues_->makeSerialQueue(label);
  }
  std::shared_ptr<platform::SerialQueue> mainQueue() override { return queues_->mainQueue(); }
  std::shared_ptr<platform::Timer> makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                             platform::Clock::Duration first,
                                             platform::Clock::Duration period,
                                             std::function<void()> handler) override {
    return queues_->makeTimer(queue, first, period, std::move(handler));
  }

  std::atomic<int> made = 0;

 private:
  const std::shared_ptr<platform::Queues> queues_ = platform::makeQueues();
};

TEST_F(URLSessionsTest, ARequestMayTakeAMinuteUnlessTheSessionSaysOtherwise) {
  EXPECT_EQ(platform::transferTimeout({}), seconds{60});
  EXPECT_EQ(platform::transferTimeout(seconds{4}), seconds{4});
  EXPECT_EQ(platform::transferTimeout(std::chrono::nanoseconds{1}), milliseconds{1});
  EXPECT_EQ(platform::transferTimeout(seconds{0}), milliseconds{1});
  EXPECT_EQ(platform::transferTimeout(seconds{-5}), milliseconds{1});
}

TEST_F(URLSessionsTest, AServerThatNeverAnswersTimesOut) {
  const ScriptedHTTPServer server{neverAnswer};
  const auto session = sessions->makeSession(milliseconds{100});
  EXPECT_EQ(wait(start(*session, {.url = server.url()})).error,
            (Error{"tessel.url", CURLE_OPERATION_TIMEDOUT, "The request timed out."}));
}

TEST_F(URLSessionsTest, TheTimeOutBoundsTheWholeTransferHoweverBusyItIs) {
  Eventually<bool> gone;
  const ScriptedHTTPServer server{[&gone](ServerConnection& connection) {
    connection.receiveHead();
    connection.send("HTTP/1.1 200 OK\r\n\r\n");
    // No more than an answer may hold, byte by byte: that takes longer.
    for (std::size_t i = 0; i < platform::kMaxBodySize && connection.send("x"); ++i) {
      std::this_thread::yield();
    }
    connection.waitForEnd();
    gone.set(true);
  }};
  const auto session = sessions->makeSession(milliseconds{100});
  const Answer answer = wait(start(*session, {.url = server.url()}));
  ASSERT_TRUE(answer.error);
  EXPECT_EQ(answer.error->code, CURLE_OPERATION_TIMEDOUT);
  EXPECT_TRUE(gone.becomesEqual(true));
}

TEST_F(URLSessionsTest, ARefusedConnectionFails) {
  EXPECT_EQ(fetch("http://127.0.0.1:1/").error,
            (Error{"tessel.url", CURLE_COULDNT_CONNECT, "Could not connect to the server."}));
}

TEST_F(URLSessionsTest, AnUnknownNameFails) {
  const std::string longerThanAnyLabel(64, 'a');  // so no resolver is asked
  const Answer answer = fetch("http://" + longerThanAnyLabel + "/");
  ASSERT_TRUE(answer.error);
  EXPECT_EQ(answer.error->code, CURLE_COULDNT_RESOLVE_HOST);
}

TEST_F(URLSessionsTest, CompletionsOfASessionComeOneAtATimeOnItsQueue) {
  const ScriptedHTTPServer server{answering(okAnswer("x"))};
  const auto session = sessions->makeSession({});
  std::atomic<int> inside = 0;
  std::atomic<bool> overlapped = false;
  Eventually<std::vector<std::string>> threads;
  constexpr int kTransfers = 12;
  for (int i = 0; i < kTransfers; ++i) {
    session->dataTask({.url = server.url()}, [&](const auto&, const auto&, const auto&) {
      if (++inside != 1) overlapped = true;
      std::array<char, 16> name{};
      pthread_getname_np(pthread_self(), name.data(), name.size());
      std::this_thread::yield();
      --inside;
      threads.update([&](auto& names) { names.emplace_back(name.data()); });
    });
  }
  EXPECT_TRUE(threads.becomesEqual(std::vector<std::string>(kTransfers, "tessel.url")));
  EXPECT_FALSE(overlapped);
}

TEST_F(URLSessionsTest, ABlockedCompletionDelaysNoOtherSession) {
  const ScriptedHTTPServer server{answering(okAnswer("x"))};
  Eventually<bool> mayGo;
  Eventually<bool> blocked;
  Eventually<bool> done;
  const auto session = sessions->makeSession({});
  session->dataTask({.url = server.url()}, [&](const auto&, const auto&, const auto&) {
    blocked.set(true);
    EXPECT_TRUE(mayGo.becomesEqual(true));
    done.set(true);
  });
  ASSERT_TRUE(blocked.becomesEqual(true));
  const Pending behind = start(*session, {.url = server.url()});
  for (int i = 0; i < 20; ++i) EXPECT_EQ(fetch(server.url()).body, "x");
  EXPECT_FALSE(behind->get());
  mayGo.set(true);
  EXPECT_TRUE(done.becomesEqual(true));
  EXPECT_EQ(wait(behind).body, "x");
}

TEST_F(URLSessionsTest, ATransferOutlivesItsSession) {
  Eventually<bool> mayAnswer;
  const ScriptedHTTPServer server{[&mayAnswer](ServerConnection& connection) {
    connection.receiveHead();
    mayAnswer.becomesEqual(true);
    connection.send(okAnswer("late"));
  }};
  auto session = sessions->makeSession({});
  const Pending pending = start(*session, {.url = server.url()});
  session.reset();
  mayAnswer.set(true);
  EXPECT_EQ(wait(pending).body, "late");
}

TEST_F(URLSessionsTest, ACompletionMayStartTheNextTransferAndDropItsSession) {
  const ScriptedHTTPServer server{answering(okAnswer("x"))};
  auto session = sessions->makeSession({});
  Eventually<int> completed;
  session->dataTask({.url = server.url()}, [&](const auto&, const auto&, const auto&) {
    completed.update([](int& count) { ++count; });
    session->dataTask({.url = server.url()}, [&](const auto&, const auto&, const auto&) {
      session.reset();
      completed.update([](int& count) { ++count; });
    });
  });
  EXPECT_TRUE(completed.becomesEqual(2));
}

TEST_F(URLSessionsTest, AServerThatNeverAnswersLeavesRoomForTheOthers) {
  const ScriptedHTTPServer dead{neverAnswer};
  const ScriptedHTTPServer alive{answering(okAnswer("alive"))};
  std::vector<Pending> waiting(18);
  for (Pending& one : waiting) one = start(*sessions->makeSession({}), {dead.url()});
  EXPECT_EQ(fetch(alive.url()).body, "alive");
  EXPECT_LE(dead.connections(), 6);
  for (const Pending& pending : waiting) EXPECT_FALSE(pending->get());
}

TEST_F(URLSessionsTest, OneTooManyOfAServerIsRefusedAtOnce) {
  const ScriptedHTTPServer dead{neverAnswer};
  const auto refused = std::make_shared<Eventually<int>>();
  for (int i = 0; i < 40; ++i) {
    sessions->makeSession({})->dataTask({.url = dead.url()},
                                        [refused](const auto&, const auto&, const auto& error) {
                                          if (error && error->code == CURLE_AGAIN)
                                            refused->update([](int& count) { ++count; });
                                        });
  }
  EXPECT_TRUE(refused->becomesEqual(40 - 6 - 16));  // six run, sixteen wait
}

TEST_F(URLSessionsTest, ASessionWithATimeOutOfItsOwnDoesNotQueueBehindThoseThatHaveNone) {
  const ScriptedHTTPServer server{[](ServerConnection& connection) {
    if (connection.receiveHead().starts_with("GET /poll")) connection.send(okAnswer("running"));
    connection.waitForEnd();
  }};
  std::vector<Pending> waiting(10);
  for (Pending& one : waiting) one = start(*sessions->makeSession({}), {server.url()});
  const auto polling = sessions->makeSession(seconds{9});
  EXPECT_EQ(wait(start(*polling, {server.url("/poll")})).body, "running");
}

TEST_F(URLSessionsTest, SixRequestsToOneServerRunAtOnceAndTheRestWaits) {
  Eventually<bool> mayAnswer;
  const ScriptedHTTPServer server{[&mayAnswer](ServerConnection& connection) {
    connection.receiveHead();
    mayAnswer.becomesEqual(true);
    connection.send(okAnswer("x"));
  }};
  std::vector<Pending> pending(8);
  for (Pending& one : pending) one = start(*sessions->makeSession({}), {server.url()});
  EXPECT_TRUE(server.hasConnections(6));
  // The transfers of a class start in order: with this one answered, a seventh would have begun.
  const ScriptedHTTPServer other{answering(okAnswer("other"))};
  EXPECT_EQ(fetch(other.url()).body, "other");
  EXPECT_EQ(server.connections(), 6);
  mayAnswer.set(true);
  for (const Pending& one : pending) EXPECT_EQ(wait(one).body, "x");
  EXPECT_EQ(server.connections(), 8);
}

TEST_F(URLSessionsTest, APollBeginsAtOnceWhileOthersOfItsServerHang) {
  const ScriptedHTTPServer server{[](ServerConnection& connection) {
    if (connection.receiveHead().starts_with("GET /poll")) connection.send(okAnswer("running"));
    connection.waitForEnd();
  }};
  std::vector<Pending> hanging(5);
  for (Pending& one : hanging) one = start(*sessions->makeSession(seconds{60}), {server.url()});
  EXPECT_TRUE(server.hasConnections(5));
  EXPECT_EQ(wait(start(*sessions->makeSession(seconds{60}), {server.url("/poll")})).body,
            "running");
}

TEST_F(URLSessionsTest, AHungRequestOfTheBackgroundDoesNotDelayTheNextToItsServer) {
  const ScriptedHTTPServer server{[](ServerConnection& connection) {
    if (connection.receiveHead().starts_with("GET /next")) connection.send(okAnswer("name"));
    connection.waitForEnd();
  }};
  const Pending hung = start(*sessions->makeBackgroundSession(), {.url = server.url()});
  EXPECT_TRUE(server.hasConnections(1));
  EXPECT_EQ(wait(start(*sessions->makeBackgroundSession(), {.url = server.url("/next")})).body,
            "name");
  EXPECT_FALSE(hung->get());
}

TEST_F(URLSessionsTest, DeadServersLeaveRoomInTheBackground) {
  const ScriptedHTTPServer alive{answering(okAnswer("alive"))};
  std::vector<Pending> dead(15 * 8);
  std::string url;
  for (std::size_t i = 0; i < dead.size(); ++i) {
    if (i % 8 == 0) url = urlOfADeafServer();
    dead[i] = start(*sessions->makeBackgroundSession(), {.url = url});
  }
  EXPECT_EQ(wait(start(*sessions->makeBackgroundSession(), {.url = alive.url()})).body, "alive");
  for (const Pending& pending : dead) EXPECT_FALSE(pending->get());
}

TEST_F(URLSessionsTest, NoSessionWaitsForTheBackgroundHoweverManyServersAreDead) {
  const ScriptedHTTPServer alive{answering(okAnswer("alive"))};
  std::vector<Pending> background(16 * 6);
  std::string url;
  for (std::size_t i = 0; i < background.size(); ++i) {
    if (i % 6 == 0) url = urlOfADeafServer();
    background[i] = start(*sessions->makeBackgroundSession(), {.url = url});
  }
  EXPECT_EQ(fetch(alive.url()).body, "alive");
  const auto polling = sessions->makeSession(seconds{9});
  EXPECT_EQ(wait(start(*polling, {.url = alive.url()})).body, "alive");
  for (const Pending& pending : background) EXPECT_FALSE(pending->get());
}

TEST_F(URLSessionsTest, WhatTheBackgroundIsRefusedComesOnOneQueue) {
  const auto queues = std::make_shared<CountingQueues>();
  const auto counted = platform::makeURLSessions(queues);
  const auto refused = std::make_shared<Eventually<int>>();
  const std::string url = urlOfADeafServer();
  for (int i = 0; i < 40; ++i) {
    counted->makeBackgroundSession()->dataTask(
        {.url = url}, [refused](const auto&, const auto&, const auto& error) {
          if (error && error->code == CURLE_AGAIN) refused->update([](int& count) { ++count; });
        });
  }
  // Six run and sixteen wait, at most.
  EXPECT_TRUE(refused->becomes([](int count) { return count >= 40 - 6 - 16; }));
  EXPECT_EQ(queues->made, 1);
}

TEST_F(URLSessionsTest, TheTimeOutBeginsWithTheTransferNotWithItsWait) {
  const ScriptedHTTPServer server{neverAnswer};
  const auto session = sessions->makeSession(milliseconds{500});
  std::vector<Pending> pending(9);
  for (Pending& one : pending) one = start(*session, {server.url()});
  for (const Pending& one : pending) {
    const Answer answer = wait(one);
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->code, CURLE_OPERATION_TIMEDOUT);
  }
  EXPECT_TRUE(server.hasConnections(9));
}

TEST_F(URLSessionsTest, TheHostsSignalsStayOffTheTransferThread) {
  fetch("http://127.0.0.1:1/");
  EXPECT_EQ(keepsHostSignalsOff("tessel.transfer"), true);
}

TEST_F(URLSessionsTest, AProcessMayEndWhileTransfersRun) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        fetch("http://127.0.0.1:1/");
        const std::string url = urlOfADeafServer();
        for (int i = 0; i < 4; ++i) start(*sessions->makeSession({}), {.url = url});
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tessel::test
