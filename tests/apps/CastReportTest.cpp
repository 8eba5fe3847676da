#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/tessel/CastReport.h"

namespace tessel::apps {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* kHost = "192.168.1.100";

std::optional<std::size_t> noTerminal() { return std::nullopt; }
template <std::size_t columns>
std::optional<std::size_t> terminal() {
  return columns;
}

// What `tell` writes to standard error, and to standard output.
template <typename Tell>
std::string standardError(Tell tell) {
  testing::internal::CaptureStderr();
  tell();
  return testing::internal::GetCapturedStderr();
}
template <typename Tell>
std::string standardOutput(Tell tell) {
  testing::internal::CaptureStdout();
  standardError(tell);
  return testing::internal::GetCapturedStdout();
}

TSLSessionStatistics statistics(std::int64_t frames) {
  return {.framesCaptured = frames + 2,
          .framesEncoded = frames,
          .framesDropped = 1,
          .bytesSent = frames * 50'000,
          .credits = 5,
          .encodeSeconds = static_cast<double>(frames) * 0.004};
}

TEST(CastReportTest, FramesBeforeTheCastingCountInNoRate) {
  CastReport report{kHost, true, true, noTerminal};
  report.connected({640, 360}, statistics(38));
  EXPECT_EQ(standardOutput([&] { report.casting(1s, statistics(58)); }),
            R"({"event":"stats","seconds":1,"framesCaptured":60,"framesEncoded":58,)"
            R"("framesDropped":1,"bytesSent":2900000,"credits":5,"encodeMs":4.0,"fps":20.0})"
            "\n");
}

TEST(CastReportTest, ARateIsThatOfTheTimeThatHasPassed) {
  CastReport report{kHost, true, true, noTerminal};
  report.connected({640, 360}, statistics(0));
  EXPECT_THAT(standardOutput([&] { report.casting(1250ms, statistics(25)); }),
              HasSubstr(R"("fps":20.0})"));
  EXPECT_THAT(standardOutput([&] { report.casting(2s, statistics(40)); }),
              HasSubstr(R"("fps":20.0})"));
}

TEST(CastReportTest, OnATerminalALineChangesInPlace) {
  CastReport report{kHost, false, false, terminal<80>};
  standardError([&] { report.connected({640, 360}, statistics(0)); });
  EXPECT_EQ(standardError([&] { report.casting(62s, statistics(620)); }),
            "\r\x1b[KCasting to 192.168.1.100  1:02  10.0 frames/s  4.0 Mbit/s");
  EXPECT_EQ(standardError([&] { report.notice("The hub is slow."); }),
            "\r\x1b[KThe hub is slow.\n");
}

TEST(CastReportTest, TheLineWithAllTheNumbersFitsAUsualTerminal) {
  CastReport report{kHost, false, true, terminal<80>};
  TSLSessionStatistics now = statistics(108'000);
  now.framesDropped = 12'345;
  now.bytesSent = std::int64_t{3600} * 12'500'000;
  EXPECT_EQ(
      standardError([&] { report.casting(3600s, now); }),
      "\r\x1b[K60:00  30.0 frames/s  100.0 Mbit/s  encoding 4.0 ms  dropped 12345  credits 5");
}

TEST(CastReportTest, WhatIsWiderThanTheTerminalIsCut) {
  CastReport narrow{kHost, false, false, terminal<30>};
  EXPECT_EQ(standardError([&] { narrow.connecting("opening the mouse channel"); }),
            "\r\x1b[KConnecting to 192.168.1.10...");
  CastReport tiny{kHost, false, false, terminal<2>};
  EXPECT_EQ(standardError([&] { tiny.connecting("opening the mouse channel"); }), "\r\x1b[K...");
}

TEST(CastReportTest, ElsewhereEachTextComesOnceOnALineOfItsOwn) {
  CastReport report{kHost, false, true, noTerminal};
  EXPECT_EQ(standardError([&] {
              report.connecting("asking");
              report.connecting("asking");
              report.connecting("opening");
            }),
            "Connecting to 192.168.1.100: asking ...\nConnecting to 192.168.1.100: opening ...\n");
  EXPECT_EQ(standardError([&] { report.casting(1s, statistics(10)); }),
            "0:01  10.0 frames/s  4.0 Mbit/s  encoding 4.0 ms  dropped 1  credits 5\n");
}

TEST(CastReportTest, WithoutATerminalNumbersAreForStatsOnly) {
  CastReport report{kHost, false, false, noTerminal};
  EXPECT_EQ(standardError([&] { report.casting(1s, statistics(10)); }), "");
}

TEST(CastReportTest, AFailureIsAnEventAndASentence) {
  CastReport report{kHost, true, false, noTerminal};
  const Error error{"tessel", 3, "It broke."};
  testing::internal::CaptureStdout();
  EXPECT_EQ(standardError([&] { report.failed(error, "It broke: mend it."); }),
            "It broke: mend it.\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            R"({"event":"failed","domain":"tessel","code":3,"description":"It broke."})"
            "\n");
}

TEST(CastReportTest, AdviceIsALineAndAFieldOfItsOwn) {
  CastReport report{kHost, true, false, noTerminal};
  const Error error{"tessel", 3, "It broke."};
  testing::internal::CaptureStdout();
  EXPECT_EQ(standardError([&] { report.failed(error, "It broke.", "Mend it."); }),
            "It broke.\nMend it.\n");
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      R"({"event":"failed","domain":"tessel","code":3,"description":"It broke.","advice":"Mend it."})"
      "\n");
}

TEST(CastReportTest, TheHostIsShownSafely) {
  CastReport report{"\x1b[31mhub", false, false, terminal<80>};
  EXPECT_THAT(standardError([&] {
                report.connected({640, 360}, {});
              }),
              HasSubstr(R"( to \x1b[31mhub. Press)"));
}

}  // namespace
}  // namespace tessel::apps
