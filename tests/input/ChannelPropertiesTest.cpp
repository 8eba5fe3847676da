// The properties of both channels may be set, and count from then on.
#include "input/TSLKeyBoardSimulator.h"
#include "input/TSLMouseSimulator.h"
#include "tests/input/InputFixture.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

TEST_F(MouseChannelTest, EveryPropertyCanBeSet) {
  const auto another = TSLSession::initWithHostName("192.168.1.101", 0);
  const auto queue = platform::services().queues->makeSerialQueue("another");
  const auto timer =
      platform::services().queues->makeTimer(queue, {}, std::chrono::hours{1}, [] {});
  mouse->setConnected(true);
  EXPECT_TRUE(mouse->connected());
  mouse->setLastPoint({3, 4});
  EXPECT_EQ(mouse->lastPoint(), (Point{3, 4}));
  mouse->setHub(another);
  EXPECT_EQ(mouse->hub(), another);
  EXPECT_EQ(another.use_count(), 1);  // held weakly
  const auto ticks = mouse->sendOutTimer();
  mouse->setSendOutTimer(timer);
  EXPECT_EQ(mouse->sendOutTimer(), timer);
  ticks->cancel();
  mouse->setMouseQueue(queue);
  EXPECT_EQ(mouse->mouseQueue(), queue);
  const auto simulator = mouse->mouseSimulator();
  mouse->setMouseSimulator(nullptr);
  EXPECT_EQ(mouse->mouseSimulator(), nullptr);
  mouse->setMouseSimulator(simulator);

  initialize();
  EXPECT_EQ(hub->endpoint.host, "192.168.1.101");
  hub->deliver({8, 0x0D, 10, 0, 20, 0, 1, 0});
  world.run();
  EXPECT_THAT(world.log.queuesOf("-[TSLMouseSimulator simulateMouseEvent:]"),
              ElementsAre("another"));
  mouse->setHubConnection(nullptr);
  EXPECT_EQ(mouse->HubConnection(), nullptr);
  hub->cancel();
  world.run();
}

TEST_F(KeyBoardChannelTest, EveryPropertyCanBeSet) {
  const auto another = TSLSession::initWithHostName("192.168.1.101", 0);
  const auto queue = platform::services().queues->makeSerialQueue("another");
  const auto simulator = TSLKeyBoardSimulator::init();
  keyBoard->setConnected(true);
  EXPECT_TRUE(keyBoard->connected());
  keyBoard->setHub(another);
  EXPECT_EQ(keyBoard->hub(), another);
  EXPECT_EQ(another.use_count(), 1);  // held weakly
  keyBoard->setKeyboardQueue(queue);
  EXPECT_EQ(keyBoard->keyboardQueue(), queue);
  keyBoard->setKeyBoardSimulator(simulator);
  EXPECT_EQ(keyBoard->keyBoardSimulator(), simulator);

  open();
  EXPECT_EQ(hub->endpoint.host, "192.168.1.101");
  hub->deliver({8, 0, 0, 0, 0, 0, 'a', 0});
  world.run();
  EXPECT_THAT(world.log.queuesOf("-[TSLKeyBoardSimulator simulateKeyBoardEvent:]"),
              ElementsAre("another"));
  keyBoard->setHubConnection(nullptr);
  EXPECT_EQ(keyBoard->HubConnection(), nullptr);
  hub->cancel();
  world.run();
}

}  // namespace
}  // namespace tessel::test
