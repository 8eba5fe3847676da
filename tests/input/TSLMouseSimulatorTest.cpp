#include "tests/input/MouseSimulatorFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(TSLMouseSimulatorTest, ANewSimulatorKnowsNothing) {
  EXPECT_EQ(simulator->hub(), session);
  EXPECT_EQ(simulator->wheel(), 0);
  EXPECT_EQ(simulator->ptX(), 0.0);
  EXPECT_EQ(simulator->ptY(), 0.0);
  EXPECT_EQ(simulator->mouseCursorPosition(), Point{});
  EXPECT_EQ(simulator->currentMouseEventType(), 0U);
  EXPECT_FALSE(simulator->leftButtonPressed());
  EXPECT_FALSE(simulator->leftButtonDoubleClickStart());
  EXPECT_EQ(simulator->leftButtonClickTimeStamp(), world.now());
  EXPECT_FALSE(simulator->rightButtonPressed());
  EXPECT_FALSE(simulator->rightButtonDoubleClickStart());
  EXPECT_EQ(simulator->rightButtonClickTimeStamp(), world.now());
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLMouseSimulator init:]/55: init"));
  world.log.clear();
  simulator.reset();
  EXPECT_THAT(world.log.lines(), ElementsAre("-[TSLMouseSimulator dealloc]/63: dealloced\n"));
}

// A packet whose byte 1 is not 0x0D or whose byte 0 is not 8 posts nothing and leaves all state as
// it was.
TEST_F(TSLMouseSimulatorTest, APacketOfAnotherTypeOrSizeChangesNothing) {
  send(0x02);
  takePosts();
  world.log.clear();
  const Date pressed = world.now();
  world.advance(1s);
  simulator->simulateMouseEvent({8, 0x0E, 100, 200, 0x04, 5});
  simulator->simulateMouseEvent({9, 0x0D, 100, 200, 0x04, 5});
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_THAT(world.log.lines(),
              ElementsAre(kSimulate + ": ENTER",
                          kSimulate + "/360 size=0x8, packetType=0xe, are not 0x8 & 0xd",
                          kSimulate + ": ENTER",
                          kSimulate + "/360 size=0x9, packetType=0xd, are not 0x8 & 0xd"));
  EXPECT_TRUE(simulator->leftButtonPressed());
  EXPECT_TRUE(simulator->leftButtonDoubleClickStart());
  EXPECT_EQ(simulator->leftButtonClickTimeStamp(), pressed);
  EXPECT_FALSE(simulator->rightButtonPressed());
  EXPECT_FALSE(simulator->rightButtonDoubleClickStart());
  EXPECT_EQ(simulator->rightButtonClickTimeStamp(), pressed);
  EXPECT_EQ(simulator->ptX(), 10.0);
  EXPECT_EQ(simulator->ptY(), 20.0);
  EXPECT_EQ(simulator->mouseCursorPosition(), (Point{10, 20}));
  EXPECT_EQ(simulator->wheel(), 0);
  EXPECT_EQ(simulator->currentMouseEventType(), 1U);
}

TEST_F(TSLMouseSimulatorTest, AMoveLogsItsWholeWay) {
  world.log.clear();
  send(0x01);
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(kSimulate + ": ENTER",
                  "-[TSLMouseSimulator scaleCoord]/345 :sessionSize.W/H=1920.000000/1080.000000, "
                  "screenSize.W/H=1920.000000/1080.000000",
                  "-[TSLMouseSimulator scaleCoord]/347 :ptx/pty=10.000000/20.000000",
                  "-[TSLMouseSimulator moveMouse] entry", kSimulate + "/468: exit"));
  EXPECT_THAT(world.poster.operations, ElementsAre("create mouse 5 (10,20) button 0",
                                                   "post mouse 5 (10,20) button 0 click 1"));
  EXPECT_EQ(simulator->currentMouseEventType(), 5U);
}

TEST_F(TSLMouseSimulatorTest, APressLogsItsWholeWay) {
  world.log.clear();
  world.advance(3s);
  send(0x02);
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre(kSimulate + ": ENTER",
                  "-[TSLMouseSimulator scaleCoord]/345 :sessionSize.W/H=1920.000000/1080.000000, "
                  "screenSize.W/H=1920.000000/1080.000000",
                  "-[TSLMouseSimulator scaleCoord]/347 :ptx/pty=10.000000/20.000000",
                  kSimulate + "/397: time difference is 3.000000 s",
                  "-[TSLMouseSimulator leftClickDown] entry", kSimulate + "/468: exit"));
}

TEST_F(TSLMouseSimulatorTest, EachCommandPostsItsEvent) {
  send(0x02);
  EXPECT_EQ(simulator->currentMouseEventType(), 1U);
  EXPECT_TRUE(simulator->leftButtonPressed());
  send(0x04);
  EXPECT_EQ(simulator->currentMouseEventType(), 2U);
  EXPECT_FALSE(simulator->leftButtonPressed());
  send(0x08);
  EXPECT_EQ(simulator->currentMouseEventType(), 3U);
  EXPECT_TRUE(simulator->rightButtonPressed());
  send(0x10);
  EXPECT_EQ(simulator->currentMouseEventType(), 4U);
  EXPECT_FALSE(simulator->rightButtonPressed());
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, kLeftUp, kRightDown, kRightUp));
}

// Coordinates above the session size are clamped to the session size before scaling; coordinates of
// 0 stay 0.
TEST_F(TSLMouseSimulatorTest, CoordinatesAreClampedToTheSessionBeforeScaling) {
  world.screens.list = {Screen{7, {{0, 0}, {3840, 2160}}}};
  send(0x01, 65535, 65535);
  EXPECT_EQ(simulator->ptX(), 1920.0 * 1920 / 3840);
  EXPECT_EQ(simulator->ptY(), 1080.0 * 1080 / 2160);
  send(0x01, 0, 0);
  EXPECT_EQ(simulator->mouseCursorPosition(), Point{});
  EXPECT_THAT(takePosts(), ElementsAre("post mouse 5 (960,540) button 0 click 1",
                                       "post mouse 5 (0,0) button 0 click 1"));
}

TEST_F(TSLMouseSimulatorTest, ScaleCoordLogsBothSizesAndTheScaledPosition) {
  world.screens.list = {Screen{7, {{0, 0}, {3840, 2160}}}};
  simulator->setPtX(101.0);
  simulator->setPtY(3000.0);
  world.log.clear();
  simulator->scaleCoord();
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre("-[TSLMouseSimulator scaleCoord]/345 :sessionSize.W/H=1920.000000/1080.000000, "
                  "screenSize.W/H=3840.000000/2160.000000",
                  "-[TSLMouseSimulator scaleCoord]/347 :ptx/pty=50.500000/540.000000"));
}

// The other order rounds these two differently.
TEST_F(TSLMouseSimulatorTest, ThePositionIsMultipliedBeforeItIsDivided) {
  world.screens.list = {Screen{7, {{0, 0}, {800, 600}}}};
  send(0x01, 3, 13);
  EXPECT_EQ(simulator->ptX(), 7.2);
  EXPECT_EQ(simulator->ptY(), 23.4);
}

TEST_F(TSLMouseSimulatorTest, OfSeveralScreensTheFirstOnesSizeCountsAndNoOriginIsAdded) {
  world.screens.list = {Screen{7, {{300, 150}, {960, 540}}}, Screen{8, {{0, 0}, {300, 600}}}};
  send(0x01, 10, 20);
  send(0x01, 0, 0);
  EXPECT_THAT(takePosts(), ElementsAre("post mouse 5 (20,40) button 0 click 1",
                                       "post mouse 5 (0,0) button 0 click 1"));
}

TEST_F(TSLMouseSimulatorTest, WithoutASessionThePositionIsTheOrigin) {
  session.reset();
  send(0x02, 10, 20);
  EXPECT_EQ(simulator->mouseCursorPosition(), Point{});
  EXPECT_THAT(takePosts(), ElementsAre("post mouse 1 (0,0) button 0 click 1"));
}

TEST_F(TSLMouseSimulatorTest, TheSizeIsThatOfTheSessionSet) {
  const auto another = TSLSession::initWithHostName("192.168.1.101", 0);
  another->sessionConfig()->setSessionSize({960, 540});
  simulator->setHub(another);
  EXPECT_EQ(simulator->hub(), another);
  EXPECT_EQ(another.use_count(), 1);  // held weakly
  send(0x01, 65535, 65535);
  EXPECT_THAT(takePosts(), ElementsAre("post mouse 5 (480,270) button 0 click 1"));
}

TEST_F(TSLMouseSimulatorTest, ScaleCoordClampsNegativeValues) {
  simulator->setPtX(-3.0);
  simulator->setPtY(-0.5);
  simulator->scaleCoord();
  EXPECT_EQ(simulator->ptX(), 0.0);
  EXPECT_EQ(simulator->ptY(), 0.0);
}

// With session size equal to screen size the position passes through unchanged.
TEST_F(TSLMouseSimulatorTest, WithEqualSizesThePositionPassesUnchanged) {
  for (const auto& [x, y] :
       {std::pair<std::uint16_t, std::uint16_t>{1, 1}, {777, 333}, {1920, 1080}}) {
    send(0x01, x, y);
    EXPECT_EQ(simulator->mouseCursorPosition(), (Point{double(x), double(y)}));
  }
}

TEST_F(TSLMouseSimulatorTest, WithoutAScreenNothingCrashes) {
  world.screens.list.clear();
  send(0x01, 10, 20);
  send(0x02, 0, 0);
  EXPECT_EQ(world.poster.posts().size(), 2U);
}

TEST_F(TSLMouseSimulatorTest, WithoutSettingsEveryPointIsTheFirst) {
  session->setSessionConfig(nullptr);
  send(0x01);
  EXPECT_THAT(world.poster.posts(), ElementsAre("post mouse 5 (0,0) button 0 click 1"));
}

// A move while the left button is held posts a left drag; after the left release it posts a plain
// move.
TEST_F(TSLMouseSimulatorTest, AMoveWhileAButtonIsHeldIsADrag) {
  send(0x02);
  send(0x01, 11, 21);
  EXPECT_EQ(simulator->currentMouseEventType(), 6U);
  send(0x04, 11, 21);
  send(0x01, 12, 22);
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, "post mouse 6 (11,21) button 0 click 1",
                                       "post mouse 2 (11,21) button 0 click 1",
                                       "post mouse 5 (12,22) button 0 click 1"));
  send(0x08);
  send(0x01);
  EXPECT_EQ(simulator->currentMouseEventType(), 7U);
  send(0x02);
  send(0x01);
  EXPECT_EQ(simulator->currentMouseEventType(), 6U);
  send(0x04);
  send(0x01);
  send(0x10);
  EXPECT_THAT(takePosts(), ElementsAre(kRightDown, "post mouse 7 (10,20) button 1 click 1",
                                       kLeftDouble[0], kLeftDouble[1], kLeftDouble[2],
                                       kLeftDouble[3], "post mouse 6 (10,20) button 0 click 1",
                                       kLeftUp, "post mouse 7 (10,20) button 1 click 1", kRightUp));
}

// A wheel byte of 0 posts a wheel event of 0 lines; 0x20 with wheel 3 posts -3 lines, 0x40 with
// wheel 3 posts +3.
TEST_F(TSLMouseSimulatorTest, TheWheelPostsItsLines) {
  send(0x20, 10, 20, 0);
  send(0x20, 10, 20, 3);
  EXPECT_EQ(simulator->currentMouseEventType(), 22U);
  send(0x01);
  EXPECT_EQ(simulator->currentMouseEventType(), 5U);
  send(0x40, 10, 20, 3);
  EXPECT_EQ(simulator->currentMouseEventType(), 22U);
  EXPECT_EQ(simulator->wheel(), 3);
  send(0x40, 10, 20, 255);
  EXPECT_THAT(
      world.poster.operations,
      ElementsAre("create wheel 0", "post wheel 0", "create wheel -3", "post wheel -3",
                  "create mouse 5 (10,20) button 0", "post mouse 5 (10,20) button 0 click 1",
                  "create wheel 3", "post wheel 3", "create wheel 255", "post wheel 255"));
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseSimulator scrollDown] entry"));
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseSimulator scrollUp] entry"));
}

// Command 0x03 or 0x80 is unknown and sets the event type to 0.
TEST_F(TSLMouseSimulatorTest, CombinedAndOtherCommandsAreUnknown) {
  for (const std::uint8_t command : {0x03, 0x80, 0x00, 0xFF}) {
    send(0x01, 1, 2);
    takePosts();
    world.log.clear();
    send(command, 30, 40, 5);
    EXPECT_EQ(simulator->currentMouseEventType(), 0U);
    EXPECT_EQ(simulator->mouseCursorPosition(), (Point{30, 40}));
    EXPECT_EQ(simulator->wheel(), 5);
    EXPECT_THAT(world.poster.operations, IsEmpty());
    char line[80];
    std::snprintf(line, sizeof line, "%s/464: unknown command: 0x%x", kSimulate.c_str(), command);
    EXPECT_THAT(world.log.lines(), Contains(line));
    EXPECT_EQ(world.log.lines().back(), kSimulate + "/468: exit");
  }
}

TEST_F(TSLMouseSimulatorTest, AnEventThatCannotBeMadeIsLoggedAndSkipped) {
  world.poster.creationFails = true;
  const struct {
    const char* name;
    void (TSLMouseSimulator::*action)();
  } kActions[] = {
      {"moveMouse", &TSLMouseSimulator::moveMouse},
      {"leftClickDown", &TSLMouseSimulator::leftClickDown},
      {"leftClickUp", &TSLMouseSimulator::leftClickUp},
      {"rightClickDown", &TSLMouseSimulator::rightClickDown},
      {"rightClickUp", &TSLMouseSimulator::rightClickUp},
      {"leftDragged", &TSLMouseSimulator::leftDragged},
      {"rightDragged", &TSLMouseSimulator::rightDragged},
      {"doubleClickLeftButton", &TSLMouseSimulator::doubleClickLeftButton},
      {"doubleClickRightButton", &TSLMouseSimulator::doubleClickRightButton},
      {"scrollDown", &TSLMouseSimulator::scrollDown},
      {"scrollUp", &TSLMouseSimulator::scrollUp},
  };
  for (const auto& [name, action] : kActions) {
    world.log.clear();
    ((*simulator).*action)();
    const std::string prefix = std::string("-[TSLMouseSimulator ") + name + "]";
    EXPECT_THAT(world.log.lines(),
                ElementsAre(prefix + " entry", prefix + ": CGEventCreateMouseEvent failed"));
  }
  EXPECT_THAT(world.poster.operations, IsEmpty());
  send(0x02);
  EXPECT_TRUE(simulator->leftButtonPressed());
}

TEST_F(TSLMouseSimulatorTest, EventTypesHaveNames) {
  const std::vector<std::pair<std::uint32_t, const char*>> kNames{
      {0, "Unkown"},       {1, "LeftMouseDown"}, {2, "LeftMouseUp"},      {3, "RightMouseDown"},
      {4, "RightMouseUp"}, {5, "MouseMoved"},    {6, "LeftMouseDragged"}, {7, "RightMouseDragged"},
      {8, "Unkown"},       {22, "Scroll"},       {0xFFFFFFFF, "Unkown"}};
  for (const auto& [type, name] : kNames) EXPECT_STREQ(simulator->getMouseEventName(type), name);
}

TEST_F(TSLMouseSimulatorTest, PrintDebugInfoLogsTheState) {
  send(0x20, 10, 20, 18);
  send(0x08);
  simulator->setWheel(18);
  world.log.clear();
  simulator->printDebugInfo();
  EXPECT_THAT(world.log.lines(),
              ElementsAre("-[TSLMouseSimulator printDebugInfo]:currentMouseEventType:"
                          "RightMouseDown/0x3",
                          "currentPtX/currentPtY:10.000000/20.000000, wheelData=0x12,leftDown=0,"
                          "rightDown=1"));
}

}  // namespace
}  // namespace tessel::test
