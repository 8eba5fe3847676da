#include <random>

#include "input/TSLKeyBoardSimulator.h"
#include "input/TSLMouseSimulator.h"
#include "tessel/Log.h"
#include "tests/input/InputFixture.h"
#include "wire/MousePacket.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::Eq;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

/// Whole records of random bytes, none of them valid by accident.
Bytes randomRecords(std::mt19937& random, std::size_t count, bool (*valid)(const Bytes&)) {
  std::uniform_int_distribution<int> byte{0, 255};
  Bytes all;
  for (std::size_t i = 0; i < count; ++i) {
    Bytes record(8);
    do {
      for (auto& one : record) one = static_cast<std::uint8_t>(byte(random));
    } while (valid(record));
    all.insert(all.end(), record.begin(), record.end());
  }
  return all;
}

/// Delivers `bytes` within `duration`, a random run of them every 10 ms.
void deliverAtRandom(SimWorld& world, SimConnection& hub, const Bytes& bytes,
                     std::chrono::milliseconds duration, std::mt19937& random) {
  const auto steps = static_cast<std::size_t>(duration / 10ms);
  std::uniform_int_distribution<std::size_t> run{0, 2 * bytes.size() / steps};
  std::size_t at = 0;
  for (std::size_t step = 1; step <= steps; ++step) {
    const std::size_t end = step == steps ? bytes.size() : std::min(at + run(random), bytes.size());
    hub.deliver({bytes.begin() + static_cast<std::ptrdiff_t>(at),
                 bytes.begin() + static_cast<std::ptrdiff_t>(end)});
    at = end;
    world.advance(10ms);
  }
}

class BadMouseInputTest : public MouseChannelTest {};
class BadKeyBoardInputTest : public KeyBoardChannelTest {};

TEST_F(BadMouseInputTest, AMinuteOfRandomBytesPostsNothingAndChangesNothing) {
  std::mt19937 random{1};
  initialize();
  world.advance(1s);  // the cursor has been reported
  world.log.clear();
  const Bytes bytes = randomRecords(
      random, 12'000, [](const Bytes& record) { return record[0] == 8 && record[1] == 0x0D; });
  deliverAtRandom(world, *hub, bytes, 60s, random);
  const std::string enter = "-[TSLMouseConnection rcvMouseEvent:]: Enter";
  EXPECT_EQ(world.log.count(enter), 12'000);
  EXPECT_THAT(world.log.startingWith("-[TSLMouseSimulator simulateMouseEvent:]/360 size=0x"),
              testing::SizeIs(12'000));
  EXPECT_THAT(world.log.lines(),
              Each(AnyOf(Eq(enter), Eq("-[TSLMouseSimulator simulateMouseEvent:]: ENTER"),
                         StartsWith("-[TSLMouseSimulator simulateMouseEvent:]/360 size=0x"))));
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_TRUE(mouse->connected());
  EXPECT_EQ(mouse->mouseSimulator()->mouseCursorPosition(), Point{});
  EXPECT_EQ(mouse->mouseSimulator()->wheel(), 0);
  EXPECT_EQ(mouse->mouseSimulator()->currentMouseEventType(), 0U);
  hub->deliver({8, 0x0D, 1, 0, 2, 0, 1, 0});
  world.run();
  EXPECT_THAT(world.poster.posts(), ElementsAre("post mouse 5 (1,2) button 0 click 1"));
}

TEST_F(BadKeyBoardInputTest, AMinuteOfRandomBytesPostsNothingAndChangesNothing) {
  std::mt19937 random{2};
  open();
  const Bytes bytes = randomRecords(random, 12'000, [](const Bytes& record) {
    return record[0] == 8 && std::ranges::count(record.begin() + 1, record.begin() + 5, 0) == 4;
  });
  deliverAtRandom(world, *hub, bytes, 60s, random);
  const std::string simulate = "-[TSLKeyBoardSimulator simulateKeyBoardEvent:]";
  EXPECT_THAT(world.log.lines(),
              Each(AnyOf(Eq("-[TSLKeyBoardConnection rcvKeyBoardEvent:]_block_invoke: ENTER"),
                         Eq(simulate + ": ENTER"), HasSubstr(", are not 0x8 & 0x0"))));
  EXPECT_EQ(world.log.count(simulate + ": ENTER"), 12'000);
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_TRUE(keyBoard->connected());
  EXPECT_EQ(keyBoard->keyBoardSimulator()->eventFlag(), 0U);
  EXPECT_EQ(keyBoard->keyBoardSimulator()->keyCodeFromHub(), 0);
}

const Bytes kMouseRecords{8, 0x0D, 10, 0, 20, 0, 2,    0,  //
                          8, 0x0D, 11, 0, 21, 0, 1,    0,  //
                          8, 0x0D, 11, 0, 21, 0, 4,    0,  //
                          8, 0x0D, 12, 1, 22, 1, 0x20, 3};

TEST_F(BadMouseInputTest, RecordsSplitAtEveryByteArriveWhole) {
  for (std::size_t split = 0; split <= kMouseRecords.size(); ++split) {
    mouse->stopWithCompletionHandler(nullptr);
    mouse = TSLMouseConnection::initWithHub(session);
    started.codes.clear();
    initialize();
    world.poster.operations.clear();
    const auto middle = kMouseRecords.begin() + static_cast<std::ptrdiff_t>(split);
    hub->deliver({kMouseRecords.begin(), middle});
    world.run();
    EXPECT_EQ(world.poster.posts().size(), split / 8);
    hub->deliver({middle, kMouseRecords.end()});
    world.run();
    EXPECT_THAT(world.poster.posts(),
                ElementsAre("post mouse 1 (10,20) button 0 click 1",
                            "post mouse 6 (11,21) button 0 click 1",
                            "post mouse 2 (11,21) button 0 click 1", "post wheel -3"));
  }
}

TEST_F(BadMouseInputTest, TheHandshakeAndRecordsGluedTogetherOrByteByByteArriveWhole) {
  Bytes stream = kCursorReply;
  stream.insert(stream.end(), kCaptureReply.begin(), kCaptureReply.end());
  stream.insert(stream.end(), kMouseRecords.begin(), kMouseRecords.end());
  becomeReady();
  hub->deliver(stream);
  world.run();
  const auto glued = world.poster.posts();
  EXPECT_EQ(glued.size(), 4U);

  mouse->stopWithCompletionHandler(nullptr);
  mouse = TSLMouseConnection::initWithHub(session);
  world.poster.operations.clear();
  becomeReady();
  for (const std::uint8_t byte : stream) {
    hub->deliver({byte});
    world.run();
  }
  EXPECT_EQ(world.poster.posts(), glued);
  EXPECT_THAT(started.codes, ElementsAre(0, 0));
}

const Bytes kKeyRecords{8, 0, 0, 0, 0, 2, 5,   0,  //
                        8, 0, 0, 0, 0, 0, 'b', 0,  //
                        8, 0, 0, 0, 0, 1, 'b', 0,  //
                        8, 0, 0, 0, 0, 3, 5,   0};

TEST_F(BadKeyBoardInputTest, RecordsSplitAtEveryByteArriveWhole) {
  for (std::size_t split = 0; split <= kKeyRecords.size(); ++split) {
    keyBoard->stopWithCompletionHandler(nullptr);
    keyBoard = TSLKeyBoardConnection::initWithHub(session);
    open();
    world.poster.operations.clear();
    const auto middle = kKeyRecords.begin() + static_cast<std::ptrdiff_t>(split);
    hub->deliver({kKeyRecords.begin(), middle});
    world.run();
    EXPECT_EQ(world.poster.posts().size(), split / 8);
    hub->deliver({middle, kKeyRecords.end()});
    world.run();
    EXPECT_THAT(world.poster.posts(),
                ElementsAre("post key 0x38 down flags 0x0", "post key 0xb down flags 0x20000",
                            "post key 0xb up flags 0x20000", "post key 0x38 up flags 0x0"));
  }
}

TEST_F(BadMouseInputTest, ARecordUnderWayAtTheStopPressesNothing) {
  initialize();
  hub->deliver({8, 0x0D, 10, 0, 20, 0, 2, 0});  // for the queue to handle
  mouse->stopWithCompletionHandler(nullptr);
  world.run();
  EXPECT_EQ(world.log.count("-[TSLMouseSimulator leftClickDown] entry"), 1);
  EXPECT_THAT(world.poster.posts(), IsEmpty());
}

TEST_F(BadKeyBoardInputTest, ARecordUnderWayAtTheStopPressesNothing) {
  open();
  hub->deliver({8, 0, 0, 0, 0, 0, 'a', 0});  // for the queue to handle
  keyBoard->stopWithCompletionHandler(nullptr);
  world.run();
  EXPECT_EQ(world.log.count("-[TSLKeyBoardSimulator simulateKeyBoardEvent:]: ENTER"), 1);
  EXPECT_THAT(world.poster.posts(), IsEmpty());
}

TEST_F(BadMouseInputTest, TheGreatestValuesStayInsideTheScreen) {
  initialize();
  hub->deliver({8, 0x0D, 0xFF, 0xFF, 0xFF, 0xFF, 1, 0xFF});
  hub->deliver({8, 0x0D, 0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0xFF});
  hub->deliver({8, 0x0D, 0xFF, 0xFF, 0xFF, 0xFF, 0x40, 0xFF});
  world.run();
  EXPECT_THAT(world.poster.posts(), ElementsAre("post mouse 5 (1920,1080) button 0 click 1",
                                                "post wheel -255", "post wheel 255"));
}

/// A journal that keeps its lines.
class Journal final : public platform::SystemLog {
 public:
  bool available() override { return true; }
  void write(std::string_view line) override { lines.emplace_back(line); }
  std::vector<std::string> lines;
};

TEST_F(BadKeyBoardInputTest, WhatIsTypedNeverReachesTheJournal) {
  auto services = platform::services();
  const auto journal = std::make_shared<Journal>();
  services.systemLog = journal;
  const platform::ScopedServices scope{services};
  setLogSink(nullptr);
  const auto simulator = TSLKeyBoardSimulator::init();
  simulator->simulateKeyBoardEvent(0x0061'00'00'00000008);
  simulator->simulateKeyBoardEvent(0x0004'00'00'00000008);
  simulator->simulateKeyBoardEvent(0x0005'02'00'00000008);
  simulator->simulateKeyBoardEvent(0x0009'02'00'00000008);
  const std::string simulate = "-[TSLKeyBoardSimulator simulateKeyBoardEvent:]";
  EXPECT_THAT(numbered(journal->lines),
              IsSupersetOf({simulate + ": ENTER", simulate + "/N: KEY_DOWN_FLAG"}));
  EXPECT_THAT(
      journal->lines,
      Each(Not(AnyOf(HasSubstr("keyCode"), HasSubstr("keycode"), HasSubstr("virtualKey")))));
}

}  // namespace
}  // namespace tessel::test
