// Sessions on the real services of this system: real threads, loopback HTTP, real files.
#include <algorithm>
#include <atomic>
#include <curl/curl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <thread>

#include "platform/URLSessions.h"
#include "tessel/Log.h"
#include "tessel/VexCfg.h"
#include "tests/session/LoopbackHub.h"
#include "tests/session/ThreadSafeDelegate.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class SessionSystemTest : public testing::Test {
 protected:
  SessionSystemTest() {
    ::setenv("TESSEL_SHARED_FOLDER", folder.path().c_str(), 1);
    setLogSink([this](std::string_view line) {
      log.update([&](std::vector<std::string>& lines) { lines.emplace_back(line); });
    });
  }
  ~SessionSystemTest() override { setLogSink(nullptr); }

  // Fetches the details that a hub at `address` gives; how that ended.
  std::optional<Error> fetch(const std::string& address, const std::string& answer) {
    const LoopbackHub hub{address, answer};
    session = TSLSession::initWithHostName(address, 0);
    const auto outcome = std::make_shared<Eventually<std::pair<bool, std::optional<Error>>>>();
    session->fetchDeviceDetailsWithCompletionHandler([outcome](std::optional<Error> error) {
      outcome->set({true, std::move(error)});
    });
    EXPECT_TRUE(outcome->becomes([](const auto& value) { return value.first; }));
    return outcome->get().second;
  }

  void connectTo(const std::string& address) {
    session = TSLSession::initWithHostName(address, 0);
    delegate->calls.set({});
    session->setDelegate(delegate, nullptr);
    session->connect();
  }

  // Whether the connect ends with one error, of this code.
  testing::AssertionResult failsWith(long code) const {
    const std::string last = "failed " + std::to_string(code);
    if (delegate->calls.becomesEqual({"state 1", "state 0", last})) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << testing::PrintToString(delegate->calls.get());
  }

  const TemporaryFolder folder;
  Eventually<std::vector<std::string>> log;
  const std::shared_ptr<ThreadSafeDelegate> delegate = std::make_shared<ThreadSafeDelegate>();
  std::shared_ptr<TSLSession> session;
};

std::string details(const std::string& body) {
  return okAnswer(body, "Application-URL: http://127.0.0.1:1/apps/\r\n");
}

TEST_F(SessionSystemTest, TheConfigurationFileIsCreatedFromTheShippedOne) {
  const auto file = VexCfg::init();
  EXPECT_TRUE(std::filesystem::exists(folder / "Lumisk/VexCfg.plist"));
  EXPECT_EQ(file->getObjectByKey("AutoDisconnectCastingWhenCloseLaptop"), PropertyListValue{true});
}

TEST_F(SessionSystemTest, AChangedConfigurationFileIsReadByTheNextSession) {
  EXPECT_EQ(TSLSession::initWithHostName("127.0.0.1", 0)
                ->sessionConfig()
                ->autoDisconnectCastingWhenCloseLaptop(),
            1);
  const auto anotherProgram = VexCfg::init();
  anotherProgram->setObjectByKey("AutoDisconnectCastingWhenCloseLaptop", PropertyListValue{false});
  anotherProgram->saveCfgFile();
  session = TSLSession::initWithHostName("127.0.0.1", 0);
  EXPECT_EQ(session->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 0);
}

TEST_F(SessionSystemTest, ADamagedConfigurationFileGivesTheDefaults) {
  VexCfg::sharedCfgFile();
  std::ofstream{folder / "Lumisk/VexCfg.plist"} << "<plist><dict><key>Auto";
  session = TSLSession::initWithHostName("127.0.0.1", 0);
  EXPECT_EQ(session->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 1);
  EXPECT_EQ(session->sessionConfig()->HeartBeatTimeout(), 20.0);
}

TEST_F(SessionSystemTest, AFolderThatCannotBeMadeIsLoggedAndGivesTheDefaults) {
  std::ofstream{folder / "file"} << "in the way";
  ::setenv("TESSEL_SHARED_FOLDER", (folder / "file").c_str(), 1);
  EXPECT_FALSE(VexCfg::init()->fileExist());
  EXPECT_THAT(log.get(),
              ElementsAre(AllOf(StartsWith("-[VexCfg checkCfgFileExist]: Failed to create '"),
                                HasSubstr("/file/Lumisk'. Error: "))));
  session = TSLSession::initWithHostName("127.0.0.1", 0);
  EXPECT_EQ(session->sessionConfig()->autoDisconnectCastingWhenCloseLaptop(), 1);
}

TEST_F(SessionSystemTest, DetailsAreReadFromARealHub) {
  EXPECT_EQ(fetch("127.7.1.1", LoopbackHub::plainDetails("127.7.1.1")), std::nullopt);
  EXPECT_TRUE(session->newProtocol());
  EXPECT_EQ(session->applicationURL(), "http://127.7.1.1:55555/apps/");
}

TEST_F(SessionSystemTest, DetailsOverTheBoundGiveTheTransfersError) {
  const auto error =
      fetch("127.7.1.2", details("<d>" + std::string(std::size_t{2} << 20U, ' ') + "</d>"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, platform::kURLErrorDomain);
  EXPECT_EQ(error->code, CURLE_FILESIZE_EXCEEDED);
}

TEST_F(SessionSystemTest, AnApplicationURLWithoutAValueGivesCode6) {
  for (const std::string value : {"", " ", "\t"}) {
    EXPECT_EQ(fetch("127.7.1.12", okAnswer("<d/>", "Application-URL:" + value + "\r\n")),
              (Error{TSLErrorDomain, 6, ""}));
  }
}

TEST_F(SessionSystemTest, DeclarationsOfADocumentTypeDoNotHideWhatItAsksFor) {
  EXPECT_EQ(fetch("127.7.1.13", details("<!DOCTYPE d [<!ENTITY maker \"x\"><!ENTITY f SYSTEM "
                                        "\"file:///etc/passwd\"><!ATTLIST d a CDATA \"b\">]>"
                                        "<d><SSL>443</SSL><busy>2</busy></d>")),
            std::nullopt);
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_EQ(session->applicationURL(), "https://127.7.1.13:443/apps/");
}

TEST_F(SessionSystemTest, WhatStandsBeforeAReferenceToADeclaredEntityHolds) {
  EXPECT_EQ(fetch("127.7.1.14", details("<!DOCTYPE d [<!ENTITY one \"1\">]><d><SSL>443</SSL>"
                                        "<busy>&one;</busy><specVersion>1.6</specVersion></d>")),
            std::nullopt);
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_FALSE(session->busyStatus());
  EXPECT_FALSE(session->newProtocol());
}

TEST_F(SessionSystemTest, EntityBombsAreNotExpanded) {
  std::string bomb = "<!DOCTYPE d [<!ENTITY a0 \"1.6\">";
  for (int i = 1; i < 30; ++i) {
    const auto name = std::to_string(i - 1);
    bomb += "<!ENTITY a" + std::to_string(i) + " \"&a" + name + ";&a" + name + ";\">";
  }
  bomb += "]><d><specVersion>&a29;</specVersion><busy>1</busy></d>";
  EXPECT_EQ(fetch("127.7.1.3", details(bomb)), std::nullopt);
  EXPECT_FALSE(session->newProtocol());
  EXPECT_FALSE(session->busyStatus());
}

TEST_F(SessionSystemTest, ExternalEntitiesAreNotRead) {
  std::ofstream{folder / "secret"} << "1.6";
  EXPECT_EQ(
      fetch("127.7.1.4", details("<!DOCTYPE d [<!ENTITY x SYSTEM \"file://" + (folder / "secret") +
                                 "\">]><d><specVersion>&x;</specVersion></d>")),
      std::nullopt);
  EXPECT_FALSE(session->newProtocol());
}

TEST_F(SessionSystemTest, AnApplicationURLOfAnotherSchemeEndsTheLaunchWithAnError) {
  const LoopbackHub hub{"127.7.1.5", okAnswer("<d/>", "Application-URL: file:///etc/\r\n")};
  connectTo("127.7.1.5");
  EXPECT_TRUE(failsWith(CURLE_UNSUPPORTED_PROTOCOL));
}

TEST_F(SessionSystemTest, HostNamesThatCannotStandInAURLEndWithAnError) {
  for (const std::string name : {"", "a b", "\r\nX: 1", "fe80::1", "[::1", "\xFF"}) {
    connectTo(name);
    EXPECT_TRUE(failsWith(CURLE_URL_MALFORMAT)) << testing::PrintToString(name);
  }
}

TEST_F(SessionSystemTest, AHostNameThatHoldsAPathIsTakenAsItStands) {
  connectTo("127.7.1.11:1/../x?y#z");  // a refusing port
  EXPECT_TRUE(failsWith(CURLE_COULDNT_CONNECT));
}

TEST_F(SessionSystemTest, AnSSLPortOutOfRangeEndsTheLaunchWithAnError) {
  const LoopbackHub hub{"127.7.1.6", details("<d><SSL>99999999999</SSL></d>")};
  connectTo("127.7.1.6");
  EXPECT_TRUE(failsWith(CURLE_URL_MALFORMAT));
  EXPECT_EQ(session->lauchport(), 2147483647);
}

TEST_F(SessionSystemTest, ARefusedDisplayChannelEndsAConnectWithCode3) {
  const LoopbackHub hub{"127.7.1.7", LoopbackHub::plainDetails("127.7.1.7")};
  session = TSLSession::initWithHostName("127.7.1.7", 0);
  session->setDelegate(delegate, OperationQueue::serialQueue("delegate"));
  session->connect();
  EXPECT_TRUE(delegate->calls.becomesEqual({"state 1", "state 0", "failed 3"}));
}

// Counts the calls that destructions make: they carry no session.
class DestructionCounter final : public TSLSessionDelegate {
 public:
  Eventually<int> destroyed{0};
  Eventually<int> others{0};

  void didChangeState(const std::shared_ptr<TSLSession>& session, std::int64_t state) override {
    const bool inDestruction = !session && state == TSLSessionStateDisconnected;
    (inDestruction ? destroyed : others).update([](int& count) { ++count; });
  }
};

TEST_F(SessionSystemTest, SessionsDroppedAtEachStepAreDestroyedThere) {
  LoopbackHub hub{"127.7.1.8", LoopbackHub::plainDetails("127.7.1.8")};
  for (int answered = 0; answered <= 2; ++answered) {
    hub.requests.set(0);
    const auto counter = std::make_shared<DestructionCounter>();
    session = TSLSession::initWithHostName("127.7.1.8", 0);
    session->setDelegate(counter, nullptr);
    session->connect();
    EXPECT_TRUE(hub.requests.becomes([&](int count) { return count >= answered; }));
    session.reset();
    EXPECT_TRUE(counter->destroyed.becomesEqual(1)) << answered;
    EXPECT_EQ(counter->others.get(), 1) << "state 1, and no step that failed later";
  }
}

TEST_F(SessionSystemTest, ManyThreadsMakeAndDropSessions) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 10; ++n) {
        const auto own = TSLSession::initWithHostName("127.7.1.9", 0);  // a refusing port
        own->connect();
        own->cancelConnect();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  const PropertyListDictionary shipped{
      {"AutoDisconnectCastingWhenCloseLaptop", PropertyListValue{true}}};
  EXPECT_EQ(VexCfg::sharedCfgFile()->pCfgDict(), shipped);
  EXPECT_EQ(VexCfg::init()->pCfgDict(), shipped);
}

// In any interleaving the delegate's queue gets different states in turn, the last one being the
// state in force.
TEST_F(SessionSystemTest, ManyThreadsConnectAndDisconnectOneSession) {
  const auto queue = OperationQueue::serialQueue("delegate");
  session = TSLSession::initWithHostName("127.7.1.10", 0);  // a refusing port
  session->setDelegate(delegate, queue);
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([this] {
      for (int n = 0; n < 50; ++n) session->connect();
    });
    threads.emplace_back([this] {
      for (int n = 0; n < 50; ++n) session->disconnect();
    });
    threads.emplace_back([&] {
      for (int n = 0; n < 50; ++n) {
        session->setDelegate(delegate, queue);
        session->setApplicationName("A" + std::to_string(n));
        session->setApplicationURL("http://h/" + session->applicationName());
        session->cancelConnect();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  session.reset();  // each connect's fetch still fails in its own time
  const auto statesIn = [](const ThreadSafeDelegate::Calls& calls) {
    std::vector<std::string> states;
    std::ranges::copy_if(calls, std::back_inserter(states),
                         [](const std::string& call) { return call.starts_with("state"); });
    return states;
  };
  Eventually<bool> drained;
  queue->addOperation([&] { drained.set(true); });
  EXPECT_TRUE(drained.becomesEqual(true));
  EXPECT_TRUE(delegate->calls.becomes([&](const auto& calls) {
    const auto states = statesIn(calls);
    return !states.empty() && states.back() == "state 0";
  }));
  const auto states = statesIn(delegate->calls.get());
  EXPECT_EQ(std::ranges::adjacent_find(states), states.end());
}

}  // namespace
}  // namespace tessel::test
