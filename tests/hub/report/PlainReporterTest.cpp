#include <gtest/gtest.h>

#include "apps/tessel-hub/report/HubReporter.h"

namespace tessel::hub {
namespace {

std::string told(std::vector<std::string> senderAddresses) {
  testing::internal::CaptureStdout();
  HubReporter::forPerson()->listening({.address = "0.0.0.0",
                                       .senderAddresses = std::move(senderAddresses),
                                       .name = "Room 4",
                                       .version = "1.6"});
  return testing::internal::GetCapturedStdout();
}

TEST(PlainReporterTest, TheCommandThatCastsIsWrittenOut) {
  EXPECT_EQ(told({"192.168.1.100"}),
            "This is the hub \"Room 4\", version 1.6.\n"
            "Ready: cast to it with  tessel cast 192.168.1.100\n");
}

TEST(PlainReporterTest, EachAddressGetsItsCommand) {
  EXPECT_EQ(told({"192.168.1.100", "10.0.0.2"}),
            "This is the hub \"Room 4\", version 1.6.\n"
            "Ready: cast to it with  tessel cast 192.168.1.100\n"
            "                   or  tessel cast 10.0.0.2\n");
}

TEST(PlainReporterTest, AMachineInNoNetworkCastsToItself) {
  EXPECT_EQ(told({}),
            "This is the hub \"Room 4\", version 1.6.\n"
            "Ready: cast to it with  tessel cast 127.0.0.1  on this machine, which is in no "
            "network.\n");
}

}  // namespace
}  // namespace tessel::hub
