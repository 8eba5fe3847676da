#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tessel/Constants.h"
#include "tessel/Error.h"

namespace tessel::test {
namespace {

TEST(ConstantsTest, TheVersionIs1AsANumberAndAsTextOfOneLine) {
  EXPECT_EQ(TesselVersionNumber, 1.0);
  EXPECT_STREQ(TesselVersionString, "@(#)PROGRAM:Tessel  PROJECT:Tessel-1\n");
}

TEST(ConstantsTest, TheErrorDomainIsAReverseDNSLabel) {
  EXPECT_THAT(TSLErrorDomain, testing::MatchesRegex("[a-z]+\\.[a-z.]+\\.TSLErrorDomain"));
}

TEST(ConstantsTest, MouseAndKeyboardPortsOfTheNewAndTheOldProtocol) {
  EXPECT_STREQ(TSLMouseConnectorDefaultPort, "1494");
  EXPECT_STREQ(TSLMouseConnectorOldPort, "8500");
  EXPECT_STREQ(TSLKeyBoardConnectorDefaultPort, "1494");
  EXPECT_STREQ(TSLKeyBoardConnectorOldPort, "8500");
}

}  // namespace
}  // namespace tessel::test
