#include <array>
#include <chrono>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/bluez/ManagementSocket.h"

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using Packet = std::vector<std::uint8_t>;

constexpr std::uint16_t kCommand = 0x0004;
constexpr std::uint16_t kController = 1;

const Packet kAnswer = {
    0x01, 0x00,  // command complete
    0x01, 0x00,  // controller
    0x05, 0x00,  // size of what follows
    0x04, 0x00,  // command
    0x00,        // success
    0xAA, 0xBB,  // return parameters
};

// Controllers 1 and 2.
const Packet kTwoControllers = {
    0x01, 0x00,              // command complete
    0xFF, 0xFF,              // no controller
    0x09, 0x00,              // size of what follows
    0x03, 0x00,              // read the index list
    0x00,                    // success
    0x02, 0x00,              // number of controllers
    0x01, 0x00, 0x02, 0x00,  // their indices
};

// Only a test that fails waits that long.
ManagementSocket::Clock::time_point soon() { return ManagementSocket::Clock::now() + 5s; }

Packet statusOf(std::uint8_t controller, std::uint8_t status) {
  return {0x02, 0x00, controller, 0x00, 0x03, 0x00, 0x04, 0x00, status};
}

Packet informationOf(std::uint8_t controller, std::uint8_t version) {
  return {0x01,   0x00, controller, 0x00, 0x0A, 0x00, 0x04, 0x00, 0x00,  // success
          1,      2,    3,          4,    5,    6,                       // address
          version};
}

// A socket whose kernel the test plays: its packets are there before they are asked for.
class ManagementSocketTest : public testing::Test {
 protected:
  ManagementSocketTest() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()),
              0);
    kernel = FileDescriptor{ends[0]};
    socket = ManagementSocket{FileDescriptor{ends[1]}};
  }
  void send(const Packet& packet) const {
    ASSERT_EQ(write(kernel.get(), packet.data(), packet.size()),
              static_cast<ssize_t>(packet.size()));
  }

  FileDescriptor kernel;
  ManagementSocket socket{{}};
};

TEST_F(ManagementSocketTest, TheVersionIsTheHighestOfAllControllers) {
  send(kTwoControllers);
  send(informationOf(1, 9));
  send(informationOf(2, 8));
  EXPECT_EQ(socket.controllerVersion(soon()), 9U);
}

TEST_F(ManagementSocketTest, ARefusedCommandLeavesTheTimeToTheNextOne) {
  send(kTwoControllers);
  send(statusOf(1, 0x11));  // invalid index: the controller has just gone
  send(informationOf(2, 8));
  EXPECT_EQ(socket.controllerVersion(soon()), 8U);
}

TEST_F(ManagementSocketTest, ACommandThatCompletesWithAFailureLeavesTheTimeToTheNextOne) {
  Packet failed = informationOf(1, 9);
  failed[8] = 0x03;
  send(kTwoControllers);
  send(failed);
  send(informationOf(2, 8));
  EXPECT_EQ(socket.controllerVersion(soon()), 8U);
}

TEST_F(ManagementSocketTest, EventsAboutOtherThingsAreSkipped) {
  send({0x05, 0x00, 0x01, 0x00, 0x00, 0x00});
  send(statusOf(2, 0x11));
  send(kAnswer);
  EXPECT_EQ(socket.ask(kCommand, kController, soon()), (Packet{0xAA, 0xBB}));
}

TEST_F(ManagementSocketTest, NoAnswerByTheDeadlineIsNone) {
  EXPECT_EQ(socket.ask(kCommand, kController, ManagementSocket::Clock::now() + 1ms), std::nullopt);
}

TEST_F(ManagementSocketTest, ASocketThatEndsIsNotWaitedFor) {
  ASSERT_EQ(shutdown(kernel.get(), SHUT_WR), 0);
  const auto deadline = soon();
  EXPECT_EQ(socket.ask(kCommand, kController, deadline), std::nullopt);
  EXPECT_LT(ManagementSocket::Clock::now(), deadline);
}

TEST_F(ManagementSocketTest, ACommandIsItsCodeTheControllerAndNoParameters) {
  EXPECT_THAT(managementCommand(0x0403, 0x0102), ElementsAre(0x03, 0x04, 0x02, 0x01, 0x00, 0x00));
}

TEST_F(ManagementSocketTest, TheAnswerIsItsStatusAndWhatFollowsItsHead) {
  const auto answer = managementAnswer(kAnswer, kCommand, kController);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 0);
  EXPECT_THAT(answer->parameters, ElementsAre(0xAA, 0xBB));
}

TEST_F(ManagementSocketTest, AStatusAloneIsAnAnswer) {
  const auto answer = managementAnswer(statusOf(1, 0x14), kCommand, kController);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 0x14);
}

TEST_F(ManagementSocketTest, AnyOtherHeadIsNoAnswer) {
  for (const std::size_t at : {0U, 1U, 2U, 3U, 6U, 7U}) {
    auto other = kAnswer;
    other[at] ^= 0x10;
    EXPECT_FALSE(managementAnswer(other, kCommand, kController)) << at;
  }
}

TEST_F(ManagementSocketTest, APacketCutShortIsNoAnswer) {
  for (std::size_t size = 0; size < 9; ++size) {
    EXPECT_FALSE(managementAnswer(std::span{kAnswer}.first(size), kCommand, kController)) << size;
  }
}

}  // namespace
}  // namespace tessel::platform
