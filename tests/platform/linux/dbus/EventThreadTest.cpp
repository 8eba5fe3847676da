#include <gtest/gtest.h>
#include <optional>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "platform/linux/dbus/EventThread.h"
#include "tests/support/Eventually.h"
#include "tests/support/ThreadSignals.h"

namespace tessel::test {
namespace {

// As long as it lives this process can open so many files more.
class FewDescriptorsLeft {
 public:
  explicit FewDescriptorsLeft(rlim_t left) {
    const int next = dup(STDERR_FILENO);
    close(next);
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit few{static_cast<rlim_t>(next) + left, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  }
  ~FewDescriptorsLeft() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before_), 0); }
  FewDescriptorsLeft(const FewDescriptorsLeft&) = delete;
  FewDescriptorsLeft& operator=(const FewDescriptorsLeft&) = delete;

 private:
  rlimit before_{};
};

TEST(EventThreadTest, TasksRunInTheirOrder) {
  Eventually<std::vector<int>> ran;
  platform::EventThread thread;
  thread.post([&] { ran.update([](auto& all) { all.push_back(1); }); });
  thread.start("tessel.events");
  thread.post([&] { ran.update([](auto& all) { all.push_back(2); }); });
  EXPECT_TRUE(ran.becomesEqual({1, 2}));
}

TEST(EventThreadTest, OnlyItsOwnThreadIsCurrent) {
  Eventually<std::vector<bool>> current;
  platform::EventThread thread;
  platform::EventThread other;
  thread.post([&] { current.set({thread.isCurrent(), other.isCurrent()}); });
  thread.start("tessel.events");
  EXPECT_TRUE(current.becomesEqual({true, false}));
  EXPECT_FALSE(thread.isCurrent());
}

TEST(EventThreadTest, WithoutTheDescriptorsThatItNeedsItDoesNotStart) {
  for (const rlim_t left : {0, 1}) {
    std::optional<platform::EventThread> thread;
    {
      const FewDescriptorsLeft now{left};
      thread.emplace();
    }
    thread->start("tessel.events");
    EXPECT_EQ(keepsHostSignalsOff("tessel.events"), std::nullopt);
    thread->post([] { ADD_FAILURE() << "a task ran"; });
  }
}

}  // namespace
}  // namespace tessel::test
