// What the hub has pressed on this computer is released with the session, however that ends.
#include "tests/session/SessionFixture.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class HeldInputTest : public SessionFixture {
 protected:
  // Connects, and lets the hub hold its left button and a key.
  HeldInputTest() {
    bringUp();
    world.run();
    hub.mouse->deliver({8, 0x0D, 10, 0, 20, 0, 2, 0});
    hub.keyBoard->deliver({8, 0, 0, 0, 0, 0, 'a', 0});
    world.run();
    EXPECT_THAT(world.poster.held(), ElementsAre("button 0", "key 0x0"));
    delegate->calls.clear();
  }
};

TEST_F(HeldInputTest, NothingStaysDownAfterADisconnect) {
  session->disconnect();
  EXPECT_THAT(world.poster.held(), IsEmpty());
  EXPECT_THAT(delegate->calls, ElementsAre("state 0"));
}

TEST_F(HeldInputTest, NothingStaysDownAfterTheHeartbeatsEnd) {
  hub.answersPolls = false;
  world.advance(19999ms);
  EXPECT_THAT(world.poster.held(), ElementsAre("button 0", "key 0x0"));
  world.advance(1ms);
  EXPECT_THAT(world.poster.held(), IsEmpty());
  EXPECT_THAT(delegate->calls, ElementsAre("state 0", "failed 3"));
}

TEST_F(HeldInputTest, NothingStaysDownAfterTheLossOfTheDisplayChannel) {
  hub.display->deliver({8, 0, 0x87, 0});  // four more bytes were to come
  hub.display->close();
  world.run();
  EXPECT_THAT(world.poster.held(), IsEmpty());
  EXPECT_THAT(delegate->calls, ElementsAre("state 0", "failed 3"));
}

TEST_F(HeldInputTest, NothingStaysDownAfterTheSessionWasDropped) {
  session.reset();
  EXPECT_THAT(world.poster.held(), IsEmpty());
  EXPECT_THAT(delegate->calls, ElementsAre("state 0"));
}

// A record may be under way on a channel's queue while the session ends.
TEST_F(HeldInputTest, NothingIsPressedAfterTheEnd) {
  hub.mouse->deliver({8, 0x0D, 10, 0, 20, 0, 8, 0});
  hub.keyBoard->deliver({8, 0, 0, 0, 0, 0, 'b', 0});
  session->disconnect();
  world.run();
  EXPECT_THAT(world.poster.held(), IsEmpty());
}

}  // namespace
}  // namespace tessel::test
