// How a listed hub gets and keeps its name.
#include "tests/discovery/DiscoveryFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using HubNamesTest = TSLDiscoveryTest;

TEST_F(HubNamesTest, AskingForTheNameMarksTheBeaconAsHeardNow) {
  const auto beacon = BVBeacon::initWithProximityUUID(TSLHubProximityUUID, kMajor, kMinor, -59);
  world.advance(7s);
  onMain([&] { discovery->friendlyNameForBeacon(beacon); });
  EXPECT_EQ(beacon->lastUpdated(), world.now() - 7s);
  onMain([&] { discovery->updateFriendlyNameForBeacon(beacon); });
  EXPECT_EQ(beacon->lastUpdated(), world.now());
  world.advance(7s);
  onMain([&] { discovery->addBeaconsObject(beacon); });
  EXPECT_EQ(beacon->lastUpdated(), world.now());
}

TEST_F(HubNamesTest, AnAnswerIsTakenWithoutTheMainQueue) {
  observe();
  hearHub();
  keepMainQueueBusy(3s);
  answer(details("Room 1"));
  EXPECT_EQ(entry()->friendlyName(), "Room 1");
  EXPECT_EQ(entry()->lastGetFriendlyName(), world.now());
  EXPECT_THAT(changes, ElementsAre("insertion 0"));  // observers wait for the main queue
  world.advance(3s);
  EXPECT_THAT(changes, ElementsAre("insertion 0", "update 0"));
}

TEST_F(HubNamesTest, AFetchThatAnAdvertisementCausesRunsInTheBackground) {
  hearHub();
  EXPECT_TRUE(world.http.last()->background);
}

TEST_F(HubNamesTest, TheNameIsTheTextOfFriendlyName) {
  hearHub();
  answer(details("Room 1"));
  EXPECT_EQ(entry()->friendlyName(), "Room 1");
  EXPECT_EQ(entry()->lastGetFriendlyName(), world.now());
}

TEST_F(HubNamesTest, AnHTTPErrorStatusCountsAsACompletedFetch) {
  hearHub();
  answer(details("Room 1"));
  world.advance(10s);
  hearHub();
  onMain([this] { discovery->updateFriendlyNameForBeacon(entry()); });
  answer("<html><body>Not found</body></html>", 404);
  EXPECT_EQ(entry()->friendlyName(), std::nullopt);
  EXPECT_EQ(entry()->lastGetFriendlyName(), world.now());
}

TEST_F(HubNamesTest, WhiteSpaceAfterFriendlyNameBecomesTheName) {
  hearHub();
  answer(
      "<device>\n  <friendlyName>Room 1</friendlyName>\n  <specVersion>1.6</specVersion>\n"
      "</device>");
  EXPECT_EQ(entry()->friendlyName(), "\n  ");
}

TEST_F(HubNamesTest, ANameIsFetchedAgainAfterSixtySeconds) {
  hearHub();
  answer(details("Room 1"));
  for (int second = 10; second < 60; second += 10) {
    world.advance(10s);
    hearHub();
  }
  world.advance(9s);
  hearHub();
  EXPECT_EQ(world.http.requests.size(), 1U);
  world.advance(1s);
  hearHub();
  EXPECT_EQ(world.http.requests.size(), 2U);
  answer(details("Room 2"));
  EXPECT_EQ(entry()->friendlyName(), "Room 2");
}

TEST_F(HubNamesTest, AHubWithoutANameIsFetchedAtEveryAdvertisementInASessionOfItsOwn) {
  for (int i = 0; i < 5; ++i) hearHub();
  EXPECT_EQ(world.http.requests.size(), 5U);
  EXPECT_EQ(world.http.sessionsMade, 5);
}

TEST_F(HubNamesTest, ARequestThatHangsHoldsUpNeitherTheNextOneNorAnotherHubs) {
  hearHub();  // this request hangs
  world.advance(1s);
  hearHub();
  answer(details("Room 1"));
  EXPECT_EQ(entry()->friendlyName(), "Room 1");
  hear(hubAdvert(kMajor, kMinor + 1));
  answer(details("Room 2"));
  EXPECT_EQ(entry(1)->friendlyName(), "Room 2");
  world.http.requests.front()->fail({"tessel.url", 28, "timed out"});
  world.run();
  EXPECT_EQ(entry()->friendlyName(), "Room 1");
}

TEST_F(HubNamesTest, AFailedFetchChangesNothingAndTheNextAdvertisementFetchesAgain) {
  hearHub();
  world.http.last()->fail({"tessel.url", 7, "refused"});
  world.run();
  EXPECT_EQ(entry()->friendlyName(), std::nullopt);
  EXPECT_EQ(entry()->lastGetFriendlyName(), std::nullopt);
  EXPECT_THAT(world.log.lines(), IsEmpty());
  hearHub();
  EXPECT_EQ(world.http.requests.size(), 2U);
}

TEST_F(HubNamesTest, AFailedRefreshKeepsTheNameAndTheDateOfItsFetch) {
  hearHub();
  answer(details("Room 1"));
  const Date fetched = world.now();
  for (int i = 0; i < 6; ++i) {
    world.advance(10s);
    hearHub();
  }
  EXPECT_EQ(world.http.requests.size(), 2U);
  world.http.last()->fail({"tessel.url", 28, "timed out"});
  world.run();
  EXPECT_EQ(entry()->friendlyName(), "Room 1");
  EXPECT_EQ(entry()->lastGetFriendlyName(), fetched);
}

TEST_F(HubNamesTest, ADocumentWithoutANameOrWithAOneLetterNameIsFetchedAgainAndAgain) {
  hearHub();
  answer(details("R"));
  EXPECT_EQ(entry()->friendlyName(), std::nullopt);
  EXPECT_EQ(entry()->lastGetFriendlyName(), world.now());
  hearHub();
  answer("<device/>");
  hearHub();
  EXPECT_EQ(world.http.requests.size(), 3U);
}

TEST_F(HubNamesTest, DetailsThatNeverComeLeaveTheHubListedWithItsAddress) {
  for (int second = 0; second < 180; ++second) {
    hearHub();
    world.advance(1s);
    ASSERT_EQ(discovery->beacons().size(), 1U);
  }
  EXPECT_EQ(entry()->IPAddr(), "192.168.1.100");
  EXPECT_EQ(entry()->friendlyName(), std::nullopt);
  EXPECT_THAT(world.log.lines(), IsEmpty());
  world.advance(17s);
  EXPECT_THAT(discovery->beacons(), IsEmpty());
}

TEST_F(HubNamesTest, ANameOfOneMebibyteIsKeptAsItCame) {
  const std::string name(std::size_t{1} << 20, 'x');
  hearHub();
  answer(details(name));
  EXPECT_EQ(entry()->friendlyName(), name);
}

TEST_F(HubNamesTest, ControlCharactersInANameAreKeptAsTheyCame) {
  hearHub();
  answer(details("\x1B[2J\a\x01 Room"));
  EXPECT_EQ(entry()->friendlyName(), "\x1B[2J\a\x01 Room");
}

TEST_F(HubNamesTest, ADetailsAnswerForAHubThatHasLeftIsNoChange) {
  observe();
  hearHub();
  world.advance(16s);
  changes.clear();
  answer(details("Room 1"));
  EXPECT_THAT(changes, IsEmpty());
}

}  // namespace
}  // namespace tessel::test
