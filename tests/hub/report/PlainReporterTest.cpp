#include <gtest/gtest.h>

#include "apps/tessel-hub/report/HubReporter.h"

namespace tessel::hub {
namespace {

std::string greeting(std::vector<std::string> senderAddresses) {
  testing::internal::CaptureStdout();
  HubReporter::forPerson()->listening({.address = "0.0.0.0",
                                       .senderAddresses = std::move(senderAddresses),
                                       .name = "Room 4",
                                       .version = "1.6"});
  return testing::internal::GetCapturedStdout();
}

TEST(PlainReporterTest, TheCommandThatCastsIsWrittenOut) {
  EXPECT_EQ(greeting({"192.168.1.100"}),
            "This is the hub \"Room 4\", version 1.6.\n"
            "Ready: cast to it with  tessel cast 192.168.1.100\n");
}

TEST(PlainReporterTest, EachAddressGetsItsCommand) {
  EXPECT_EQ(greeting({"192.168.1.100", "10.0.0.2"}),
            "This is the hub \"Room 4\", version 1.6.\n"
            "Ready: cast to it with  tessel cast 192.168.1.100\n"
            "                   or  tessel cast 10.0.0.2\n");
}

TEST(PlainReporterTest, AMachineInNoNetworkCastsToItself) {
  EXPECT_EQ(greeting({}),
            "This is the hub \"Room 4\", version 1.6.\n"
            "Ready: cast to it with  tessel cast 127.0.0.1  on this machine, which is in no "
            "network.\n");
}

TEST(PlainReporterTest, TheEndTellsThePicturesAndTheirRateToOneDecimal) {
  const auto reporter = HubReporter::forPerson();
  testing::internal::CaptureStdout();
  reporter->ended({.seconds = 2.96, .framesShown = 60, .fps = 20.27}, "");
  reporter->ended({.seconds = 1, .framesShown = 0}, "a message of 3 bytes");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "The cast has ended. 60 pictures in 3.0 seconds, 20.3 a second.\n"
            "The cast has ended: a message of 3 bytes. 0 pictures in 1.0 seconds, 0.0 a second.\n");
}

}  // namespace
}  // namespace tessel::hub
