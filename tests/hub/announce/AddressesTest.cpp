#include <gmock/gmock.h>

#include "apps/tessel-hub/announce/Addresses.h"

namespace tessel::hub {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

TEST(AddressesTest, OneAddressStandsForItself) {
  EXPECT_THAT(servedAddresses("127.0.0.2"), ElementsAre("127.0.0.2"));
  EXPECT_THAT(addressesForSenders("127.0.0.2"), ElementsAre("127.0.0.2"));
}

TEST(AddressesTest, AllAddressesAreServedAndTheLoopbackIsOfNoUseToSenders) {
  for (const char* all : {"0.0.0.0", "::"}) {
    EXPECT_THAT(servedAddresses(all), Contains("127.0.0.1"));
    EXPECT_THAT(addressesForSenders(all), Each(Not(StartsWith("127."))));
  }
}

}  // namespace
}  // namespace tessel::hub
