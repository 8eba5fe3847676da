#include "input/TSLMouseSimulator.h"
#include "tests/input/InputFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kSimulate = "-[TSLMouseSimulator simulateMouseEvent:]";

/// A clock that moves on by `step` at every reading of the date.
class SteppingClock final : public platform::Clock {
 public:
  explicit SteppingClock(std::shared_ptr<platform::Clock> clock) : clock_{std::move(clock)} {}
  Date now() override {
    offset_ += step;
    return clock_->now() + std::chrono::duration_cast<Date::duration>(offset_);
  }
  Duration uptime() override { return clock_->uptime(); }
  void sleep(Duration duration) override { clock_->sleep(duration); }
  bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
            std::optional<Duration> timeout, const std::function<bool()>& ready) override {
    return clock_->wait(lock, condition, timeout, ready);
  }
  Duration step{0};

 private:
  const std::shared_ptr<platform::Clock> clock_;
  Duration offset_{0};
};

class TSLMouseSimulatorTest : public InputTest {
 protected:
  void send(std::uint8_t command, std::uint16_t x = 10, std::uint16_t y = 20,
            std::uint8_t wheel = 0) {
    simulator->simulateMouseEvent({8, 0x0D, x, y, command, wheel});
  }
  /// What was posted since the last call.
  std::vector<std::string> takePosts() {
    auto posts = world.poster.posts();
    world.poster.operations.clear();
    return posts;
  }

  std::shared_ptr<TSLMouseSimulator> simulator = TSLMouseSimulator::init(session);
};

const std::string kLeftDown = "post mouse 1 (10,20) button 0 click 1";
const std::string kLeftUp = "post mouse 2 (10,20) button 0 click 1";
const std::string kRightDown = "post mouse 3 (10,20) button 1 click 1";
const std::string kRightUp = "post mouse 4 (10,20) button 1 click 1";
const std::vector<std::string> kLeftDouble{
    "post mouse 1 (10,20) button 0 click 1", "post mouse 2 (10,20) button 0 click 1",
    "post mouse 1 (10,20) button 0 click 2", "post mouse 2 (10,20) button 0 click 2"};

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

// Two left presses 0.4 s apart give a double click; 0.5 s or more apart give two single clicks;
// three quick presses give single, double, single.
TEST_F(TSLMouseSimulatorTest, WithoutSettingsEveryPointIsTheFirst) {
  session->setSessionConfig(nullptr);
  send(0x01);
  EXPECT_THAT(world.poster.posts(), ElementsAre("post mouse 5 (0,0) button 0 click 1"));
}

TEST_F(TSLMouseSimulatorTest, TwoPressesShortlyAfterEachOtherAreADoubleClick) {
  send(0x02);
  send(0x04);
  world.advance(400ms);
  send(0x02);
  send(0x04);
  EXPECT_THAT(
      world.poster.operations,
      ElementsAre("create mouse 1 (10,20) button 0", kLeftDown, "create mouse 2 (10,20) button 0",
                  kLeftUp, "create mouse 1 (10,20) button 0", kLeftDown, "type 2", kLeftUp,
                  "field 1 = 2", "type 1", kLeftDouble[2], "type 2", kLeftDouble[3],
                  "create mouse 2 (10,20) button 0", kLeftUp));
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseSimulator doubleClickLeftButton] entry"));
  EXPECT_THAT(world.log.lines(), Contains(kSimulate + "/397: time difference is 0.400000 s"));
}

TEST_F(TSLMouseSimulatorTest, TwoPressesHalfASecondApartAreTwoClicks) {
  for (const auto gap : {500ms, 501ms, 3000ms}) {
    simulator = TSLMouseSimulator::init(session);
    takePosts();
    send(0x02);
    send(0x04);
    world.advance(gap);
    send(0x02);
    EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, kLeftUp, kLeftDown));
  }
}

TEST_F(TSLMouseSimulatorTest, ThreeQuickPressesAreSingleDoubleSingle) {
  send(0x02);
  EXPECT_TRUE(simulator->leftButtonDoubleClickStart());
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown));
  world.advance(200ms);
  send(0x02);
  EXPECT_FALSE(simulator->leftButtonDoubleClickStart());
  EXPECT_THAT(takePosts(), testing::ElementsAreArray(kLeftDouble));
  world.advance(200ms);
  send(0x02);
  EXPECT_TRUE(simulator->leftButtonDoubleClickStart());
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown));
}

TEST_F(TSLMouseSimulatorTest, TimeIsMeasuredFromPressToPress) {
  send(0x02);
  world.advance(450ms);
  send(0x04);
  world.advance(100ms);
  send(0x02);
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, kLeftUp, kLeftDown));
  EXPECT_EQ(simulator->leftButtonClickTimeStamp(), world.now());
}

TEST_F(TSLMouseSimulatorTest, ADoubleClickOfTheRightButtonReleasesTheLeftOneBetween) {
  send(0x08);
  send(0x10);
  takePosts();
  world.advance(100ms);
  send(0x08);
  EXPECT_THAT(world.poster.operations,
              ElementsAre("create mouse 3 (10,20) button 1", kRightDown, "type 2",
                          "post mouse 2 (10,20) button 1 click 1", "field 1 = 2", "type 3",
                          "post mouse 3 (10,20) button 1 click 2", "type 4",
                          "post mouse 4 (10,20) button 1 click 2"));
  EXPECT_TRUE(simulator->rightButtonPressed());
  EXPECT_FALSE(simulator->rightButtonDoubleClickStart());
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseSimulator doubleClickRightButton] entry"));
  EXPECT_THAT(world.log.lines(), Contains(kSimulate + "/426: time difference is 0.100000 s"));
}

TEST_F(TSLMouseSimulatorTest, TheRightButtonDecidesAsTheLeftOne) {
  for (const auto gap : {500ms, 3000ms}) {
    simulator = TSLMouseSimulator::init(session);
    takePosts();
    send(0x08);
    send(0x10);
    world.advance(gap);
    send(0x08);
    EXPECT_THAT(takePosts(), ElementsAre(kRightDown, kRightUp, kRightDown));
    EXPECT_EQ(simulator->rightButtonClickTimeStamp(), world.now());
  }
  simulator = TSLMouseSimulator::init(session);
  send(0x08);
  EXPECT_THAT(takePosts(), ElementsAre(kRightDown));
  world.advance(499ms);
  send(0x08);
  EXPECT_EQ(takePosts().size(), 4U);
  world.advance(200ms);
  send(0x08);
  EXPECT_THAT(takePosts(), ElementsAre(kRightDown));
}

TEST_F(TSLMouseSimulatorTest, TheFlagsOfAButtonFollowItsState) {
  // Pressed, and whether the next press may be the second of two.
  using Flags = std::pair<bool, bool>;
  const auto left = [this] {
    return Flags{simulator->leftButtonPressed(), simulator->leftButtonDoubleClickStart()};
  };
  const auto right = [this] {
    return Flags{simulator->rightButtonPressed(), simulator->rightButtonDoubleClickStart()};
  };
  const auto check = [this](std::uint8_t down, std::uint8_t up, const std::function<Flags()>& flags,
                            const std::function<Flags()>& others) {
    simulator = TSLMouseSimulator::init(session);
    EXPECT_EQ(flags(), Flags(false, false));
    send(down);
    EXPECT_EQ(flags(), Flags(true, true));
    send(up);
    EXPECT_EQ(flags(), Flags(false, true));
    world.advance(1s);
    send(down);  // too late for a double click: single again
    EXPECT_EQ(flags(), Flags(true, true));
    send(up);
    world.advance(100ms);
    send(down);  // the second of two
    EXPECT_EQ(flags(), Flags(true, false));
    send(up);
    EXPECT_EQ(flags(), Flags(false, false));
    EXPECT_EQ(others(), Flags(false, false));
  };
  check(0x02, 0x04, left, right);
  check(0x08, 0x10, right, left);
}

TEST_F(TSLMouseSimulatorTest, TheButtonsCountTheirClicksApart) {
  send(0x02);
  send(0x04);
  send(0x08);
  send(0x10);
  send(0x02);
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, kLeftUp, kRightDown, kRightUp, kLeftDouble[0],
                                       kLeftDouble[1], kLeftDouble[2], kLeftDouble[3]));
}

TEST_F(TSLMouseSimulatorTest, TheDecisionReadsTheClockAfreshAfterTheLogLine) {
  auto services = platform::services();
  const auto clock = std::make_shared<SteppingClock>(services.clock);
  services.clock = clock;
  const platform::ScopedServices scope{services};
  simulator = TSLMouseSimulator::init(session);
  send(0x02);
  takePosts();
  world.log.clear();
  clock->step = 300ms;
  send(0x02);
  EXPECT_THAT(world.log.lines(), Contains(kSimulate + "/397: time difference is 0.300000 s"));
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown));
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
