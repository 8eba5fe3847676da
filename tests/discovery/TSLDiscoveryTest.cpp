#include "tests/discovery/DiscoveryFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(TSLDiscoveryTest, MajorAndMinorYieldTheAddressAndAFetchOfTheDetails) {
  hearHub(-52);
  ASSERT_EQ(discovery->beacons().size(), 1U);
  EXPECT_EQ(entry()->IPAddr(), "192.168.1.100");
  EXPECT_EQ(entry()->RSSI(), -52);
  EXPECT_EQ(entry()->lastUpdated(), world.now());
  EXPECT_EQ(entry()->friendlyName(), std::nullopt);
  EXPECT_THAT(urls(), ElementsAre(kURL));
  EXPECT_EQ(world.http.last()->request.method, "GET");
  EXPECT_EQ(world.http.last()->timeout, 60s);
}

TEST_F(TSLDiscoveryTest, AHubEntersTheListWithItsAddressAndItsNameRequested) {
  bool entered = false;
  discovery->observeBeacons([&](const BeaconListChange& change) {
    entered = true;
    EXPECT_EQ(change.kind, BeaconListChange::Kind::kInsertion);
    EXPECT_EQ(change.beacon->IPAddr(), "192.168.1.100");
    EXPECT_THAT(urls(), ElementsAre(kURL));
  });
  hearHub();
  EXPECT_TRUE(entered);
}

TEST_F(TSLDiscoveryTest, AKnownHubKeepsTheTimeAtWhichItWasHeard) {
  hearHub();
  answer(details("Room 1"));
  world.advance(5s);
  keepMainQueueBusy(3s);
  const Date heard = world.now();
  hearHub();
  EXPECT_EQ(entry()->lastUpdated(), heard - 5s);
  world.advance(4s);
  EXPECT_EQ(entry()->lastUpdated(), heard);
}

TEST_F(TSLDiscoveryTest, TheFilterRunsOnTheScannersQueue) {
  const auto managerQueue = BVBeaconScanner::sharedBeaconScanner()->managerQueue();
  keepMainQueueBusy(3s);
  int onQueue = 0;
  discovery->beaconSignal()->subscribeNext(
      [&](const auto&) { onQueue += managerQueue->isCurrent() ? 1 : 0; });
  hear(advert(UUID{}, kMajor, kMinor));
  hearHub();
  EXPECT_EQ(onQueue, 1);
  EXPECT_THAT(discovery->beacons(), IsEmpty());  // the list waits for the main queue
  world.advance(3s);
  EXPECT_EQ(discovery->beacons().size(), 1U);
}

TEST_F(TSLDiscoveryTest, OfTwoEqualEntriesTheFirstIsFoundAndRemoved) {
  const auto first = BVBeacon::initWithProximityUUID(TSLHubProximityUUID, kMajor, kMinor, -59);
  const auto second = first->copy();
  onMain([&] {
    discovery->insertObjectInBeaconsAtIndex(first, 0);
    discovery->insertObjectInBeaconsAtIndex(second, 1);
  });
  EXPECT_EQ(discovery->rowForBeacon(second), 0);
  second->setLastUpdated(world.now() - 16s);
  world.advance(2s);
  EXPECT_THAT(discovery->beacons(), ElementsAre(second));
}

TEST_F(TSLDiscoveryTest, AddressesWithAZeroOctetAreLoggedAndStillListed) {
  hear(hubAdvert(0x00C0, kMinor));
  hear(hubAdvert(kMajor, 0x0100));
  hear(hubAdvert(0xC000, kMinor));
  hear(hubAdvert(kMajor, 0x0064));
  EXPECT_EQ(discovery->beacons().size(), 4U);
  for (const auto& beacon : discovery->beacons()) EXPECT_EQ(beacon->IPAddr(), std::nullopt);
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(
          "Invalid IP address. iBeacon major:192 minor:356, translated IP addr:0.192.1.100",
          "Invalid IP address. iBeacon major:49320 minor:256, translated IP addr:192.168.1.0",
          "Invalid IP address. iBeacon major:49152 minor:356, translated IP addr:192.0.1.100",
          "Invalid IP address. iBeacon major:49320 minor:100, translated IP addr:192.168.0.100"));
  EXPECT_THAT(world.http.requests, IsEmpty());
}

TEST_F(TSLDiscoveryTest, EveryAdvertisementOfAnInvalidAddressLogsAgain) {
  hear(hubAdvert(0x00C0, kMinor));
  hear(hubAdvert(0x00C0, kMinor));
  EXPECT_EQ(world.log.lines().size(), 2U);
}

TEST_F(TSLDiscoveryTest, OctetsOf255AreAllowed) {
  hear(hubAdvert(0xFFFF, 0xFFFF));
  EXPECT_EQ(entry()->IPAddr(), "255.255.255.255");
  EXPECT_THAT(world.log.lines(), IsEmpty());
}

TEST_F(TSLDiscoveryTest, ABeaconOfAnotherProximityUUIDNeverEntersTheList) {
  hear(advert(UUID{}, kMajor, kMinor));
  EXPECT_THAT(discovery->beacons(), IsEmpty());
  EXPECT_THAT(world.http.requests, IsEmpty());
}

TEST_F(TSLDiscoveryTest, RowForBeaconIgnoresTheUUID) {
  hear(hubAdvert(0x0A0B, 0x0C0D));
  hearHub();
  const auto other = BVBeacon::initWithProximityUUID(UUID{}, kMajor, kMinor, -1);
  EXPECT_EQ(discovery->rowForBeacon(other), 1);
  EXPECT_EQ(
      discovery->rowForBeacon(BVBeacon::initWithProximityUUID(TSLHubProximityUUID, kMajor, 1, 0)),
      TSLDiscovery::kNotFound);
  EXPECT_EQ(discovery->rowForBeacon(nullptr), TSLDiscovery::kNotFound);
  EXPECT_EQ(TSLDiscovery::kNotFound, 9223372036854775807);
}

TEST_F(TSLDiscoveryTest, AHubNeverHeardAgainLeavesAtTheFirstTickAfterFifteenSeconds) {
  hearHub();
  world.advance(15s);
  EXPECT_EQ(discovery->beacons().size(), 1U);
  world.advance(1s);
  EXPECT_THAT(discovery->beacons(), IsEmpty());
}

TEST_F(TSLDiscoveryTest, ASilenceOfExactlyFifteenSecondsAtATickIsNotTooLong) {
  world.advance(1s);
  hearHub();
  world.advance(15s);  // the tick at 16 s
  EXPECT_EQ(discovery->beacons().size(), 1U);
  world.advance(2s);
  EXPECT_THAT(discovery->beacons(), IsEmpty());
}

TEST_F(TSLDiscoveryTest, AHubHeardEveryTenSecondsStays) {
  hearHub();
  answer(details("Room 1"));
  for (int i = 0; i < 20; ++i) {
    world.advance(10s);
    ASSERT_EQ(discovery->beacons().size(), 1U);
    hearHub();
  }
}

TEST_F(TSLDiscoveryTest, AHubHeardAgainAfterItsRemovalEntersAsNew) {
  hearHub();
  answer(details("Room 1"));
  const auto before = entry();
  world.advance(20s);
  hearHub();
  EXPECT_NE(entry(), before);
  EXPECT_EQ(entry()->friendlyName(), std::nullopt);
  EXPECT_EQ(world.http.requests.size(), 2U);
}

TEST_F(TSLDiscoveryTest, AKnownHubIsUpdatedInPlace) {
  hearHub(-50);
  answer(details("Room 1"));
  const auto before = entry();
  world.advance(3s);
  hear(hubAdvert(kMajor, kMinor, -40), -77);
  ASSERT_EQ(discovery->beacons().size(), 1U);
  EXPECT_EQ(entry(), before);
  EXPECT_EQ(before->RSSI(), -77);
  EXPECT_EQ(before->measuredPower(), -40);
  EXPECT_EQ(before->lastUpdated(), world.now());
  EXPECT_EQ(before->IPAddr(), "192.168.1.100");
  EXPECT_EQ(before->friendlyName(), "Room 1");
  EXPECT_EQ(before->lastGetFriendlyName(), world.now() - 3s);
  EXPECT_EQ(world.http.requests.size(), 1U);
}

TEST_F(TSLDiscoveryTest, ANullBeaconIsIgnored) {
  observe();
  onMain([this] {
    discovery->friendlyNameForBeacon(nullptr);
    discovery->updateFriendlyNameForBeacon(nullptr);
    discovery->addBeaconsObject(nullptr);
    discovery->insertObjectInBeaconsAtIndex(nullptr, 0);
  });
  world.advance(2s);
  EXPECT_THAT(discovery->beacons(), IsEmpty());
  EXPECT_THAT(changes, IsEmpty());
  EXPECT_THAT(world.http.requests, IsEmpty());
}

TEST_F(TSLDiscoveryTest, InsertionsUpdatesAndRemovalsAreReportedOnTheMainQueue) {
  observe();
  hearHub();
  EXPECT_THAT(changes, ElementsAre("insertion 0"));
  answer(details("Room 1"));
  EXPECT_THAT(changes, ElementsAre("insertion 0", "update 0"));
  hearHub();
  EXPECT_THAT(changes, ElementsAre("insertion 0", "update 0", "update 0"));
  world.advance(16s);
  EXPECT_THAT(changes, ElementsAre("insertion 0", "update 0", "update 0", "removal 0"));
  EXPECT_TRUE(onMainQueue);
}

TEST_F(TSLDiscoveryTest, TheIndexOfAChangeIsTheOneInTheListAsItIsThen) {
  hear(hubAdvert(0x0A0B, 0x0C0D));
  world.advance(5s);
  observe();
  hearHub();
  world.advance(11s);
  EXPECT_THAT(changes, ElementsAre("insertion 1", "removal 0"));
  hearHub();
  EXPECT_THAT(changes, ElementsAre("insertion 1", "removal 0", "update 0"));
}

TEST_F(TSLDiscoveryTest, NoObserverIsCalledAfterTheDirectoryIsGone) {
  observe();
  hearHub();
  changes.clear();
  discovery.reset();
  hearHub();
  answer(details("Room 1"));
  world.advance(20s);
  EXPECT_THAT(changes, IsEmpty());
  EXPECT_EQ(world.http.requests.size(), 1U);
  EXPECT_EQ(world.scheduler.runningTimers(), 0);
}

TEST_F(TSLDiscoveryTest, TwoDirectoriesShareTheScanner) {
  const auto second = TSLDiscovery::init();
  EXPECT_EQ(world.bluetooth.centrals.size(), 1U);
  hearHub();
  EXPECT_EQ(discovery->beacons().size(), 1U);
  EXPECT_EQ(second->beacons().size(), 1U);
}

TEST_F(TSLDiscoveryTest, ALateDirectoryStartsWithTheLastBeaconHeard) {
  hearHub();
  const auto late = TSLDiscovery::init();
  world.run();
  EXPECT_EQ(late->beacons().size(), 1U);
}

TEST_F(TSLDiscoveryTest, TheHousekeepingSignalSendsTheDateEveryTwoSeconds) {
  std::vector<Date> ticks;
  const Date start = world.now();
  discovery->housekeepingSignal()->subscribeNext(
      [&ticks](const Date& tick) { ticks.push_back(tick); });
  world.advance(7s);
  EXPECT_THAT(ticks, ElementsAre(start + 2s, start + 4s, start + 6s));
}

TEST_F(TSLDiscoveryTest, HostsMayReadTheFilteredBeacons) {
  std::vector<int> minors;
  discovery->beaconSignal()->subscribeNext(
      [&minors](const std::shared_ptr<BVBeacon>& beacon) { minors.push_back(beacon->minor()); });
  hear(advert(UUID{}, 1, 2));
  hear(hubAdvert(1, 3));
  EXPECT_THAT(minors, ElementsAre(3));
}

TEST_F(TSLDiscoveryTest, ChangesBeyondTheEndOfTheListAreIgnored) {
  observe();
  onMain([this] {
    discovery->removeObjectFromBeaconsAtIndex(0);
    discovery->insertObjectInBeaconsAtIndex(
        BVBeacon::initWithProximityUUID(TSLHubProximityUUID, 1, 2, 0), 1);
  });
  EXPECT_THAT(discovery->beacons(), IsEmpty());
  EXPECT_THAT(changes, IsEmpty());
}

}  // namespace
}  // namespace tessel::test
