#include "tests/display/DisplayTest.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class DisplayLaunchTest : public DisplayTest {
 protected:
  std::optional<std::string> stopURLFor(const std::map<std::string, std::string>& headers) {
    start();
    answerLaunch("", headers);
    return display->stopURL();
  }
  std::optional<std::string> tokenFrom(const std::string& body) {
    start();
    answerLaunch(body);
    return display->sessionToken();
  }
};

TEST_F(DisplayLaunchTest, PostsToTheApplication) {
  start();
  ASSERT_EQ(world.http.requests.size(), 1U);
  EXPECT_EQ(world.http.last()->request.url, "http://10.0.0.7:55555/apps/CasterApp");
  EXPECT_EQ(world.http.last()->request.method, "POST");
  EXPECT_EQ(world.http.last()->timeout, 60s);
}

TEST_F(DisplayLaunchTest, AFailedLaunchCompletesAtOnceWithItsError) {
  start();
  const Error error{"tessel.url", 7, "Connection refused"};
  world.http.last()->fail(error);
  world.run();
  EXPECT_THAT(outcomes, ElementsAre(Optional(error)));
  EXPECT_FALSE(outcomeOnSocketQueue);
  EXPECT_THAT(world.log.lines(),
              ElementsAre("error: Error Domain=tessel.url Code=7 \"Connection refused\""));
  EXPECT_TRUE(world.network.connections.empty());
  EXPECT_EQ(display->stopURL(), std::nullopt);
}

TEST_F(DisplayLaunchTest, TheStatusOfTheAnswerIsNotLookedAt) {
  start();
  world.http.last()->respond("", {{"Location", "http://10.0.0.7/x"}}, 500);
  world.run();
  EXPECT_EQ(display->stopURL(), "http://10.0.0.7/x");
  EXPECT_EQ(world.network.connections.size(), 1U);
}

TEST_F(DisplayLaunchTest, TheLocationIsTheStopURL) {
  EXPECT_EQ(stopURLFor({{"Location", "http://10.0.0.7:55555/apps/CasterApp/abc"}}),
            "http://10.0.0.7:55555/apps/CasterApp/abc");
}

TEST_F(DisplayLaunchTest, WithoutALocationTheStopURLIsTheApplicationsRun) {
  EXPECT_EQ(stopURLFor({}), "http://10.0.0.7:55555/apps/CasterApp/run");
}

TEST_F(DisplayLaunchTest, AnEmptyLocationCountsAsNone) {
  EXPECT_EQ(stopURLFor({{"Location", ""}}), "http://10.0.0.7:55555/apps/CasterApp/run");
}

TEST_F(DisplayLaunchTest, WithSSLALocationWithoutHttpsYieldsTheApplicationsRun) {
  session->setSslEnabled(true);
  session->setApplicationURL("https://10.0.0.7:443/apps/");
  EXPECT_EQ(stopURLFor({{"Location", "http://10.0.0.7/x"}}),
            "https://10.0.0.7:443/apps/CasterApp/run");
}

TEST_F(DisplayLaunchTest, WithoutSSLALocationWithoutHttpsIsTakenAsItIs) {
  EXPECT_EQ(stopURLFor({{"Location", "ftp://somewhere/x"}}), "ftp://somewhere/x");
}

TEST_F(DisplayLaunchTest, WithSSLALocationWithHttpsIsTakenAndItsCaseCounts) {
  session->setSslEnabled(true);
  EXPECT_EQ(stopURLFor({{"Location", "https://10.0.0.7/x"}}), "https://10.0.0.7/x");
  EXPECT_EQ(stopURLFor({{"Location", "HTTPS://10.0.0.7/x"}}),
            "http://10.0.0.7:55555/apps/CasterApp/run");
}

TEST_F(DisplayLaunchTest, TheTokenIsTheTextOfItsElement) {
  EXPECT_EQ(tokenFrom("<app><token>abc123</token></app>"), "abc123");
  EXPECT_EQ(display->xmlelementname(), "token");
}

TEST_F(DisplayLaunchTest, ATokenOfOneCharacterLeavesTheTokenUnchanged) {
  EXPECT_EQ(tokenFrom("<app><token>a</token></app>"), std::nullopt);
  EXPECT_EQ(tokenFrom("<app><token>\xC3\xA9</token></app>"), std::nullopt);  // one of two bytes
  EXPECT_EQ(tokenFrom("<app><token>ab</token></app>"), "ab");
  EXPECT_EQ(tokenFrom("<app><token>c</token></app>"), "ab");
}

TEST_F(DisplayLaunchTest, ATokensLengthCountsInUTF16Units) {
  // Outside the basic plane one character is two units.
  EXPECT_EQ(tokenFrom("<app><token>\xF0\x9F\x93\xBA</token></app>"), "\xF0\x9F\x93\xBA");
}

TEST_F(DisplayLaunchTest, ATokenFollowedByIndentationEndsAsTheWhiteSpace) {
  EXPECT_EQ(tokenFrom("<app><token>abc</token>\n  <name>x y</name></app>"), "\n  ");
}

TEST_F(DisplayLaunchTest, ABodyThatIsNoXMLDoesNotStopTheLaunch) {
  EXPECT_EQ(tokenFrom("<app><token>abc</token><"), "abc");
  EXPECT_EQ(world.network.connections.size(), 1U);
}

TEST_F(DisplayLaunchTest, TheDebugMovieStreamIsOpenedAfterASuccess) {
  world.userDefaults.strings["DebugMovieOutputPath"] = "~/movie.h264";
  startUntilNegotiating();
  EXPECT_THAT(world.files.streamsOpened, IsEmpty());
  hubSends(kContextResponse);
  EXPECT_THAT(world.files.streamsOpened, ElementsAre(world.files.expandTilde("~/movie.h264")));
  EXPECT_NE(display->debugMovieOutputStream(), nullptr);
}

TEST_F(DisplayLaunchTest, ADebugMovieStreamThatCannotBeMadeIsLoggedOnly) {
  world.userDefaults.strings["DebugMovieOutputPath"] = "/movie.h264";
  world.files.streamFails = true;
  startUntilCasting();
  EXPECT_TRUE(world.log.has(
      "-[TSLDisplayConnection startWithCompletionHandler:]_block_invoke: Failed to create debug "
      "movie output stream at path: /movie.h264"));
  EXPECT_THAT(outcomes, ElementsAre(std::nullopt));
}

TEST_F(DisplayLaunchTest, NoDebugMovieStreamIsMadeWithoutAPathOrAfterAFailure) {
  world.userDefaults.strings["DebugMovieOutputPath"] = "";
  startUntilCasting();
  EXPECT_EQ(display->debugMovieOutputStream(), nullptr);

  world.userDefaults.strings["DebugMovieOutputPath"] = "/movie.h264";
  display = TSLDisplayConnection::initWithHub(session);
  startUntilNegotiating();
  world.advance(5s);
  EXPECT_EQ(display->debugMovieOutputStream(), nullptr);
  EXPECT_THAT(world.files.streamsOpened, IsEmpty());
}

}  // namespace
}  // namespace tessel::test
