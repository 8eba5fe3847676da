#include <gmock/gmock.h>

#include "wire/DetailsURL.h"
#include "wire/Ports.h"

namespace tessel::test {
namespace {

TEST(PortsTest, EachPortIsTheSameAsTextAndAsNumber) {
  EXPECT_STREQ(kDetailsPort.text, "55555");
  EXPECT_EQ(kDetailsPort.number, 55555);
  EXPECT_STREQ(kChannelsPort.text, "1494");
  EXPECT_EQ(kChannelsPort.number, 1494);
  EXPECT_STREQ(kOldInputPort.text, "8500");
  EXPECT_EQ(kOldInputPort.number, 8500);
}

TEST(PortsTest, DeviceDetailsAreOnTheirPort) {
  EXPECT_EQ(detailsURL("10.0.0.7"), "http://10.0.0.7:55555/device-details.xml");
}

}  // namespace
}  // namespace tessel::test
