#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <variant>

#include "tests/platform/linux/x11/Capture.h"
#include "tests/support/PrivateXServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::platform {
namespace {

using test::PrivateXServer;

// The refusal of the first screen's capture; none when it can be captured.
std::optional<CaptureRefusal> refusal(Size size = {640, 480}) {
  const auto desktop = services().desktops->current();
  const std::vector<Screen> screens = desktop->screens();
  EXPECT_EQ(screens.size(), 1U);
  if (screens.empty()) return std::nullopt;
  const auto made = desktop->makeCaptureSession(
      {screens.front().tsl_screenNumber(), std::chrono::milliseconds{33}}, {size}, {},
      services().queues->makeSerialQueue("Capture Test"));
  const auto* refused = std::get_if<CaptureRefusal>(&made);
  return refused == nullptr ? std::nullopt : std::optional{*refused};
}

// Chooses the display's screen, and expects an obstacle that the doctor reports as well.
void expectObstacle(const std::string& words) {
  const std::optional<Obstacle> obstacle =
      services().desktops->select(ScreenSource::kAutomatic, {});
  ASSERT_TRUE(obstacle.has_value());
  EXPECT_NE(obstacle->sentence.find(words), std::string::npos) << obstacle->sentence;
  EXPECT_FALSE(obstacle->advice.empty());
  const Finding finding = services().desktops->current()->screenFinding();
  EXPECT_FALSE(finding.usable);
  EXPECT_EQ(finding.sentence, obstacle->sentence);
  EXPECT_EQ(finding.advice, obstacle->advice);
}

TEST(UncapturableScreenTest, EightBitColoursAreRefusedAsInput) {
  const PrivateXServer server{{.width = 640, .height = 480, .depth = 8}};
  ASSERT_FALSE(server.display().empty());
  expectObstacle("pixel format");
  EXPECT_EQ(refusal(), CaptureRefusal::kInput);
}

TEST(UncapturableScreenTest, ScreenThatTheServerProtectsIsRefusedAsInput) {
  const PrivateXServer server{
      {.width = 640, .height = 480, .arguments = {"+extension", "SECURITY"}}};
  chooseScreen();
  EXPECT_EQ(refusal(), std::nullopt);

  // An untrusted client may see the root window's size, but not its pixels.
  const test::TemporaryFolder folder;
  const std::string cookies = (folder.path() / "cookies").string();
  ASSERT_EQ(server.run("xauth -f " + cookies + " generate " + server.display() + " . untrusted"),
            0);
  setenv("XAUTHORITY", cookies.c_str(), 1);
  expectObstacle("read");
  EXPECT_EQ(refusal(), CaptureRefusal::kInput);
  unsetenv("XAUTHORITY");
}

TEST(UncapturableScreenTest, UnknownMonitorIsRefusedAsInputAndNoSizeAsOutput) {
  const PrivateXServer server{{.width = 640, .height = 480}};
  chooseScreen();
  EXPECT_EQ(refusal(), std::nullopt);
  EXPECT_EQ(refusal({0, 480}), CaptureRefusal::kOutput);
  const auto made = services().desktops->current()->makeCaptureSession(
      {12345678, std::chrono::milliseconds{33}}, {{640, 480}}, {},
      services().queues->makeSerialQueue("Capture Test"));
  ASSERT_TRUE(std::holds_alternative<CaptureRefusal>(made));
  EXPECT_EQ(std::get<CaptureRefusal>(made), CaptureRefusal::kInput);
}

}  // namespace
}  // namespace tessel::platform
