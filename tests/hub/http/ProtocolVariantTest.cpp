#include <gtest/gtest.h>

#include "apps/tessel-hub/http/ProtocolVariant.h"

namespace tessel::hub {
namespace {

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
