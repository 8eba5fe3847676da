#include <gmock/gmock.h>

#include "apps/tessel/Explain.h"

namespace tessel::apps {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string explained(const std::string& domain, long code, const std::string& text = {}) {
  return explain({domain, code, text}, "192.168.1.100");
}

TEST(ExplainTest, AnUntrustedCertificateIsNoMatterOfTheNetwork) {
  EXPECT_THAT(explained("tessel.url", 60, "The server's certificate is not trusted."),
              AllOf(HasSubstr("SSL_CERT_FILE"), HasSubstr("--write-cert"),
                    HasSubstr("192.168.1.100"), Not(HasSubstr("network"))));
}

TEST(ExplainTest, ACertificateFileThatCannotBeReadIsNamed) {
  EXPECT_THAT(explained("tessel.url", 77, "error setting certificate file: /none"),
              AllOf(HasSubstr("/none"), HasSubstr("SSL_CERT_FILE"), Not(HasSubstr("network"))));
}

TEST(ExplainTest, AnAddressThatDoesNotAnswerIsAMatterOfTheNetwork) {
  EXPECT_EQ(explained("tessel.url", 7, "Could not connect to the server."),
            "The hub at 192.168.1.100 cannot be reached (Could not connect to the server): check "
            "the address, and that this computer is in the hub's network.");
}

TEST(ExplainTest, WhoAnswersWithTooMuchIsNoHub) {
  EXPECT_EQ(explained("tessel.url", 63, "The answer is larger than 1 MiB."),
            "The device at 192.168.1.100 answered with more than a hub does (The answer is larger "
            "than 1 MiB): check that the address is a hub's.");
}

TEST(ExplainTest, AChannelThatDidNotOpenMayBeBlockedOrUntrusted) {
  EXPECT_THAT(explained(TSLErrorDomain, 3), AllOf(HasSubstr("firewall"), HasSubstr("TLS")));
}

TEST(ExplainTest, AScreenThatCannotBeCastIsAMatterForTheDoctor) {
  EXPECT_THAT(explained("NSOSStatusErrorDomain", -12902), HasSubstr("tessel doctor"));
}

TEST(ExplainTest, WithoutAScreenTheOptionOfTheTestPictureIsNamed) {
  const std::string remedy = "The test picture needs no display (--screen pattern).";
  for (const ScreenSource source : {ScreenSource::kAutomatic, ScreenSource::kX11}) {
    EXPECT_EQ(advice(Obstacle{"There is no display.", "Connect one."}, source),
              "Connect one. " + remedy);
    EXPECT_EQ(advice(Obstacle{"There is no display.", ""}, source), remedy);
  }
  EXPECT_EQ(advice({"screen", false, "There is no display.", "Connect one."}),
            "Connect one. " + remedy);
}

TEST(ExplainTest, WhatTheTestPictureDoesNotMendDoesNotNameIt) {
  EXPECT_EQ(advice(Obstacle{"It is too small.", "Enlarge it."}, ScreenSource::kPattern),
            "Enlarge it.");
  EXPECT_EQ(advice({"screen", true, "Yes.", ""}), "");
  EXPECT_EQ(advice({"bluetooth", false, "No.", "Switch it on."}), "Switch it on.");
}

}  // namespace
}  // namespace tessel::apps
