#include <gtest/gtest.h>
#include <vector>

#include "HubOptions.h"

namespace tessel::hub {
namespace {

std::variant<HubOptions, HubOptions::Answer> parse(std::vector<const char*> words) {
  words.insert(words.begin(), "tessel-hub");
  return HubOptions::parse(static_cast<int>(words.size()), words.data());
}

HubOptions accepted(std::vector<const char*> words) {
  const auto parsed = parse(std::move(words));
  if (const auto* answer = std::get_if<HubOptions::Answer>(&parsed)) {
    ADD_FAILURE() << answer->text;
    return {};
  }
  return std::get<HubOptions>(parsed);
}

TEST(HubOptionsTest, NothingGivenIsANewHubWithAWindow) {
  const HubOptions options = accepted({});
  EXPECT_EQ(options.bind, "0.0.0.0");
  EXPECT_EQ(options.variant.version, "1.6");
  EXPECT_FALSE(options.name.empty());
  EXPECT_EQ(options.tlsPort, 0);
  EXPECT_FALSE(options.headless);
  EXPECT_TRUE(options.advertise);
}

TEST(HubOptionsTest, TlsPortMayBeGiven) {
  EXPECT_EQ(accepted({"--tls"}).tlsPort, HubOptions::kDefaultTlsPort);
  EXPECT_EQ(accepted({"--tls", "9443", "--headless"}).tlsPort, 9443);
  EXPECT_EQ(accepted({"--tls", "--headless"}).tlsPort, HubOptions::kDefaultTlsPort);
}

TEST(HubOptionsTest, EverythingElseIsTaken) {
  const HubOptions options =
      accepted({"--bind", "127.0.0.2", "--name", "Room 4", "--version", "1.3", "--record", "a.h264",
                "--snapshot", "a.png", "--no-advertise", "--json", "--frame-events"});
  EXPECT_EQ(options.bind, "127.0.0.2");
  EXPECT_EQ(options.name, "Room 4");
  EXPECT_EQ(options.variant.version, "1.3");
  EXPECT_EQ(options.record, "a.h264");
  EXPECT_EQ(options.snapshot, "a.png");
  EXPECT_FALSE(options.advertise);
  EXPECT_TRUE(options.json);
  EXPECT_TRUE(options.frameEvents);
}

TEST(HubOptionsTest, WrongUsageGetsOneSentence) {
  for (const std::vector<const char*>& words : std::vector<std::vector<const char*>>{
           {"--bind", "here"},
           {"--version", "new"},
           {"--tls", "0"},
           {"--tls", "65536"},
           {"--cert", "a.pem", "--tls"},
           {"--key", "a.key", "--tls"},
           {"--write-cert", "a.pem"},
           {"--headless", "--fullscreen"},
           {"--frame-events"},
           {"--record"},
           {"cast"},
           {"--what"},
       }) {
    const auto parsed = parse(words);
    const auto* answer = std::get_if<HubOptions::Answer>(&parsed);
    ASSERT_NE(answer, nullptr) << words.front();
    EXPECT_EQ(answer->exitCode, 2);
    EXPECT_EQ(answer->text.find('\n'), answer->text.size() - 1) << answer->text;
    EXPECT_TRUE(answer->text.ends_with(". See tessel-hub --help.\n")) << answer->text;
    EXPECT_EQ(answer->text.find(".."), std::string::npos) << answer->text;
  }
}

TEST(HubOptionsTest, HelpIsNoMistake) {
  const auto parsed = parse({"--help"});
  const auto* answer = std::get_if<HubOptions::Answer>(&parsed);
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer->exitCode, 0);
  EXPECT_NE(answer->text.find("--snapshot"), std::string::npos);
  EXPECT_NE(answer->text.find("Ctrl+Alt+Q"), std::string::npos);
}

}  // namespace
}  // namespace tessel::hub
