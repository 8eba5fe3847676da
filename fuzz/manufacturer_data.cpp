#include <algorithm>
#include <span>

#include "tessel/BVBeacon.h"
#include "tests/support/SimWorld.h"

// The manufacturer data of any Bluetooth advertisement in range.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tessel::test::SimWorld world;  // a beacon asks what time it is
  const std::span<const std::uint8_t> heard{data, size};
  const auto beacon = tessel::BVBeacon::beaconWithManufacturerAdvertisementData(heard);
  if (!beacon) return 0;
  // What comes out again is the advertisement without company, type and length.
  const auto sent = beacon->manufacturerAdvertismentData();
  if (!std::ranges::equal(sent, heard.last(sent.size()))) __builtin_trap();
  if (beacon->description().empty() || !beacon->isEqualToBeacon(*beacon->copy())) __builtin_trap();
  return 0;
}
