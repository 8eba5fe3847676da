#include <map>

#include "input/KeyMaps.h"
#include "input/TSLKeyBoardSimulator.h"
#include "tests/input/InputFixture.h"

namespace tessel::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kSimulateKeys = "-[TSLKeyBoardSimulator simulateKeyBoardEvent:]";
const std::string kNormal = "-[TSLKeyBoardSimulator simulateNormalKey:]";
const std::string kSpecial = "-[TSLKeyBoardSimulator simulateSpecialKey:]";

enum Flag : std::uint8_t { kDown, kUp, kSpecialDown, kSpecialUp };

class TSLKeyBoardSimulatorTest : public InputTest {
 protected:
  void send(std::uint8_t flag, int code) {
    const auto bits = static_cast<std::uint16_t>(code);
    simulator->simulateKeyBoardEvent(std::uint64_t{bits} << 48 | std::uint64_t{flag} << 40 | 8);
  }
  std::vector<std::string> takePosts() {
    auto posts = world.poster.posts();
    world.poster.operations.clear();
    return posts;
  }
  std::vector<std::string> log() const { return numbered(world.log.lines()); }

  std::shared_ptr<TSLKeyBoardSimulator> simulator = TSLKeyBoardSimulator::init();
};

TEST_F(TSLKeyBoardSimulatorTest, ANewSimulatorHoldsNoModifier) {
  EXPECT_EQ(simulator->eventFlag(), 0U);
  EXPECT_THAT(log(), ElementsAre("-[TSLKeyBoardSimulator init]/N: TSLKeyBoardSimulator init"));
  world.log.clear();
  simulator.reset();
  EXPECT_THAT(log(),
              ElementsAre("-[TSLKeyBoardSimulator dealloc]/N: TSLKeyBoardSimulator dealloc\n"));
}

// Record 08 00 00 00 00 00 41 00 posts key-down for virtual key 0x00 (A) with the current
// eventFlag; the same with byte 5 = 01 posts key-up.
TEST_F(TSLKeyBoardSimulatorTest, ANormalKeyIsPostedWithTheFlags) {
  simulator->setEventFlag(0x60000);
  world.log.clear();
  simulator->simulateKeyBoardEvent(0x0041'00'00'00000008);
  EXPECT_THAT(log(), ElementsAre(kSimulateKeys + ": ENTER", kSimulateKeys + "/N: KEY_DOWN_FLAG",
                                 kNormal + "/N: self.keyCodeFromHub=0x41, self.virtualKey=0x0, "
                                           "self.eventFlag=0x60000,",
                                 kNormal + "/N: rcv normal key self.eventFlag=0x60000, "
                                           "self.virtualKey=0x0"));
  EXPECT_THAT(world.poster.operations,
              ElementsAre("create key 0x0 down", "post key 0x0 down flags 0x60000"));
  world.poster.operations.clear();
  world.log.clear();
  simulator->simulateKeyBoardEvent(0x0041'01'00'00000008);
  EXPECT_THAT(log(), Contains(kSimulateKeys + "/N: KEY_UP_FLAG"));
  EXPECT_THAT(world.poster.operations,
              ElementsAre("create key 0x0 up", "post key 0x0 up flags 0x60000"));
  EXPECT_EQ(simulator->keyCodeFromHub(), 0x41);
  EXPECT_EQ(simulator->virtualKey(), 0);
  EXPECT_EQ(simulator->eventFlag(), 0x60000U);
}

// Record 08 00 00 00 01 00 41 00 (eventType 1) is dropped with the log line (values 0x8, 0x1, 0x8,
// 0x0).
TEST_F(TSLKeyBoardSimulatorTest, ARecordOfAnotherEventTypeOrCmdIsDropped) {
  world.log.clear();
  simulator->simulateKeyBoardEvent(0x0041'00'01'00000008);
  simulator->simulateKeyBoardEvent(0x0041'00'00'FFFFFF08);
  simulator->simulateKeyBoardEvent(0);
  EXPECT_THAT(log(),
              ElementsAre(kSimulateKeys + ": ENTER",
                          kSimulateKeys + "/N:cmd=0x8, eventType=0x1, are not 0x8 & 0x0",
                          kSimulateKeys + ": ENTER",
                          kSimulateKeys + "/N:cmd=0xffffff08, eventType=0x0, are not 0x8 & 0x0",
                          kSimulateKeys + ": ENTER",
                          kSimulateKeys + "/N:cmd=0x0, eventType=0x0, are not 0x8 & 0x0"));
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_EQ(simulator->keyCodeFromHub(), 0);
}

// Byte 5 = 04 is logged as unknown command 0x4 and dropped.
TEST_F(TSLKeyBoardSimulatorTest, AnUnknownKeyFlagIsDropped) {
  simulator->setVirtualKey(0x35);
  simulator->setEventFlag(0x60000);
  for (const int flag : {4, 0xFF}) {
    world.log.clear();
    send(static_cast<std::uint8_t>(flag), 0x42);
    EXPECT_THAT(
        log(), ElementsAre(kSimulateKeys + ": ENTER",
                           kSimulateKeys + "/N: unknown command: " + (flag == 4 ? "0x4" : "0xff")));
  }
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_EQ(simulator->keyCodeFromHub(), 0x42);
  EXPECT_EQ(simulator->virtualKey(), 0x35);
  EXPECT_EQ(simulator->eventFlag(), 0x60000U);
}

// Normal code 0x0080 or any negative code maps to invalid and posts nothing.
TEST_F(TSLKeyBoardSimulatorTest, ANormalCodeOutsideTheMapIsInvalid) {
  for (const auto& [code, text] :
       {std::pair{0x80, "0x80"}, {-1, "0xffffffff"}, {-32768, "0xffff8000"}, {4, "0x4"}}) {
    world.log.clear();
    send(kDown, code);
    EXPECT_THAT(log(), ElementsAre(kSimulateKeys + ": ENTER", kSimulateKeys + "/N: KEY_DOWN_FLAG",
                                   kNormal + "/N: keycode " + text +
                                       " from hub maps to invalid virtual key"));
    EXPECT_EQ(simulator->virtualKey(), 0xFFFF);
  }
  EXPECT_THAT(world.poster.operations, IsEmpty());
}

// Special down 5, normal down/up 0x61 ('a'), special up 5: the 'a' events carry 0x20000; the Shift
// events themselves carry no flags; afterwards eventFlag is 0.
TEST_F(TSLKeyBoardSimulatorTest, AHeldShiftFlagsTheKeysTypedMeanwhile) {
  world.log.clear();
  send(kSpecialDown, 5);
  EXPECT_THAT(log(),
              ElementsAre(kSimulateKeys + ": ENTER", kSimulateKeys + "/N: SPECIAL_KEY_DOWN_FLAG",
                          kSpecial + "/N: number lock is off",
                          kSpecial + "/N: self.keyCodeFromHub=0x5, self.virtualKey=0x38, "
                                     "self.eventFlag=0x0,"));
  EXPECT_EQ(simulator->eventFlag(), 0x20000U);
  send(kDown, 'a');
  send(kUp, 'a');
  world.log.clear();
  send(kSpecialUp, 5);
  EXPECT_THAT(log(), Contains(kSimulateKeys + "/N: SPECIAL_KEY_UP_FLAG"));
  EXPECT_EQ(simulator->eventFlag(), 0U);
  EXPECT_THAT(world.poster.operations,
              ElementsAre("create key 0x38 down", "post key 0x38 down flags 0x0",
                          "create key 0x0 down", "post key 0x0 down flags 0x20000",
                          "create key 0x0 up", "post key 0x0 up flags 0x20000",
                          "create key 0x38 up", "post key 0x38 up flags 0x0"));
}

// Special down 37 switches code 22 from Home (0x73) to Keypad 7 (0x59) until special up 37.
TEST_F(TSLKeyBoardSimulatorTest, NumLockIsOnWhileItsKeyIsHeld) {
  send(kSpecialDown, 22);
  send(kSpecialUp, 22);
  send(kSpecialDown, 37);
  EXPECT_EQ(simulator->eventFlag(), 0x200000U);
  world.log.clear();
  send(kSpecialDown, 22);
  EXPECT_THAT(log(), Contains(kSpecial + "/N: number lock is on"));
  send(kSpecialUp, 22);
  send(kSpecialUp, 37);
  send(kSpecialDown, 22);
  EXPECT_THAT(takePosts(),
              ElementsAre("post key 0x73 down flags 0x0", "post key 0x73 up flags 0x0",
                          "post key 0x47 down flags 0x0", "post key 0x59 down flags 0x0",
                          "post key 0x59 up flags 0x0", "post key 0x47 up flags 0x0",
                          "post key 0x73 down flags 0x0"));
}

// Special code 80 is invalid with num lock off but passes the range test with num lock on; special
// 79 is invalid in both.
TEST_F(TSLKeyBoardSimulatorTest, SpecialCodesBeyondTheMapsAreInvalid) {
  for (const std::uint64_t numLock : {0x0U, 0x200000U}) {
    simulator->setEventFlag(numLock);
    for (const int code : {79, 80, 81, 127, -1}) {
      send(kSpecialDown, code);
      EXPECT_EQ(simulator->virtualKey(), 0xFFFF);
      EXPECT_EQ(simulator->eventFlag(), numLock);
    }
  }
  EXPECT_THAT(world.poster.operations, IsEmpty());
  EXPECT_THAT(
      log(), Contains(kSpecial + "/N: keycode 0x50 from hub maps to invalid virtual key").Times(2));
}

// Special down 4 then special up 51 leaves Control cleared.
TEST_F(TSLKeyBoardSimulatorTest, EitherOfTwoTwinsClearsTheModifier) {
  for (const auto& [left, right, bit] :
       {std::tuple{4, 51, 0x40000U}, {5, 6, 0x20000U}, {8, 53, 0x80000U}, {64, 65, 0x100000U}}) {
    send(kSpecialDown, left);
    EXPECT_EQ(simulator->eventFlag(), bit);
    send(kSpecialUp, right);
    EXPECT_EQ(simulator->eventFlag(), 0U);
    send(kSpecialDown, right);
    EXPECT_EQ(simulator->eventFlag(), bit);
    send(kSpecialUp, left);
    EXPECT_EQ(simulator->eventFlag(), 0U);
  }
}

TEST_F(TSLKeyBoardSimulatorTest, ModifiersAddUp) {
  for (const int code : {4, 5, 8, 10, 37, 64}) send(kSpecialDown, code);
  EXPECT_EQ(simulator->eventFlag(), 0x3F0000U);
  send(kSpecialDown, 0);
  EXPECT_EQ(simulator->eventFlag(), 0x3F0000U);
  send(kSpecialUp, 10);
  EXPECT_EQ(simulator->eventFlag(), 0x3E0000U);
}

TEST_F(TSLKeyBoardSimulatorTest, AKeyThatCannotBePostedChangesNoModifier) {
  world.poster.creationFails = true;
  world.log.clear();
  send(kSpecialDown, 5);
  EXPECT_EQ(log().back(), kSpecial + "/N: CGEventCreateKeyboardEvent failed.");
  EXPECT_EQ(simulator->eventFlag(), 0U);
  send(kDown, 'a');
  EXPECT_EQ(log().back(), kNormal + "/N: CGEventCreateKeyboardEvent failed.");
}

TEST_F(TSLKeyBoardSimulatorTest, TheLookupsStoreWhatTheyReturn) {
  simulator->setKeyCodeFromHub(22);
  EXPECT_EQ(simulator->getSpecialVirtualKey(), 0x73);
  EXPECT_EQ(simulator->virtualKey(), 0x73);
  EXPECT_EQ(simulator->getSpecialVirtualKeyWhenNumLock(), 0x59);
  EXPECT_EQ(simulator->virtualKey(), 0x59);
  EXPECT_EQ(simulator->getVirtualKey(), 0x09);
  EXPECT_EQ(simulator->virtualKey(), 0x09);
}

TEST_F(TSLKeyBoardSimulatorTest, EveryCodePostsTheKeyOfItsMap) {
  const auto expectPost = [this](const std::string& where, std::uint16_t key, const char* way,
                                 const char* flags) {
    EXPECT_EQ(simulator->virtualKey(), key) << where;
    if (key == 0xFFFF) {
      EXPECT_THAT(takePosts(), IsEmpty()) << where;
      return;
    }
    char post[64];
    std::snprintf(post, sizeof post, "post key 0x%x %s flags %s", key, way, flags);
    EXPECT_THAT(takePosts(), ElementsAre(post)) << where;
  };
  for (const bool numLock : {false, true}) {
    const auto& map =
        numLock ? specialKeyCodeToVirtualKeyMap_NumLock : specialKeyCodeToVirtualKeyMap;
    for (int code = 0; code < 80; ++code) {
      const auto where = "special " + std::to_string(code) + (numLock ? " under num lock" : "");
      const auto key = map.at(static_cast<std::size_t>(code));
      simulator->setEventFlag(numLock ? 0x200000 : 0);
      send(kSpecialDown, code);
      expectPost(where, key, "down", "0x0");
      simulator->setEventFlag(numLock ? 0x200000 : 0);
      send(kSpecialUp, code);
      expectPost(where, key, "up", "0x0");
    }
  }
  for (int code = 0; code < 128; ++code) {
    const auto where = "normal " + std::to_string(code);
    const auto key = keyCodeToVirtualKeyMap.at(static_cast<std::size_t>(code));
    simulator->setEventFlag(0x120000);
    send(kDown, code);
    expectPost(where, key, "down", "0x120000");
    send(kUp, code);
    expectPost(where, key, "up", "0x120000");
  }
}

TEST_F(TSLKeyBoardSimulatorTest, OnlyTheModifiersAmongTheSpecialCodesChangeTheFlags) {
  constexpr std::uint64_t kAll = 0x3F0000;
  const std::map<int, std::uint64_t> kBits{
      {4, 0x40000},  {51, 0x40000}, {5, 0x20000},   {6, 0x20000},   {8, 0x80000},
      {53, 0x80000}, {10, 0x10000}, {37, 0x200000}, {64, 0x100000}, {65, 0x100000}};
  for (int code = 0; code < 80; ++code) {
    const auto modifier = kBits.find(code);
    const std::uint64_t bit = modifier == kBits.end() ? 0 : modifier->second;
    simulator->setEventFlag(0);
    send(kSpecialDown, code);
    EXPECT_EQ(simulator->eventFlag(), bit) << code;
    simulator->setEventFlag(kAll);
    send(kSpecialUp, code);
    EXPECT_EQ(simulator->eventFlag(), kAll & ~bit) << code;
  }
}

TEST_F(TSLKeyBoardSimulatorTest, NoNormalCodeChangesTheFlags) {
  for (int code = 0; code < 128; ++code) {
    send(kDown, code);
    EXPECT_EQ(simulator->eventFlag(), 0U) << code;
    send(kUp, code);
    EXPECT_EQ(simulator->eventFlag(), 0U) << code;
  }
}

}  // namespace
}  // namespace tessel::test
