// Which presses of a button are one click, and which are two.
#include "tests/input/MouseSimulatorFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;

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

using TSLMouseClicksTest = TSLMouseSimulatorTest;

TEST_F(TSLMouseClicksTest, TwoPressesShortlyAfterEachOtherAreADoubleClick) {
  send(0x02);
  send(0x04);
  world.advance(400ms);
  send(0x02);
  send(0x04);
  EXPECT_THAT(
      world.poster.operations,
      ElementsAre("create mouse 1 (10,20) button 0", kLeftDown, "create mouse 2 (10,20) button 0",
                  kLeftUp, "create mouse 1 (10,20) button 0", kLeftDown, kLeftUp, kLeftDouble[2],
                  kLeftDouble[3], "create mouse 2 (10,20) button 0", kLeftUp));
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseSimulator doubleClickLeftButton] entry"));
  EXPECT_THAT(world.log.lines(), Contains(kSimulate + "/397: time difference is 0.400000 s"));
}

TEST_F(TSLMouseClicksTest, TwoPressesHalfASecondApartAreTwoClicks) {
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

TEST_F(TSLMouseClicksTest, ThreeQuickPressesAreSingleDoubleSingle) {
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

TEST_F(TSLMouseClicksTest, TimeIsMeasuredFromPressToPress) {
  send(0x02);
  world.advance(450ms);
  send(0x04);
  world.advance(100ms);
  send(0x02);
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, kLeftUp, kLeftDown));
  EXPECT_EQ(simulator->leftButtonClickTimeStamp(), world.now());
}

TEST_F(TSLMouseClicksTest, ADoubleClickOfTheRightButtonReleasesTheLeftOneBetween) {
  send(0x08);
  send(0x10);
  takePosts();
  world.advance(100ms);
  send(0x08);
  EXPECT_THAT(world.poster.operations, ElementsAre("create mouse 3 (10,20) button 1", kRightDown,
                                                   "post mouse 2 (10,20) button 1 click 1",
                                                   "post mouse 3 (10,20) button 1 click 2",
                                                   "post mouse 4 (10,20) button 1 click 2"));
  EXPECT_TRUE(simulator->rightButtonPressed());
  EXPECT_FALSE(simulator->rightButtonDoubleClickStart());
  EXPECT_THAT(world.log.lines(), Contains("-[TSLMouseSimulator doubleClickRightButton] entry"));
  EXPECT_THAT(world.log.lines(), Contains(kSimulate + "/426: time difference is 0.100000 s"));
}

TEST_F(TSLMouseClicksTest, TheRightButtonDecidesAsTheLeftOne) {
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

TEST_F(TSLMouseClicksTest, TheFlagsOfAButtonFollowItsState) {
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

TEST_F(TSLMouseClicksTest, TheButtonsCountTheirClicksApart) {
  send(0x02);
  send(0x04);
  send(0x08);
  send(0x10);
  send(0x02);
  EXPECT_THAT(takePosts(), ElementsAre(kLeftDown, kLeftUp, kRightDown, kRightUp, kLeftDouble[0],
                                       kLeftDouble[1], kLeftDouble[2], kLeftDouble[3]));
}

TEST_F(TSLMouseClicksTest, TheDecisionReadsTheClockAfreshAfterTheLogLine) {
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

}  // namespace
}  // namespace tessel::test
