#include <chrono>
#include <gtest/gtest.h>

#include "tessel/URLSession.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

TEST(URLSessionTest, EachDefaultSessionIsANewOneWithoutATimeOutOfItsOwn) {
  const SimWorld world;
  world.http.lastRequestTimeout = std::chrono::seconds{4};
  const auto one = URLSession::tsl_sessionWithDefaultConfiguration();
  EXPECT_EQ(world.http.lastRequestTimeout, std::nullopt);
  const auto another = URLSession::tsl_sessionWithDefaultConfiguration();
  EXPECT_EQ(world.http.lastRequestTimeout, std::nullopt);
  EXPECT_NE(one, another);
  EXPECT_EQ(world.http.sessionsMade, 2);
}

}  // namespace
}  // namespace tessel::test
