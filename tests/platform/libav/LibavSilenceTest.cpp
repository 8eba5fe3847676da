#include <gtest/gtest.h>
#include <optional>

#include "platform/libav/LibavSilence.h"

extern "C" {
#include <libavutil/log.h>
}

namespace tessel::platform {
namespace {

class LibavSilenceTest : public ::testing::Test {
 protected:
  LibavSilenceTest() { av_log_set_level(AV_LOG_WARNING); }
  ~LibavSilenceTest() override { av_log_set_level(before_); }

 private:
  const int before_ = av_log_get_level();
};

TEST_F(LibavSilenceTest, OverlappingOnesLeaveTheHostsLevel) {
  std::optional<LibavSilence> first{std::in_place};
  std::optional<LibavSilence> second{std::in_place};
  first.reset();
  EXPECT_EQ(av_log_get_level(), AV_LOG_QUIET);
  second.reset();
  EXPECT_EQ(av_log_get_level(), AV_LOG_WARNING);
}

TEST_F(LibavSilenceTest, ALevelThatTheHostSetsMeanwhileStays) {
  {
    const LibavSilence silence;
    av_log_set_level(AV_LOG_ERROR);
  }
  EXPECT_EQ(av_log_get_level(), AV_LOG_ERROR);
}

}  // namespace
}  // namespace tessel::platform
