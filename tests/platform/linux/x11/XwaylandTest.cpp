#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "platform/linux/x11/XConnection.h"
#include "tests/platform/linux/x11/Capture.h"
#include "tests/platform/linux/x11/XServerProxy.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::platform {
namespace {

using namespace std::string_literals;
using test::PrivateXServer;
using test::XServerProxy;

void keep(std::string& /*message*/) {}

// An extension that the server does have takes the place of the one asked for.
void claimXwaylandExtension(std::string& request) {
  const std::string asked = "\x62\0\x04\0\x08\0\0\0XWAYLAND"s;  // QueryExtension
  const std::string known = "\x62\0\x04\0\x07\0\0\0MIT-SHM\0"s;
  if (request == asked) request = known;
}

// As Xwayland before version 23, which does not have that extension: a reply to GetOutputInfo with
// another name.
void claimXwaylandOutput(std::string& reply) {
  constexpr std::size_t kNameLength = 34;
  if (reply.rfind("screen") != reply.size() - 8 || reply[kNameLength] != 6) return;
  reply.replace(reply.size() - 8, 8, "XWAYLAND");
  reply[kNameLength] = 8;
}

// Whether the screen that DISPLAY names is cast, and driven.
void expectRefusedUnlessNamed() {
  const auto& desktops = services().desktops;
  const std::optional<Obstacle> obstacle = desktops->select(ScreenSource::kAutomatic, {});
  ASSERT_TRUE(obstacle.has_value());
  EXPECT_NE(obstacle->sentence.find("Wayland"), std::string::npos);
  EXPECT_TRUE(desktops->current()->screens().empty());
  EXPECT_EQ(Capture({1280, 720}).session, nullptr);
  EXPECT_FALSE(desktops->current()->screenFinding().usable);
  EXPECT_FALSE(desktops->current()->inputFinding().usable);
  EXPECT_FALSE(desktops->current()->makeEventPoster()->createScrollWheelEvent(1).has_value());

  EXPECT_EQ(desktops->select(ScreenSource::kX11, {}), std::nullopt);
  EXPECT_EQ(desktops->current()->screens().size(), 1U);
  EXPECT_TRUE(desktops->current()->screenFinding().usable);
  EXPECT_TRUE(desktops->current()->makeEventPoster()->createScrollWheelEvent(1).has_value());
}

TEST(XwaylandTest, IsKnownByItsExtensionAndRefusedUnlessNamed) {
  const PrivateXServer server{{.arguments = {"-extension", "RANDR"}}};
  const XServerProxy proxy{server.display(), claimXwaylandExtension, keep};
  setenv("DISPLAY", proxy.display().c_str(), 1);
  expectRefusedUnlessNamed();
}

TEST(XwaylandTest, IsKnownByItsOutputsAndRefusedUnlessNamed) {
  const PrivateXServer server{{.arguments = {"-extension", "MIT-SHM"}}};
  const XServerProxy proxy{server.display(), keep, claimXwaylandOutput};
  setenv("DISPLAY", proxy.display().c_str(), 1);
  expectRefusedUnlessNamed();
}

TEST(XwaylandTest, OrdinaryServerIsAcceptedEitherWay) {
  const PrivateXServer server{{.arguments = {"-extension", "MIT-SHM"}}};
  const XServerProxy proxy{server.display(), keep, keep};
  setenv("DISPLAY", proxy.display().c_str(), 1);
  for (const ScreenSource source : {ScreenSource::kAutomatic, ScreenSource::kX11}) {
    EXPECT_EQ(services().desktops->select(source, {}), std::nullopt);
    EXPECT_EQ(services().desktops->current()->screens().size(), 1U);
    EXPECT_NE(Capture({1280, 720}).session, nullptr);
  }
}

}  // namespace
}  // namespace tessel::platform
