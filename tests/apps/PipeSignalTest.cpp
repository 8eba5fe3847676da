#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

#include "apps/common/PipeSignal.h"

namespace tessel::apps {
namespace {

TEST(PipeSignalTest, AWriteToAPipeWithoutAReaderFails) {
  std::signal(SIGPIPE, SIG_DFL);
  blockPipeSignal();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  close(ends[1]);
}

}  // namespace
}  // namespace tessel::apps
