#include <gmock/gmock.h>

#include "platform/linux/dbus/BusConnection.h"
#include "tests/platform/linux/dbus/PrivateBus.h"
#include "tests/support/Eventually.h"

namespace tessel::test {
namespace {

using namespace std::chrono_literals;
using platform::BusConnection;
using platform::MethodCall;
using Strings = std::vector<std::string>;

constexpr const char* kBus = "org.freedesktop.DBus";

// A connection of the test's own that answers nothing.
class Stranger {
 public:
  Stranger() {
    sd_bus* opened = nullptr;
    EXPECT_GE(sd_bus_open_system(&opened), 0);
    bus.reset(opened);
  }
  std::string name() const {
    const char* unique = nullptr;
    EXPECT_GE(sd_bus_get_unique_name(bus.get(), &unique), 0);
    return unique != nullptr ? unique : "";
  }

  platform::SdBus bus;
};

class BusConnectionTest : public testing::Test {
 protected:
  ~BusConnectionTest() override { thread.stop(); }

  void start() {
    thread.post([this] { connection.connect(); });
    thread.start("tessel.bus");
  }
  bool comesTo(BusConnection::State state) { return states.becomesEqual({state}); }
  // Calls, and keeps the first text of each answer, or the name of the error.
  void call(const MethodCall& call) {
    thread.post([this, call] {
      connection.call(call, [this](sd_bus_message* answer, const char* errorName) {
        EXPECT_TRUE(thread.isCurrent());
        EXPECT_NE(answer == nullptr, errorName == nullptr);
        const char* text = errorName;
        if (answer != nullptr) sd_bus_message_read_basic(answer, 's', &text);
        replies.update([text](Strings& all) { all.emplace_back(text); });
      });
    });
  }
  bool repliesBecome(const Strings& expected) { return replies.becomesEqual(expected); }

  Eventually<std::vector<BusConnection::State>> states;
  Eventually<Strings> replies;
  platform::EventThread thread;
  BusConnection connection{thread, &sd_bus_open_system, [this](BusConnection::State state) {
                             states.update([state](auto& all) { all.push_back(state); });
                           }};
};

TEST_F(BusConnectionTest, ACallIsAnswered) {
  const PrivateBus bus;
  start();
  ASSERT_TRUE(comesTo(BusConnection::State::kConnected));
  call({kBus, "/", kBus, "GetNameOwner",
        [](sd_bus_message* message) { sd_bus_message_append(message, "s", kBus); }});
  EXPECT_TRUE(repliesBecome({kBus}));
}

TEST_F(BusConnectionTest, AnErrorIsAnsweredByItsName) {
  const PrivateBus bus;
  start();
  call({kBus, "/", kBus, "NoSuchMethod", nullptr});
  EXPECT_TRUE(repliesBecome({SD_BUS_ERROR_UNKNOWN_METHOD}));
}

TEST_F(BusConnectionTest, ACallIsAnsweredWithAnErrorAfterItsTimeout) {
  const PrivateBus bus;
  const Stranger silent;
  start();
  call({silent.name(), "/", "org.tessel.Test", "Wait", nullptr, 10ms});
  EXPECT_TRUE(repliesBecome({SD_BUS_ERROR_NO_REPLY}));
}

TEST_F(BusConnectionTest, ACallThatCannotBeSentIsAnsweredWithAnError) {
  const PrivateBus bus;
  start();
  ASSERT_TRUE(comesTo(BusConnection::State::kConnected));
  call({kBus, "no path", kBus, "GetId", nullptr});
  EXPECT_TRUE(repliesBecome({SD_BUS_ERROR_INVALID_ARGS}));
}

TEST_F(BusConnectionTest, WithoutABusACallIsAnsweredWithAnError) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/socket", 1);
  start();
  ASSERT_TRUE(comesTo(BusConnection::State::kUnreachable));
  call({kBus, "/", kBus, "GetId", nullptr});
  EXPECT_TRUE(replies.becomes([](const Strings& all) { return all.size() == 1; }));
}

TEST_F(BusConnectionTest, ACallIsAnsweredWithAnErrorWhenTheBusEnds) {
  PrivateBus bus;
  const Stranger silent;
  start();
  call({silent.name(), "/", "org.tessel.Test", "Wait", nullptr});
  call({kBus, "/", kBus, "GetNameOwner",
        [](sd_bus_message* message) { sd_bus_message_append(message, "s", kBus); }});
  ASSERT_TRUE(repliesBecome({kBus}));
  bus.end();
  EXPECT_TRUE(repliesBecome({kBus, SD_BUS_ERROR_NO_REPLY}));
  EXPECT_TRUE(
      states.becomesEqual({BusConnection::State::kConnected, BusConnection::State::kUnreachable}));
}

TEST_F(BusConnectionTest, AMessageGoesToTheHandlerOfTheRuleThatMatches) {
  const PrivateBus bus;
  Eventually<Strings> received;
  for (const char* member : {"First", "Second"}) {
    connection.match(
        std::string{"type='signal',interface='org.tessel.Test',member='"} + member + "'",
        [&received, member](sd_bus_message* message) {
          const char* text = nullptr;
          sd_bus_message_read_basic(message, 's', &text);
          received.update([&](Strings& all) { all.push_back(std::string{member} + " " + text); });
        });
  }
  start();
  // Once this is answered, the matches before it are in force.
  call({kBus, "/", kBus, "NoSuchMethod", nullptr});
  ASSERT_TRUE(repliesBecome({SD_BUS_ERROR_UNKNOWN_METHOD}));
  const Stranger sender;
  for (const char* member : {"Second", "Third", "First"}) {
    sd_bus_emit_signal(sender.bus.get(), "/", "org.tessel.Test", member, "s", "text");
  }
  sd_bus_flush(sender.bus.get());
  EXPECT_TRUE(received.becomesEqual({"Second text", "First text"}));
  thread.stop();
}

}  // namespace
}  // namespace tessel::test
