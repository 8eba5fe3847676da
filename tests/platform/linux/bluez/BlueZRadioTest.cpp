#include <gmock/gmock.h>

#include "platform/linux/bluez/BlueZRadio.h"

namespace tessel::platform {
namespace {

using testing::ElementsAre;
using testing::Pair;
using Service = BlueZClient::Service;

constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kDevice = "org.bluez.Device1";
constexpr const char* kAdapterPath = "/org/bluez/hci0";
constexpr const char* kDevicePath = "/org/bluez/hci0/dev_C0_1E_AC_5B_00_01";

Variant number(std::int64_t value) { return {value}; }

// A radio with one adapter, which is on.
class BlueZRadioTest : public testing::Test {
 protected:
  BlueZRadioTest() {
    radio.serviceChanged(Service::kStarting);
    radio.interfaceAdded(kAdapterPath, kAdapter, {{"Powered", {true}}});
    radio.serviceChanged(Service::kListed);
  }
  // A device that has just advertised with these entries of manufacturer data.
  void advertise(const Variant::Dictionary& data) {
    radio.interfaceAdded(kDevicePath, kDevice,
                         {{"RSSI", number(-60)}, {"ManufacturerData", {data}}});
  }

  BlueZRadio radio;
};

TEST_F(BlueZRadioTest, AnAdvertisementHasTheDataOfEachCompany) {
  advertise({{number(0x0075), {Bytes{1}}}, {number(0x004C), {Bytes{2, 3}}}});
  const auto advertisement = radio.takeAdvertisement();
  ASSERT_TRUE(advertisement);
  EXPECT_THAT(advertisement->manufacturerData,
              ElementsAre(Pair(0x004C, Bytes{2, 3}), Pair(0x0075, Bytes{1})));
  EXPECT_EQ(advertisement->rssi, -60);
}

TEST_F(BlueZRadioTest, EntriesThatAreNoDataOfACompanyAreLeftOut) {
  advertise({{number(-1), {Bytes{1}}},
             {number(0x10000), {Bytes{1}}},
             {{std::string{"76"}}, {Bytes{1}}},
             {number(1), {std::string{"text"}}},
             {number(2), {Bytes{2}}}});
  const auto advertisement = radio.takeAdvertisement();
  ASSERT_TRUE(advertisement);
  EXPECT_THAT(advertisement->manufacturerData, ElementsAre(Pair(2, Bytes{2})));
}

TEST_F(BlueZRadioTest, DataOfAnotherTypeLeaveWhatWasThere) {
  advertise({{number(2), {Bytes{2}}}});
  radio.takeAdvertisement();
  radio.propertiesChanged(kDevicePath, kDevice,
                          {{"ManufacturerData", {true}}, {"RSSI", number(-50)}}, {});
  const auto advertisement = radio.takeAdvertisement();
  ASSERT_TRUE(advertisement);
  EXPECT_THAT(advertisement->manufacturerData, ElementsAre(Pair(2, Bytes{2})));
  EXPECT_EQ(advertisement->rssi, -50);
}

TEST_F(BlueZRadioTest, AnAdvertisementIsTakenOnce) {
  advertise({{number(2), {Bytes{2}}}});
  EXPECT_TRUE(radio.takeAdvertisement());
  EXPECT_FALSE(radio.takeAdvertisement());
}

TEST_F(BlueZRadioTest, DiscoveryIsOnWhenTheAdapterSignalsIt) {
  EXPECT_FALSE(radio.discovering(kAdapterPath));
  radio.propertiesChanged(kAdapterPath, kAdapter, {{"Discovering", {true}}}, {});
  EXPECT_TRUE(radio.discovering(kAdapterPath));
  EXPECT_FALSE(radio.discovering("/org/bluez/hci1"));
}

}  // namespace
}  // namespace tessel::platform
