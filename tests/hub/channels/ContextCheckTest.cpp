#include <gtest/gtest.h>

#include "apps/tessel-hub/channels/ContextCheck.h"

namespace tessel::hub {
namespace {

H264ContextRequestMsg request(std::uint32_t width, std::uint32_t height) {
  return ContextRequest{width, height}.bytes();
}

TEST(ContextCheckTest, SizeIsTakenFromARequest) {
  std::string problem;
  const auto parsed = servedRequest(request(1920, 1080), problem);
  ASSERT_TRUE(parsed) << problem;
  EXPECT_EQ(parsed->width, 1920U);
  EXPECT_EQ(parsed->height, 1080U);
}

TEST(ContextCheckTest, ImpossibleSizesAreRefused) {
  std::string problem;
  EXPECT_FALSE(servedRequest(request(0, 0), problem));
  EXPECT_FALSE(servedRequest(request(1920, 0), problem));
  EXPECT_FALSE(servedRequest(request(8193, 1080), problem));
  EXPECT_FALSE(servedRequest(request(1920, 0xFFFFFFFF), problem));
}

TEST(ContextCheckTest, OneWrongByteAnywhereIsRefusedAndNamed) {
  for (std::size_t at = 0; at < ContextRequest::kSize; ++at) {
    H264ContextRequestMsg message = request(1280, 720);
    message.at(at) ^= 0x01;
    std::string problem;
    EXPECT_FALSE(servedRequest(message, problem)) << "byte " << at;
    if (at < 192 || at >= 200) {  // the size is read there
      const auto byte = std::to_string(message.at(at));
      const auto wanted = std::to_string(request(1280, 720).at(at));
      EXPECT_EQ(problem, "the context request has " + byte + " instead of " + wanted + " at byte " +
                             std::to_string(at));
    }
    EXPECT_FALSE(problem.empty());
  }
}

TEST(ContextCheckTest, OtherLengthsAreRefused) {
  std::string problem;
  const H264ContextRequestMsg message = request(1280, 720);
  EXPECT_FALSE(servedRequest(std::span{message}.first(227), problem));
  EXPECT_EQ(problem, "the context request is 227 bytes long, not 228");
}

}  // namespace
}  // namespace tessel::hub
