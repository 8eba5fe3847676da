#include <cstdio>
#include <gmock/gmock.h>

#include "tessel/BVBeacon.h"
#include "tests/discovery/Adverts.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;

const UUID kUUID = TSLHubProximityUUID;

const Bytes kAdvert = {
    0x4C, 0x00,                                      // company, little-endian
    0x02,                                            // type
    0x15,                                            // remaining length
    0x7D, 0x1E, 0x4B, 0x9A, 0x2C, 0x63, 0x4F, 0x08,  // proximity UUID
    0xA5, 0xB7, 0x91, 0xE0, 0xC4, 0xD2, 0xF8, 0x6B,  //
    0x0A, 0x01,                                      // major
    0x00, 0x2A,                                      // minor
    0xC5,                                            // measured power
};

class BVBeaconTest : public testing::Test {
 protected:
  static std::shared_ptr<BVBeacon> parse(const Bytes& data) {
    return BVBeacon::beaconWithManufacturerAdvertisementData(data);
  }

  SimWorld world;
};

TEST_F(BVBeaconTest, TwentyFiveBytesParseToIdentityAndPower) {
  const auto beacon = parse(kAdvert);
  ASSERT_TRUE(beacon);
  EXPECT_EQ(beacon->proximityUUID().string(), "7D1E4B9A-2C63-4F08-A5B7-91E0C4D2F86B");
  EXPECT_EQ(beacon->major(), 2561);
  EXPECT_EQ(beacon->minor(), 42);
  EXPECT_EQ(beacon->measuredPower(), -59);
  EXPECT_EQ(beacon->lastUpdated(), world.now());
  EXPECT_FALSE(beacon->RSSI());
  EXPECT_FALSE(beacon->IPAddr());
  EXPECT_FALSE(beacon->friendlyName());
  EXPECT_FALSE(beacon->lastGetFriendlyName());
  EXPECT_FALSE(beacon->keyValue());
}

TEST_F(BVBeaconTest, WrongLengthCompanyTypeOrRemainingLengthGiveNone) {
  Bytes longer = kAdvert;
  longer.push_back(0);
  EXPECT_FALSE(parse(longer));
  Bytes shorter = kAdvert;
  shorter.pop_back();
  EXPECT_FALSE(parse(shorter));
  Bytes bigEndianCompany = kAdvert;
  std::swap(bigEndianCompany[0], bigEndianCompany[1]);
  EXPECT_FALSE(parse(bigEndianCompany));
  Bytes type = kAdvert;
  type[2] = 0x10;
  EXPECT_FALSE(parse(type));
  Bytes remaining = kAdvert;
  remaining[3] = 0x16;
  EXPECT_FALSE(parse(remaining));
}

TEST_F(BVBeaconTest, ADictionaryWithoutManufacturerDataGivesNone) {
  EXPECT_FALSE(BVBeacon::beaconWithAdvertismentDataDictionary({}));
  EXPECT_FALSE(BVBeacon::beaconWithAdvertismentDataDictionary({{"kCBAdvDataLocalName", kAdvert}}));
}

TEST_F(BVBeaconTest, ADictionaryWithManufacturerDataGivesItsBeacon) {
  const auto beacon = BVBeacon::beaconWithAdvertismentDataDictionary(
      {{CBAdvertisementDataManufacturerDataKey, kAdvert}});
  ASSERT_TRUE(beacon);
  EXPECT_EQ(beacon->major(), 2561);
}

TEST_F(BVBeaconTest, ThePayloadIsTheAdvertisementFromOffsetFourAndParsesToNone) {
  const auto payload = parse(kAdvert)->manufacturerAdvertismentData();
  EXPECT_EQ(payload, Bytes(kAdvert.begin() + 4, kAdvert.end()));
  EXPECT_EQ(payload.size(), 21U);
  EXPECT_FALSE(parse(payload));
}

TEST_F(BVBeaconTest, TheAdvertisementDictionaryHoldsThePayloadOnly) {
  const auto beacon = parse(kAdvert);
  EXPECT_THAT(beacon->advertismentDictionary(),
              testing::ElementsAre(testing::Pair("kCBAdvDataAppleBeaconKey",
                                                 beacon->manufacturerAdvertismentData())));
}

TEST_F(BVBeaconTest, MeasuredPowerKeepsItsLowEightBitsInThePayload) {
  const auto beacon = BVBeacon::initWithProximityUUID(kUUID, 1, 2, -300);
  EXPECT_EQ(beacon->manufacturerAdvertismentData().back(), 0xD4);
}

TEST_F(BVBeaconTest, BeaconsThatDifferInRSSIAndMeasuredPowerAreEqual) {
  const auto one = BVBeacon::initWithProximityUUID(kUUID, 1, 2, -59);
  const auto other = BVBeacon::initWithProximityUUID(kUUID, 1, 2, -40);
  other->setRSSI(-90);
  EXPECT_TRUE(one->isEqualToBeacon(*other));
  EXPECT_TRUE(one->isEqualTo(other));
  EXPECT_FALSE(one->isEqualTo(nullptr));
}

TEST_F(BVBeaconTest, BeaconsThatDifferInIdentityAreNotEqual) {
  const auto one = BVBeacon::initWithProximityUUID(kUUID, 1, 2, -59);
  EXPECT_FALSE(one->isEqualToBeacon(*BVBeacon::initWithProximityUUID(kUUID, 2, 2, -59)));
  EXPECT_FALSE(one->isEqualToBeacon(*BVBeacon::initWithProximityUUID(kUUID, 1, 1, -59)));
  EXPECT_FALSE(one->isEqualToBeacon(*BVBeacon::initWithProximityUUID(UUID{}, 1, 2, -59)));
}

TEST_F(BVBeaconTest, TheIdentityMayBeSet) {
  const auto beacon = BVBeacon::initWithProximityUUID(UUID{}, 1, 2, -59);
  beacon->setProximityUUID(kUUID);
  beacon->setMajor(2561);
  beacon->setMinor(42);
  EXPECT_EQ(beacon->proximityUUID(), kUUID);
  EXPECT_EQ(beacon->major(), 2561);
  EXPECT_EQ(beacon->minor(), 42);
  const auto advertised = parse(kAdvert);
  EXPECT_TRUE(beacon->isEqualToBeacon(*advertised));
  EXPECT_EQ(beacon->manufacturerAdvertismentData(), advertised->manufacturerAdvertismentData());
}

TEST_F(BVBeaconTest, ACopyHasNeitherAddressNorName) {
  const auto beacon = parse(kAdvert);
  beacon->setRSSI(-70);
  beacon->setIPAddr("10.1.0.42");
  beacon->setFriendlyName("Room");
  beacon->setLastGetFriendlyName(world.now());
  beacon->setMeasuredPower(-40);
  world.advance(5s);
  const auto copy = beacon->copy();
  EXPECT_NE(copy, beacon);
  EXPECT_TRUE(copy->isEqualToBeacon(*beacon));
  EXPECT_EQ(copy->measuredPower(), -40);
  EXPECT_EQ(copy->RSSI(), -70);
  EXPECT_EQ(copy->lastUpdated(), world.now() - 5s);
  EXPECT_FALSE(copy->IPAddr());
  EXPECT_FALSE(copy->friendlyName());
  EXPECT_FALSE(copy->lastGetFriendlyName());
}

TEST_F(BVBeaconTest, TheDescriptionTellsAddressOfTheObjectAndIdentity) {
  const auto beacon = parse(kAdvert);
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<void*>(beacon.get()));
  EXPECT_EQ(beacon->description(),
            std::string{"<BVBeacon: "} + address +
                ", UUID: 7D1E4B9A-2C63-4F08-A5B7-91E0C4D2F86B, major: 2561, minor: 42>");
}

TEST_F(BVBeaconTest, EveryTruncationGivesNone) {
  for (std::size_t length = 0; length < kAdvert.size(); ++length) {
    EXPECT_FALSE(parse(Bytes(kAdvert.begin(), kAdvert.begin() + static_cast<long>(length))))
        << length << " bytes";
  }
}

TEST_F(BVBeaconTest, EverySingleByteChangeGivesNoneOrThatVeryField) {
  for (std::size_t at = 0; at < kAdvert.size(); ++at) {
    for (int value = 0; value < 256; ++value) {
      Bytes data = kAdvert;
      data[at] = static_cast<std::uint8_t>(value);
      const auto beacon = parse(data);
      ASSERT_EQ(beacon != nullptr, data == kAdvert || at >= 4) << at << " " << value;
      if (beacon) {
        EXPECT_EQ(beacon->manufacturerAdvertismentData(), Bytes(data.begin() + 4, data.end()));
        EXPECT_EQ(beacon->measuredPower(), static_cast<std::int8_t>(data[24]));
      }
    }
  }
}

TEST(UUIDTest, TextFormGoesBothWays) {
  const auto uuid = UUID::fromString("7d1e4b9a-2C63-4f08-A5B7-91e0C4D2F86B");
  ASSERT_TRUE(uuid);
  EXPECT_EQ(*uuid, kUUID);
  EXPECT_EQ(uuid->string(), "7D1E4B9A-2C63-4F08-A5B7-91E0C4D2F86B");
}

TEST(UUIDTest, AnyOtherTextIsNoUUID) {
  const std::string good = "7D1E4B9A-2C63-4F08-A5B7-91E0C4D2F86B";
  for (std::size_t at = 0; at < good.size(); ++at) {
    std::string bad = good;
    bad[at] = 'G';
    EXPECT_FALSE(UUID::fromString(bad)) << bad;
    EXPECT_FALSE(UUID::fromString(good.substr(0, at))) << at;
  }
  EXPECT_FALSE(UUID::fromString(good + "0"));
}

}  // namespace
}  // namespace tessel::test
