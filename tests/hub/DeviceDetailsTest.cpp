#include <gtest/gtest.h>

#include "DeviceDetails.h"
#include "ProtocolVariant.h"

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

TEST(ProtocolVariantTest, PartsOfAVersionAreComparedOneByOne) {
  struct Row {
    const char* version;
    bool newProtocol;
    bool multiToken;
    const char* application;
  };
  for (const Row& row : {
           Row{"1.3", false, false, "ReceiverAppV1"},
           Row{"0.9", false, false, "ReceiverAppV1"},
           Row{"1.4", true, false, "ReceiverAppV2"},
           Row{"1.5", true, false, "CasterApp"},
           Row{"1.6", true, true, "CasterApp"},
           Row{"1.10", true, true, "CasterApp"},
           Row{"2.0", false, false, "ReceiverAppV1"},
           Row{"2.4", true, false, "CasterApp"},
           Row{"2.6", true, true, "CasterApp"},
       }) {
    const auto variant = ProtocolVariant::forVersion(row.version);
    ASSERT_TRUE(variant) << row.version;
    EXPECT_EQ(variant->newProtocol, row.newProtocol) << row.version;
    EXPECT_EQ(variant->multiToken, row.multiToken) << row.version;
    EXPECT_EQ(variant->applicationName, row.application) << row.version;
  }
}

TEST(ProtocolVariantTest, OtherTextsAreNoVersions) {
  for (const char* text : {"", "1", "1.", ".4", "1.4.1", "a.b", "-1.4", "1.-4", "1. 4", "1.4 "}) {
    EXPECT_FALSE(ProtocolVariant::forVersion(text)) << text;
  }
}

}  // namespace
}  // namespace tessel::hub
