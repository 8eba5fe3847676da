#include <gtest/gtest.h>

#include "apps/tessel-hub/http/DeviceDetails.h"

namespace tessel::hub {
namespace {

TEST(DeviceDetailsTest, DocumentStandsInOneLine) {
  const DeviceDetails details{
      .version = "1.6", .friendlyName = "Room 4", .tlsPort = 8443, .busy = true};
  EXPECT_EQ(details.xml(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><device><specVersion>1.6</specVersion>"
            "<friendlyName>Room 4</friendlyName><SSL>8443</SSL><busy>1</busy></device>");
}

TEST(DeviceDetailsTest, FreeHubWithoutTlsSaysZero) {
  const DeviceDetails details{.version = "1.3", .friendlyName = "x"};
  EXPECT_NE(details.xml().find("<SSL>0</SSL><busy>0</busy>"), std::string::npos);
}

TEST(DeviceDetailsTest, NamesCannotBreakTheDocument) {
  EXPECT_EQ(escapedXml("A & B <b>\"]]>\"\n\x01\x7f"), "A &amp; B &lt;b&gt;\"]]&gt;\"\x7f");
  EXPECT_EQ(escapedXml("Büro"), "Büro");
}

TEST(DeviceDetailsTest, AddressesStandInUrlsAsTheyMust) {
  EXPECT_EQ(urlHost("192.168.1.2"), "192.168.1.2");
  EXPECT_EQ(urlHost("::ffff:192.168.1.2"), "192.168.1.2");
  EXPECT_EQ(urlHost("fe80::1"), "[fe80::1]");
}

}  // namespace
}  // namespace tessel::hub
