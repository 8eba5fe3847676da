// The device details of a hub, which is a stranger on the network.
#include "session/deviceDetail.h"
#include "tessel/Log.h"
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class DeviceDetailsTest : public SessionFixture {
 protected:
  // Fetches once; how it ended.
  std::optional<Error> fetch() {
    int completions = 0;
    std::optional<Error> outcome;
    session->fetchDeviceDetailsWithCompletionHandler([&](std::optional<Error> error) {
      ++completions;
      outcome = std::move(error);
    });
    EXPECT_EQ(completions, 0) << "it returns at once";
    world.run();
    EXPECT_EQ(completions, 1);
    return outcome;
  }

  std::optional<Error> fetchElements(const std::string& elements) {
    hub.details = "<device>" + elements + "</device>";
    return fetch();
  }

  struct Variant {
    bool newProtocol;
    bool multiToken;
    std::string name;
    bool operator==(const Variant&) const = default;
  };

  // What a fresh session makes of a version.
  Variant variantOf(const std::string& version) {
    session = TSLSession::initWithHostName("10.0.0.7", 0);
    EXPECT_EQ(fetchElements("<specVersion>" + version + "</specVersion>"), std::nullopt);
    return {session->newProtocol(), session->multiTokenProtocol(), session->applicationName()};
  }

  const Error incomplete{TSLErrorDomain, 6, ""};
};

TEST_F(DeviceDetailsTest, TheyAreFetchedFromPort55555WhateverTheLaunchPort) {
  session->setLauchport(443);
  EXPECT_EQ(session->deviceDetailsURL(), "http://10.0.0.7:55555/device-details.xml");
  EXPECT_TRUE(world.log.has("-[TSLSession deviceDetailsURL]: ENTER/EXIT"));
  fetch();
  EXPECT_TRUE(world.log.has("-[TSLSession fetchDeviceDetailsWithCompletionHandler:]: ENTER/EXIT"));
  EXPECT_EQ(world.http.last()->request.url, "http://10.0.0.7:55555/device-details.xml");
  EXPECT_EQ(world.http.last()->timeout, 60s);
}

TEST_F(DeviceDetailsTest, AGoodAnswerSetsURLAndDocument) {
  EXPECT_EQ(fetch(), std::nullopt);
  EXPECT_EQ(session->applicationURL(), "http://10.0.0.7:8008/apps/");
  EXPECT_EQ(session->deviceDetailsXML(), hub.details);
}

TEST_F(DeviceDetailsTest, ATransfersErrorIsPassedOnUnchanged) {
  hub.answersDetails = false;
  std::optional<Error> outcome;
  session->fetchDeviceDetailsWithCompletionHandler(
      [&](std::optional<Error> error) { outcome = std::move(error); });
  const Error error{platform::kURLErrorDomain, 63, "The answer is too large."};
  world.http.last()->fail(error);
  world.run();
  EXPECT_EQ(outcome, error);
}

TEST_F(DeviceDetailsTest, TheStatusIsNotLookedAt) {
  hub.answersDetails = false;
  std::optional<Error> outcome = incomplete;
  session->fetchDeviceDetailsWithCompletionHandler(
      [&](std::optional<Error> error) { outcome = std::move(error); });
  world.http.last()->respond(hub.details, hub.detailsHeaders, 500);
  world.run();
  EXPECT_EQ(outcome, std::nullopt);
}

TEST_F(DeviceDetailsTest, VersionsSelectTheProtocolVariant) {
  const Variant old{false, false, "ReceiverAppV1"};
  const Variant caster{true, false, "CasterApp"};
  const Variant multiToken{true, true, "CasterApp"};
  EXPECT_EQ(variantOf("1.3"), old);
  EXPECT_EQ(variantOf("0.9"), old);
  EXPECT_EQ(variantOf("1"), old);
  EXPECT_EQ(variantOf("1.4"), (Variant{true, false, "ReceiverAppV2"}));
  EXPECT_EQ(variantOf("1.5"), caster);
  EXPECT_EQ(variantOf("1.6"), multiToken);
  EXPECT_EQ(variantOf("1.10"), multiToken);
  EXPECT_EQ(variantOf("1.4.1"), old);
  EXPECT_EQ(variantOf("2.4"), caster);
  EXPECT_EQ(variantOf("2.6"), multiToken);
  EXPECT_EQ(variantOf(" 1.4 "), caster);
  EXPECT_EQ(variantOf("01.04"), caster);
}

TEST_F(DeviceDetailsTest, SpecVersion2Point0SelectsNeitherProtocol) {
  const Variant old{false, false, "ReceiverAppV1"};
  EXPECT_EQ(variantOf("2.0"), old);
  EXPECT_EQ(variantOf("2.3"), old);
}

TEST_F(DeviceDetailsTest, OddVersionsSelectNothing) {
  const Variant old{false, false, "ReceiverAppV1"};
  for (const std::string text :
       {"", "1.", ".4", ".", "..", "1..4", "x.y", "-1.4", "1.-4", "1,4", "1.4.", "  "}) {
    EXPECT_EQ(variantOf(text), old) << text;
  }
  EXPECT_EQ(variantOf(std::string(5000, '9') + "." + std::string(5000, '9')).multiToken, true);
}

TEST_F(DeviceDetailsTest, AVersionOfTwoPartsLogsTheApplicationName) {
  variantOf("1.3");
  EXPECT_TRUE(world.log.has("Application Name:ReceiverAppV1"));
  variantOf("1.4");
  EXPECT_TRUE(world.log.has("Application Name:ReceiverAppV2"));
  variantOf("1.5");
  EXPECT_TRUE(world.log.has("Application Name:CasterApp"));
  world.log.clear();
  variantOf("1.4.1");
  variantOf("1");
  EXPECT_THAT(world.log.startingWith("Application Name:"), IsEmpty());
}

TEST_F(DeviceDetailsTest, SSL443OnHost10007YieldsTheSSLURLWhateverTheHeaderSaid) {
  EXPECT_EQ(fetchElements("<SSL>443</SSL>"), std::nullopt);
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_EQ(session->lauchport(), 443);
  EXPECT_EQ(session->applicationURL(), "https://10.0.0.7:443/apps/");
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre("-[TSLSession fetchDeviceDetailsWithCompletionHandler:]: ENTER/EXIT",
                  "-[TSLSession deviceDetailsURL]: ENTER/EXIT", "Hub has enabled SSL connection.",
                  "New lauch url is https://10.0.0.7:443/apps/"));
}

TEST_F(DeviceDetailsTest, SSL0LeavesTheHeadersURLAndLauchport55555) {
  for (const std::string text : {"0", "-443", "on", "", "  "}) {
    EXPECT_EQ(fetchElements("<SSL>" + text + "</SSL>"), std::nullopt);
    EXPECT_FALSE(session->sslEnabled()) << text;
    EXPECT_EQ(session->lauchport(), 55555) << text;
    EXPECT_EQ(session->applicationURL(), "http://10.0.0.7:8008/apps/") << text;
  }
  EXPECT_FALSE(world.log.has("Hub has enabled SSL connection."));
  EXPECT_THAT(world.log.startingWith("New lauch url is"), IsEmpty());
}

TEST_F(DeviceDetailsTest, AnSSLPortOutOfRangeIsStoredAsItStands) {
  fetchElements("<SSL>70000</SSL>");
  EXPECT_EQ(session->lauchport(), 70000);
  EXPECT_EQ(session->applicationURL(), "https://10.0.0.7:70000/apps/");
}

TEST_F(DeviceDetailsTest, AnSSLPortPast32BitsIsTheLargestThatFits) {
  fetchElements("<SSL>99999999999999999999</SSL>");
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_EQ(session->lauchport(), 2147483647);
  EXPECT_EQ(session->applicationURL(), "https://10.0.0.7:2147483647/apps/");
}

TEST_F(DeviceDetailsTest, Busy2IsNotBusy) {
  for (const std::string text : {"2", "0", "-1", "", "YES", "11", "4294967297"}) {
    EXPECT_EQ(fetchElements("<busy>" + text + "</busy>"), std::nullopt) << text;
    EXPECT_FALSE(session->busyStatus()) << text;
  }
  EXPECT_FALSE(world.log.has("Hub is busy and will not accept any new session."));
}

TEST_F(DeviceDetailsTest, Busy1FailsTheFetchWithCode9EvenThoughTheAnswerIsFine) {
  const Error busy{TSLErrorDomain, 9,
                   "Hub is busy and is not able to accept new casting sessions."};
  EXPECT_EQ(fetchElements("<busy>1</busy><specVersion>1.5</specVersion>"), busy);
  EXPECT_TRUE(session->busyStatus());
  EXPECT_TRUE(session->newProtocol()) << "launch data already set stay set";
  EXPECT_EQ(session->applicationURL(), "http://10.0.0.7:8008/apps/");
  EXPECT_TRUE(world.log.has("Hub is busy and will not accept any new session."));
}

TEST_F(DeviceDetailsTest, LaunchDataAreNeverReset) {
  fetchElements("<specVersion>1.6</specVersion><SSL>443</SSL><busy>1</busy>");
  EXPECT_EQ(fetchElements("<specVersion>1.3</specVersion><busy>0</busy>")->code, 9);
  EXPECT_TRUE(session->newProtocol());
  EXPECT_TRUE(session->multiTokenProtocol());
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_EQ(session->lauchport(), 443);
  EXPECT_EQ(session->applicationName(), "CasterApp");
}

TEST_F(DeviceDetailsTest, AnAnswerWithoutTheHeaderFailsWithCode6EvenWhenTheBodyIsFine) {
  hub.detailsHeaders.clear();
  EXPECT_EQ(fetch(), incomplete);
  hub.detailsHeaders = {{"Application-URL", ""}};
  EXPECT_EQ(fetch(), incomplete);
  EXPECT_FALSE(session->newProtocol()) << "the body is not looked at";
  EXPECT_EQ(session->deviceDetailsXML(), std::nullopt);
}

TEST_F(DeviceDetailsTest, AnEmptyBodyFailsWithCode6) {
  hub.details = "";
  EXPECT_EQ(fetch(), incomplete);
}

TEST_F(DeviceDetailsTest, ABodyThatIsNotUTF8FailsWithCode6) {
  hub.details = "<d><specVersion>1.5</specVersion>\xFF</d>";
  EXPECT_EQ(fetch(), incomplete);
  EXPECT_FALSE(session->newProtocol());
  EXPECT_EQ(session->applicationURL(), std::nullopt);
}

TEST_F(DeviceDetailsTest, ElementNamesAreComparedExactly) {
  EXPECT_EQ(fetchElements("<ssl>443</ssl><Busy>1</Busy><specversion>1.6</specversion>"
                          "<x:busy>1</x:busy>"),
            std::nullopt);
  EXPECT_FALSE(session->sslEnabled());
  EXPECT_FALSE(session->busyStatus());
  EXPECT_FALSE(session->newProtocol());
}

TEST_F(DeviceDetailsTest, ElementsMayStandAtAnyDepth) {
  fetchElements("<a><b c='d'><specVersion>1.6</specVersion></b></a>");
  EXPECT_TRUE(session->multiTokenProtocol());
}

TEST_F(DeviceDetailsTest, TextOfNestedElementsIsNotTheElementsOwn) {
  EXPECT_EQ(fetchElements("<specVersion><number>1.6</number></specVersion>"
                          "<SSL><port>443</port></SSL><busy><now>1</now></busy>"),
            std::nullopt);
  EXPECT_FALSE(session->newProtocol());
  EXPECT_FALSE(session->sslEnabled());
  EXPECT_FALSE(session->busyStatus());
  EXPECT_THAT(world.log.startingWith("Application Name:"), IsEmpty());
}

TEST_F(DeviceDetailsTest, TheyAreReadAndReportedOnTheURLSessionsCallbackQueue) {
  bool readThere = false;
  bool reportedThere = false;
  setLogSink([&](std::string_view line) {
    if (line == "Application Name:CasterApp") readThere = world.http.last()->onCallbackQueue();
  });
  session->fetchDeviceDetailsWithCompletionHandler(
      [&](const std::optional<Error>&) { reportedThere = world.http.last()->onCallbackQueue(); });
  world.run();
  setLogSink(nullptr);
  EXPECT_TRUE(readThere);
  EXPECT_TRUE(reportedThere);
}

TEST_F(DeviceDetailsTest, MalformedXMLEndsTheEvaluationWithoutAnError) {
  hub.details = "<d><specVersion>1.5</specVersion><<<<busy>1</busy>";
  EXPECT_EQ(fetch(), std::nullopt);
  EXPECT_TRUE(session->newProtocol());
  EXPECT_FALSE(session->busyStatus());
}

TEST_F(DeviceDetailsTest, ABodyThatIsNoXMLSetsNothing) {
  hub.details = "503 Service Unavailable";
  EXPECT_EQ(fetch(), std::nullopt);
  EXPECT_FALSE(session->newProtocol());
  EXPECT_EQ(session->applicationURL(), "http://10.0.0.7:8008/apps/");
}

TEST_F(DeviceDetailsTest, AnApplicationURLThatSmugglesLinesIsNoURL) {
  hub.detailsHeaders = {{"Application-URL", "http://10.0.0.7/\r\nX-Evil: 1"}};
  EXPECT_EQ(fetch(), std::nullopt);
  EXPECT_EQ(session->applicationURL(), std::nullopt);
}

TEST_F(DeviceDetailsTest, AHostNameWithOddCharactersIsAskedForAsItStands) {
  for (const std::string name : {"hub.local", "fe80::1", "a b", "hü", "a/b?c#d", "\r\n"}) {
    const auto odd = TSLSession::initWithHostName(name, 0);
    EXPECT_EQ(odd->deviceDetailsURL(), "http://" + name + ":55555/device-details.xml");
  }
}

TEST_F(DeviceDetailsTest, AnSSLURLForAHostNameThatCannotStandInOneIsNone) {
  session = TSLSession::initWithHostName("a b", 0);
  fetchElements("<SSL>443</SSL>");
  EXPECT_TRUE(session->sslEnabled());
  EXPECT_EQ(session->applicationURL(), std::nullopt);
}

TEST_F(DeviceDetailsTest, ALargeDocumentIsReadToItsEnd) {
  std::string filler;
  while (filler.size() < 900'000) filler += "<x>some text of no meaning</x>\n";
  EXPECT_EQ(fetchElements(filler + "<specVersion>1.6</specVersion>"), std::nullopt);
  EXPECT_TRUE(session->multiTokenProtocol());
}

class deviceDetailTest : public SessionFixture {
 protected:
  std::shared_ptr<deviceDetail> detail = deviceDetail::initWithSession(session);
};

TEST_F(deviceDetailTest, HoldsItsSessionWeakly) {
  EXPECT_EQ(detail->session(), session);
  EXPECT_EQ(detail->xmlelement(), std::nullopt);
  session.reset();
  EXPECT_EQ(detail->session(), nullptr);
}

TEST_F(deviceDetailTest, WithoutASessionItOnlyLogs) {
  session.reset();
  world.log.clear();
  detail->didStartElement("specVersion");
  detail->foundCharacters("1.6");
  detail->didStartElement("SSL");
  detail->foundCharacters("443");
  detail->didStartElement("busy");
  detail->foundCharacters("1");
  EXPECT_THAT(world.log.lines(),
              ElementsAre("Application Name:(null)", "Hub has enabled SSL connection.",
                          "Hub is busy and will not accept any new session."));
}

TEST_F(deviceDetailTest, TextBehindAnElementStillCountsAsItsText) {
  detail->didStartElement("busy");
  detail->foundCharacters("0");
  EXPECT_EQ(detail->xmlelement(), "busy");
  detail->foundCharacters("1");
  EXPECT_TRUE(session->busyStatus());
}

TEST_F(deviceDetailTest, EveryChunkIsEvaluatedOnItsOwn) {
  detail->didStartElement("specVersion");
  detail->foundCharacters("1.");
  detail->foundCharacters("6");
  EXPECT_FALSE(session->newProtocol());
}

TEST_F(deviceDetailTest, AVersionOfOneCharacterIsNotEvaluated) {
  detail->didStartElement("specVersion");
  detail->foundCharacters(".");
  detail->foundCharacters("..");  // three parts
  EXPECT_THAT(world.log.lines(), IsEmpty());
  detail->foundCharacters("1.");
  EXPECT_THAT(world.log.lines(), ElementsAre("Application Name:ReceiverAppV1"));
  EXPECT_FALSE(session->newProtocol());
}

TEST_F(deviceDetailTest, TextBeforeAnyElementIsIgnored) {
  detail->foundCharacters("1.6");
  EXPECT_FALSE(session->newProtocol());
}

}  // namespace
}  // namespace tessel::test
