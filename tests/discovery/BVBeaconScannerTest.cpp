#include <barrier>
#include <gmock/gmock.h>
#include <thread>

#include "discovery/LMPVersion.h"
#include "platform/BluetoothCentral.h"
#include "tessel/BVBeaconScanner.h"
#include "tests/discovery/Adverts.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

using platform::CentralState;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class BVBeaconScannerTest : public testing::Test {
 protected:
  void enter(CentralState state) {
    central->enter(state);
    world.run();
  }

  SimWorld world;
  std::shared_ptr<BVBeaconScanner> scanner = BVBeaconScanner::init();
  std::shared_ptr<FakeCentral> central = world.bluetooth.last();
};

TEST_F(BVBeaconScannerTest, NothingIsKnownAndNothingScansAtFirst) {
  world.run();
  EXPECT_EQ(scanner->bluetoothState(), nullptr);
  EXPECT_FALSE(scanner->scanning());
  EXPECT_EQ(scanner->housekeepingIntervalSignal(), nullptr);
  EXPECT_EQ(scanner->centralManager(), central);
  EXPECT_TRUE(scanner->managerQueue()->label().ends_with(".centralManagerQueue"));
  EXPECT_THAT(central->calls, IsEmpty());
}

TEST_F(BVBeaconScannerTest, EachStateOfTheRadioIsPublishedAsItsConstant) {
  std::vector<BVGBluetoothState> states;
  scanner->bluetoothStateSignal()->subscribeNext(
      [&states](BVGBluetoothState state) { states.push_back(state); });
  for (const int state : {0, 1, 2, 3, 4, 5, 6, -1}) enter(static_cast<CentralState>(state));
  EXPECT_THAT(states, ElementsAre(BVGBluetoothStateUnknown, BVGBluetoothStateResetting,
                                  BVGBluetoothStateUnsupported, BVGBluetoothStateUnauthorized,
                                  BVGBluetoothStatePoweredOff, BVGBluetoothStatePoweredOn,
                                  BVGBluetoothStateUnknown, BVGBluetoothStateUnknown));
  EXPECT_EQ(scanner->bluetoothState(), BVGBluetoothStateUnknown);
}

TEST_F(BVBeaconScannerTest, APoweredOffRadioOfVersionSixIsPoweredOff) {
  world.bluetooth.lmpReport = "0x6";
  enter(CentralState::kPoweredOff);
  EXPECT_EQ(scanner->bluetoothState(), BVGBluetoothStatePoweredOff);
}

TEST_F(BVBeaconScannerTest, APoweredOffRadioOfVersionFiveIsUnsupported) {
  world.bluetooth.lmpReport = "0x5";
  enter(CentralState::kPoweredOff);
  EXPECT_EQ(scanner->bluetoothState(), BVGBluetoothStateUnsupported);
}

TEST_F(BVBeaconScannerTest, APoweredOffRadioOfVersionFourIsUnsupported) {
  world.bluetooth.lmpReport = "0x4";
  enter(CentralState::kPoweredOff);
  EXPECT_EQ(scanner->bluetoothState(), BVGBluetoothStateUnsupported);
}

TEST_F(BVBeaconScannerTest, APoweredOffRadioOfUnknownVersionIsUnsupported) {
  world.bluetooth.lmpReport = "";
  enter(CentralState::kPoweredOff);
  EXPECT_EQ(scanner->bluetoothState(), BVGBluetoothStateUnsupported);
}

TEST_F(BVBeaconScannerTest, TheVersionIsAskedOnceAndOnlyForAPoweredOffRadio) {
  enter(CentralState::kPoweredOn);
  enter(CentralState::kUnsupported);
  EXPECT_EQ(world.bluetooth.lmpReports, 0);
  enter(CentralState::kPoweredOff);
  enter(CentralState::kPoweredOn);
  enter(CentralState::kPoweredOff);
  EXPECT_EQ(BVBeaconScanner::bluetoothLMPVersion(), 8U);
  EXPECT_EQ(world.bluetooth.lmpReports, 1);
}

TEST_F(BVBeaconScannerTest, AStateIsSentOnceItIsStoredAndScannedFor) {
  std::vector<std::pair<BVGBluetoothState, bool>> seen;
  scanner->bluetoothStateSignal()->subscribeNext([&](BVGBluetoothState state) {
    EXPECT_EQ(scanner->bluetoothState(), state);
    seen.emplace_back(state, scanner->scanning());
  });
  enter(CentralState::kResetting);
  enter(CentralState::kPoweredOn);
  enter(CentralState::kPoweredOff);
  EXPECT_THAT(seen, ElementsAre(std::pair{BVGBluetoothStateResetting, false},
                                std::pair{BVGBluetoothStatePoweredOn, true},
                                std::pair{BVGBluetoothStatePoweredOff, false}));
}

TEST_F(BVBeaconScannerTest, APoweredOnStateStartsAScanWithDuplicates) {
  enter(CentralState::kPoweredOn);
  EXPECT_TRUE(scanner->scanning());
  EXPECT_THAT(central->calls, ElementsAre("scan duplicates"));
}

TEST_F(BVBeaconScannerTest, APoweredOnStateWhileScanningStartsNoSecondScan) {
  enter(CentralState::kPoweredOn);
  enter(CentralState::kPoweredOn);
  EXPECT_THAT(central->calls, ElementsAre("scan duplicates"));
}

TEST_F(BVBeaconScannerTest, AResettingStateWhileScanningStopsTheScan) {
  enter(CentralState::kPoweredOn);
  enter(CentralState::kResetting);
  EXPECT_FALSE(scanner->scanning());
  EXPECT_THAT(central->calls, ElementsAre("scan duplicates", "stop"));
  enter(CentralState::kUnknown);
  EXPECT_THAT(central->calls, ElementsAre("scan duplicates", "stop"));
  enter(CentralState::kPoweredOn);
  EXPECT_THAT(central->calls, ElementsAre("scan duplicates", "stop", "scan duplicates"));
}

TEST_F(BVBeaconScannerTest, StartingDoesNothingUnlessPoweredOn) {
  for (const int state : {0, 1, 2, 3, 4}) {
    enter(static_cast<CentralState>(state));
    scanner->startScanning();
    EXPECT_FALSE(scanner->scanning());
  }
  EXPECT_THAT(central->calls, IsEmpty());
}

TEST_F(BVBeaconScannerTest, AHostMayStopAndStart) {
  enter(CentralState::kPoweredOn);
  scanner->stopScanning();
  EXPECT_FALSE(scanner->scanning());
  scanner->startScanning();
  EXPECT_TRUE(scanner->scanning());
  EXPECT_THAT(central->calls, ElementsAre("scan duplicates", "stop", "scan duplicates"));
}

TEST_F(BVBeaconScannerTest, ALateSubscriberReceivesTheLastStateAndTheLastBeaconAtOnce) {
  enter(CentralState::kResetting);
  enter(CentralState::kPoweredOn);
  central->hear(hubAdvert(1, 2), -50);
  central->hear(hubAdvert(3, 4), -60);
  world.run();
  std::vector<BVGBluetoothState> states;
  std::vector<int> majors;
  scanner->bluetoothStateSignal()->subscribeNext(
      [&states](BVGBluetoothState state) { states.push_back(state); });
  scanner->beaconSignal()->subscribeNext(
      [&majors](const std::shared_ptr<BVBeacon>& beacon) { majors.push_back(beacon->major()); });
  EXPECT_THAT(states, ElementsAre(BVGBluetoothStatePoweredOn));
  EXPECT_THAT(majors, ElementsAre(3));
}

TEST_F(BVBeaconScannerTest, EveryAdvertisementIsAFreshBeaconWithItsRSSI) {
  std::vector<std::shared_ptr<BVBeacon>> beacons;
  scanner->beaconSignal()->subscribeNext(
      [&beacons](const std::shared_ptr<BVBeacon>& beacon) { beacons.push_back(beacon); });
  central->hear(hubAdvert(1, 2), -50);
  central->hear(hubAdvert(1, 2), 127);
  world.run();
  ASSERT_EQ(beacons.size(), 2U);
  EXPECT_NE(beacons[0], beacons[1]);
  EXPECT_EQ(beacons[0]->RSSI(), -50);
  EXPECT_EQ(beacons[1]->RSSI(), 127);
  EXPECT_EQ(beacons[0]->lastUpdated(), world.now());
}

TEST_F(BVBeaconScannerTest, AnAdvertisementOfAnotherCompanyProducesNothing) {
  int heard = 0;
  scanner->beaconSignal()->subscribeNext([&heard](const auto&) { ++heard; });
  Bytes other = hubAdvert(1, 2);
  other[0] = 0x75;
  central->hear(other, -50);
  central->hear(AdvertisementDictionary{}, -50);
  world.run();
  EXPECT_EQ(heard, 0);
  EXPECT_THAT(world.log.lines(), IsEmpty());
}

TEST_F(BVBeaconScannerTest, BeaconsComeOnTheManagerQueue) {
  bool onQueue = false;
  scanner->beaconSignal()->subscribeNext(
      [&](const auto&) { onQueue = scanner->managerQueue()->isCurrent(); });
  central->hear(hubAdvert(1, 2), -50);
  world.run();
  EXPECT_TRUE(onQueue);
}

TEST_F(BVBeaconScannerTest, TheSharedScannerIsOne) {
  const auto shared = BVBeaconScanner::sharedBeaconScanner();
  EXPECT_EQ(shared, BVBeaconScanner::sharedBeaconScanner());
  EXPECT_NE(shared, scanner);
  EXPECT_NE(shared->centralManager(), scanner->centralManager());
}

TEST_F(BVBeaconScannerTest, TheSharedScannerAndTheVersionAreMadeOnceForAllThreads) {
  constexpr std::size_t kThreads = 8;
  std::vector<std::shared_ptr<BVBeaconScanner>> scanners(kThreads);
  std::vector<unsigned> versions(kThreads);
  std::barrier together{kThreads};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      together.arrive_and_wait();
      scanners[i] = BVBeaconScanner::sharedBeaconScanner();
      together.arrive_and_wait();
      versions[i] = BVBeaconScanner::bluetoothLMPVersion();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(scanners, Each(scanners.front()));
  EXPECT_NE(scanners.front(), scanner);
  EXPECT_EQ(world.bluetooth.centrals.size(), 2U);
  EXPECT_THAT(versions, Each(8U));
  EXPECT_EQ(world.bluetooth.lmpReports, 1);
}

TEST_F(BVBeaconScannerTest, ADroppedScannerHearsNothing) {
  int heard = 0;
  scanner->beaconSignal()->subscribeNext([&heard](const auto&) { ++heard; });
  scanner.reset();
  enter(CentralState::kPoweredOn);
  central->hear(hubAdvert(1, 2), -50);
  world.run();
  EXPECT_EQ(heard, 0);
  EXPECT_THAT(central->calls, IsEmpty());
}

TEST(BluetoothStateTest, TheTextsAreTheConstants) {
  EXPECT_EQ(*BVGBluetoothStateUnknown, "BVGBluetoothStateUnknown");
  EXPECT_EQ(*BVGBluetoothStateResetting, "BVGBluetoothStateResetting");
  EXPECT_EQ(*BVGBluetoothStateUnsupported, "BVGBluetoothStateUnsupported");
  EXPECT_EQ(*BVGBluetoothStateUnauthorized, "BVGBluetoothStateUnauthorized");
  EXPECT_EQ(*BVGBluetoothStatePoweredOff, " BVGBluetoothStatePoweredOff");
  EXPECT_EQ(*BVGBluetoothStatePoweredOn, "BVGBluetoothStatePoweredOn");
}

TEST(BluetoothStateTest, DescriptionsOfUnknownAndOfNothingDiffer) {
  EXPECT_EQ(BVBluetoothStateDescription(BVGBluetoothStateUnknown), "Blutooth state unknown.");
  EXPECT_EQ(BVBluetoothStateDescription(nullptr), "Bluetooth state unknown");
}

TEST(BluetoothStateTest, DescriptionsOfTheOtherStates) {
  EXPECT_EQ(BVBluetoothStateDescription(BVGBluetoothStateResetting), "Bluetooth is resetting.");
  EXPECT_EQ(BVBluetoothStateDescription(BVGBluetoothStateUnsupported),
            "Your hardware does not support Bluetooth Low Energy");
  EXPECT_EQ(BVBluetoothStateDescription(BVGBluetoothStateUnauthorized),
            "Application not authorized to use Bluetooth Low Energy");
  EXPECT_EQ(BVBluetoothStateDescription(BVGBluetoothStatePoweredOff), "Bluetooth is powered off");
  EXPECT_EQ(BVBluetoothStateDescription(BVGBluetoothStatePoweredOn),
            "Bluetooth is on and available");
}

TEST(BluetoothStateTest, AStringWithTheSameTextIsNoState) {
  const std::string text = *BVGBluetoothStatePoweredOn;
  EXPECT_EQ(BVBluetoothStateDescription(&text), "Bluetooth state unknown");
}

TEST(LMPVersionTest, ALeadingHexadecimalNumberIsRead) {
  EXPECT_EQ(parseLMPVersion("0x6"), 6U);
  EXPECT_EQ(parseLMPVersion("0x6\n"), 6U);
  EXPECT_EQ(parseLMPVersion("0XA"), 10U);
  EXPECT_EQ(parseLMPVersion("b"), 11U);
  EXPECT_EQ(parseLMPVersion("\n0x\n8\n"), 8U);
  EXPECT_EQ(parseLMPVersion(" 9 (5.0)"), 9U);
}

TEST(LMPVersionTest, NothingToReadIsZero) {
  for (const char* report : {"", "\n", "0x", "unknown", "-6", "(0x6)"}) {
    EXPECT_EQ(parseLMPVersion(report), 0U) << report;
  }
}

TEST(LMPVersionTest, ANumberTooLargeIsTheLargest) {
  EXPECT_EQ(parseLMPVersion("0xFFFFFFFFFF"), 0xFFFFFFFFU);
}

}  // namespace
}  // namespace tessel::test
