#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <string>

#include "platform/posix/Thread.h"
#include "tests/support/Eventually.h"
#include "tests/support/ThreadSignals.h"

namespace tessel::test {
namespace {

TEST(ThreadTest, BearsItsNameCutToFifteenCharacters) {
  for (const auto& [asked, given] :
       {std::pair<std::string, std::string>{"tessel.short", "tessel.short"},
        {"tessel.fifteen.", "tessel.fifteen."},
        {"tessel.longer-than-that", "tessel.longer-t"}}) {
    std::string name;
    platform::startThread(asked, [&name] {
      std::array<char, 16> text{};
      pthread_getname_np(pthread_self(), text.data(), text.size());
      name = text.data();
    }).join();
    EXPECT_EQ(name, given);
  }
}

TEST(ThreadTest, KeepsTheHostsSignalsOff) {
  Eventually<bool> started;
  Eventually<bool> mayEnd;
  std::thread thread = platform::startThread("tessel.signals", [&] {
    started.set(true);
    EXPECT_TRUE(mayEnd.becomesEqual(true));
  });
  EXPECT_TRUE(started.becomesEqual(true));
  EXPECT_EQ(keepsHostSignalsOff("tessel.signals"), true);
  mayEnd.set(true);
  thread.join();
  sigset_t mine;
  pthread_sigmask(SIG_SETMASK, nullptr, &mine);
  EXPECT_EQ(sigismember(&mine, SIGINT), 0);
}

TEST(ThreadTest, DestroysItsFunctionOnItself) {
  std::thread::id destroyedOn;
  std::shared_ptr<void> captured{
      nullptr, [&destroyedOn](void*) { destroyedOn = std::this_thread::get_id(); }};
  std::thread thread = platform::startThread("tessel.capture", [captured = std::move(captured)] {});
  const auto id = thread.get_id();
  thread.join();
  EXPECT_EQ(destroyedOn, id);
}

}  // namespace
}  // namespace tessel::test
