#include <array>
#include <atomic>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <vector>

#include "platform/Log.h"
#include "platform/Services.h"
#include "platform/linux/JournalLog.h"
#include "tessel/Log.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::test {
namespace {

using platform::log;
using platform::logPrivate;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingLog final : public platform::SystemLog {
 public:
  bool available() override { return listening; }
  void write(std::string_view line) override { lines.emplace_back(line); }

  bool listening = true;
  std::vector<std::string> lines;
};

class LogTest : public testing::Test {
 protected:
  ~LogTest() override { setLogSink(nullptr); }

  void listen() {
    setLogSink([this](std::string_view line) { lines_.emplace_back(line); });
  }

  const std::shared_ptr<RecordingLog> system_ = std::make_shared<RecordingLog>();
  const platform::ScopedServices services_{[this] {
    platform::Services services;
    services.systemLog = system_;
    return services;
  }()};
  std::vector<std::string> lines_;  // what the host's sink got
};

// Memory without read access: formatting it crashes.
class Untouchable {
 public:
  Untouchable() : page_{mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)} {
    EXPECT_NE(page_, MAP_FAILED);
  }
  ~Untouchable() { munmap(page_, kSize); }
  Untouchable(const Untouchable&) = delete;
  Untouchable& operator=(const Untouchable&) = delete;
  const char* text() const { return static_cast<const char*>(page_); }

 private:
  static constexpr std::size_t kSize = 4096;
  void* const page_;
};

TEST_F(LogTest, WithoutASinkLinesGoToTheSystemLog) {
  log("%s: ENTER", "-[TSLSession connect]");
  EXPECT_THAT(system_->lines, ElementsAre("-[TSLSession connect]: ENTER"));
}

TEST_F(LogTest, WithASinkLinesGoThereOnly) {
  listen();
  log("%s/%d: %s", "-[TSLSession connect]", 12, "text");
  EXPECT_THAT(lines_, ElementsAre("-[TSLSession connect]/12: text"));
  EXPECT_THAT(system_->lines, IsEmpty());
}

TEST_F(LogTest, WithTheSinkGoneLinesGoToTheSystemLogAgain) {
  listen();
  setLogSink(nullptr);
  log("back");
  EXPECT_THAT(lines_, IsEmpty());
  EXPECT_THAT(system_->lines, ElementsAre("back"));
}

TEST_F(LogTest, ALineWithoutAReceiverIsNotFormatted) {
  const Untouchable untouchable;
  system_->listening = false;
  log("%s", untouchable.text());
  logPrivate("%s", untouchable.text());
  EXPECT_THAT(system_->lines, IsEmpty());
}

TEST_F(LogTest, WithoutASystemLogALineIsNotFormatted) {
  const Untouchable untouchable;
  const platform::ScopedServices none{platform::Services{}};
  log("%s", untouchable.text());
}

TEST_F(LogTest, APrivateLineNeverReachesTheSystemLog) {
  const Untouchable untouchable;
  logPrivate("%s", untouchable.text());
  EXPECT_THAT(system_->lines, IsEmpty());
  listen();
  logPrivate("key %d", 0x24);
  EXPECT_THAT(lines_, ElementsAre("key 36"));
  EXPECT_THAT(system_->lines, IsEmpty());
}

TEST_F(LogTest, LinesOfAnyLengthArriveWhole) {
  listen();
  for (const std::size_t length : {0, 1, 159, 160, 161, 5000}) {
    const std::string text(length, 'x');
    log("%s", text.c_str());
    EXPECT_EQ(lines_.back(), text);
  }
}

TEST_F(LogTest, NumbersHaveAPointWhateverTheHostsLocale) {
  const CommaLocale host;
  listen();
  log("%lf/%.1f", 1920.5, 0.25);
  logPrivate("%f", -0.5);
  EXPECT_THAT(lines_, ElementsAre("1920.500000/0.2", "-0.500000"));
}

TEST_F(LogTest, LinesOfManyThreadsComeOneAtATime) {
  listen();  // writes lines_ without a lock of its own
  {
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
      thread = std::jthread{[] {
        for (int i = 0; i < 500; ++i) log("line %d", i);
      }};
    }
  }
  EXPECT_EQ(lines_.size(), 2000U);
}

TEST_F(LogTest, WhatASinkLogsGoesNowhere) {
  setLogSink([this](std::string_view line) {
    log("echo of %s", lines_.empty() ? "first" : "next");
    lines_.emplace_back(line);
  });
  log("line");
  EXPECT_THAT(lines_, ElementsAre("line"));
  EXPECT_THAT(system_->lines, IsEmpty());
}

TEST_F(LogTest, ASinkThatThrowsStillGetsTheThreadsNextLine) {
  setLogSink([this](std::string_view line) {
    lines_.emplace_back(line);
    if (lines_.size() == 1) throw std::runtime_error{"no room"};
  });
  EXPECT_THROW(log("one"), std::runtime_error);
  log("two");
  EXPECT_THAT(lines_, ElementsAre("one", "two"));
}

TEST_F(LogTest, ASinkMayReplaceItself) {
  setLogSink([this](std::string_view line) {
    lines_.emplace_back(line);
    setLogSink(nullptr);
    lines_.emplace_back("still whole");
  });
  log("once");
  log("twice");
  EXPECT_THAT(lines_, ElementsAre("once", "still whole"));
  EXPECT_THAT(system_->lines, ElementsAre("twice"));
}

// A host may take its sink back and destroy what the sink wrote to.
TEST_F(LogTest, AReplacedSinkIsNotCalledAnyMore) {
  system_->listening = false;
  std::atomic<bool> stop = false;
  std::jthread writer{[&] {
    while (!stop) log("line");
  }};
  std::atomic<int> late = 0;
  for (int i = 0; i < 200; ++i) {
    const auto called = std::make_shared<Eventually<bool>>();
    const auto replaced = std::make_shared<std::atomic<bool>>(false);
    setLogSink([&late, called, replaced](std::string_view) {
      called->set(true);
      std::this_thread::yield();
      if (*replaced) ++late;
    });
    EXPECT_TRUE(called->becomesEqual(true));
    setLogSink(nullptr);
    *replaced = true;
  }
  stop = true;
  writer.join();
  EXPECT_EQ(late, 0);
}

TEST(JournalLogTest, IsNotAvailableWhereNothingListens) {
  const TemporaryFolder folder;
  const auto log = platform::makeSystemLog(folder.path() / "socket");
  EXPECT_FALSE(log->available());
  log->write("into the void");
}

TEST(JournalLogTest, IsAvailableWhereItsSocketStands) {
  const TemporaryFolder folder;
  const auto path = folder.path() / "socket";
  const std::ofstream made{path};
  EXPECT_TRUE(platform::makeSystemLog(path)->available());
}

}  // namespace
}  // namespace tessel::test
