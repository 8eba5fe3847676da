#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "platform/libav/EncoderCandidates.h"
#include "tessel/Log.h"
#include "tests/platform/libav/EncoderOutput.h"

namespace tessel::platform {
namespace {

TEST(EncoderCandidatesTest, HardwareIsTriedBeforeX264AndX264BeforeOpenH264) {
  std::vector<std::string> software;
  for (const EncoderCandidate& candidate : encoderCandidates()) {
    if (candidate.hardware) {
      EXPECT_TRUE(software.empty()) << candidate.name << " is tried too late";
    } else {
      software.emplace_back(candidate.name);
    }
  }
  EXPECT_THAT(software, testing::ElementsAre("libx264", "libopenh264"));
  EXPECT_TRUE(encoderCandidates().front().hardware);
}

TEST(EncoderCandidatesTest, TheOneInUseIsTold) {
  std::vector<std::string> lines;
  setLogSink([&lines](std::string_view line) { lines.emplace_back(line); });
  Output output;
  const auto session = makeSession(64, 48, output);
  setLogSink(nullptr);
  ASSERT_NE(session, nullptr);
  std::vector<std::string> possible;
  for (const EncoderCandidate& candidate : encoderCandidates()) {
    possible.push_back(std::string{"-[LibavCompressionSession open]: encoding with "} +
                       candidate.name);
  }
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(possible, testing::Contains(lines[0]));
}

}  // namespace
}  // namespace tessel::platform
