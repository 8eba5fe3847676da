#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

#include "apps/tessel-hub/video/StreamRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::hub {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(StreamRecorderTest, FramesStandOneBehindTheOther) {
  const test::TemporaryFolder folder;
  const std::string path = folder / "stream.h264";
  StreamRecorder recorder;
  std::string problem;
  ASSERT_TRUE(recorder.open(path, problem));
  EXPECT_TRUE(recorder.write(Bytes{1, 2}));
  EXPECT_TRUE(recorder.write(Bytes{3}));
  std::ifstream file{path, std::ios::binary};
  EXPECT_EQ((std::string{std::istreambuf_iterator<char>{file}, {}}), "\x01\x02\x03");
}

TEST(StreamRecorderTest, AFullDiskIsReportedOnce) {
  StreamRecorder recorder;
  std::string problem;
  ASSERT_TRUE(recorder.open("/dev/full", problem));
  EXPECT_FALSE(recorder.write(Bytes{1}));
  EXPECT_TRUE(recorder.write(Bytes{1}));
}

}  // namespace
}  // namespace tessel::hub
