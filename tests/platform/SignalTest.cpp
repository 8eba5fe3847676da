#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "tessel/Signal.h"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

TEST(SignalTest, ANewSubscriberFirstGetsTheLastValue) {
  const auto subject = std::make_shared<ReplaySubject<int>>();
  std::vector<int> early;
  std::vector<int> late;
  subject->subscribeNext([&](int value) { early.push_back(value); });
  subject->sendNext(1);
  subject->sendNext(2);
  subject->subscribeNext([&](int value) { late.push_back(value); });
  subject->sendNext(3);
  EXPECT_THAT(early, ElementsAre(1, 2, 3));
  EXPECT_THAT(late, ElementsAre(2, 3));
}

TEST(SignalTest, AValueSentDuringAReplayComesAfterIt) {
  const auto subject = std::make_shared<ReplaySubject<int>>();
  subject->sendNext(1);
  std::vector<int> received;
  subject->subscribeNext([&](int value) {
    if (value == 1) std::thread{[&] { subject->sendNext(2); }}.join();
    received.push_back(value);
  });
  EXPECT_THAT(received, ElementsAre(1, 2));
}

TEST(SignalTest, AllSubscribersReceiveAllValuesInOneOrder) {
  const auto subject = std::make_shared<ReplaySubject<int>>();
  std::vector<int> first;
  std::vector<int> second;
  subject->subscribeNext([&](int value) {
    first.push_back(value);
    if (value == 1) subject->sendNext(2);
  });
  subject->subscribeNext([&](int value) { second.push_back(value); });
  subject->sendNext(1);
  EXPECT_THAT(first, ElementsAre(1, 2));
  EXPECT_THAT(second, ElementsAre(1, 2));
}

TEST(SignalTest, ASubscriberMayDropTheSubject) {
  auto subject = std::make_shared<ReplaySubject<int>>();
  int received = 0;
  subject->subscribeNext([&](int value) {
    received = value;
    subject.reset();
  });
  subject->sendNext(7);
  EXPECT_EQ(received, 7);
}

}  // namespace
}  // namespace tessel::test
