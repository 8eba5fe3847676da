#include <gtest/gtest.h>
#include <vector>

#include "apps/tessel-hub/HubOptions.h"

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

TEST(HubOptionsTest, AllAddressesOfBothKindsCanBeListenedAt) {
  EXPECT_EQ(accepted({"--bind", "::"}).bind, "::");
}

struct Mistake {
  std::vector<const char*> words;
  std::string sentence;
};

TEST(HubOptionsTest, WrongUsageGetsOneSentence) {
  const std::string bind =
      "--bind takes an IPv4 address of this machine, or :: for all its addresses, not ";
  const std::string version = "--version takes two numbers joined by a dot, such as 1.6, not ";
  const std::string tls = "--tls takes a port from 1 to 65535, not ";
  for (const auto& [words, sentence] : std::vector<Mistake>{
           {{"--bind", "here"}, bind + "\"here\""},
           {{"--bind", "::1"}, bind + "\"::1\""},
           {{"--bind", "a\nb\x1b[31m"}, bind + R"("a\x0ab\x1b[31m")"},
           {{"--version", "new"}, version + "\"new\""},
           {{"--tls", "0"}, tls + "\"0\""},
           {{"--tls", "65536"}, tls + "\"65536\""},
           {{"--tls", "0x50"}, tls + "\"0x50\""},
           {{"--tls", "55555"}, "Port 55555 is one of the hub's others: give --tls another one"},
           {{"--tls", "1494"}, "Port 1494 is one of the hub's others: give --tls another one"},
           {{"--tls", "8500"}, "Port 8500 is one of the hub's others: give --tls another one"},
           {{"--tls", ""}, "--tls needs a value, not an empty one"},
           {{"--tls", "--cert", "a.pem"}, "--cert and --key belong together: give both, or none"},
           {{"--tls", "--key", "a.key"}, "--cert and --key belong together: give both, or none"},
           {{"--write-cert", "a.pem"}, "--cert, --key and --write-cert need --tls"},
           {{"--headless", "--fullscreen"}, "--headless has no window to fill a screen"},
           {{"--frame-events"}, "--frame-events needs --json"},
           {{"--record"}, "--record needs a value"},
           {{"--record", "--json"},
            "--record needs a value, and \"--json\" behind it looks like an option (a value like "
            "that is joined with =)"},
           {{"--record", ""}, "--record needs a value, not an empty one"},
           {{"--snapshot", ""}, "--snapshot needs a value, not an empty one"},
           {{"--script", ""}, "--script needs a value, not an empty one"},
           {{"--name", ""}, "--name needs a value, not an empty one"},
           {{"--cert", ""}, "--cert needs a value, not an empty one"},
           {{"--key", ""}, "--key needs a value, not an empty one"},
           {{"--write-cert", ""}, "--write-cert needs a value, not an empty one"},
           {{"--log", ""}, "--log needs a value, not an empty one"},
           {{"--version", "1.4", "--version", "1.5"}, "--version is given twice"},
           {{"cast"}, "\"cast\" is one word too many"},
           {{"--what"}, "There is no option \"--what\""},
       }) {
    const auto parsed = parse(words);
    const auto* answer = std::get_if<HubOptions::Answer>(&parsed);
    ASSERT_NE(answer, nullptr) << sentence;
    EXPECT_EQ(answer->exitCode, 2);
    EXPECT_EQ(answer->text, "tessel-hub: " + sentence + ". See tessel-hub --help.\n");
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
