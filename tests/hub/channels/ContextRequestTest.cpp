#include <gtest/gtest.h>

#include "apps/tessel-hub/channels/ContextRequest.h"
#include "tessel/DisplayMessages.h"

namespace tessel::hub {
namespace {

H264ContextRequestMsg request(std::uint32_t width, std::uint32_t height) {
  H264ContextRequestMsg message{};
  DefaultH264ContextRequestMsg(message);
  SetH264ContextRequestMsgResolution(message, width, height, 12);
  return message;
}

TEST(ContextRequestTest, SizeIsTakenFromARequest) {
  std::string problem;
  const auto parsed = ContextRequest::parse(request(1920, 1080), problem);
  ASSERT_TRUE(parsed) << problem;
  EXPECT_EQ(parsed->width, 1920U);
  EXPECT_EQ(parsed->height, 1080U);
}

TEST(ContextRequestTest, ImpossibleSizesAreRefused) {
  std::string problem;
  EXPECT_FALSE(ContextRequest::parse(request(0, 0), problem));
  EXPECT_FALSE(ContextRequest::parse(request(1920, 0), problem));
  EXPECT_FALSE(ContextRequest::parse(request(8193, 1080), problem));
  EXPECT_FALSE(ContextRequest::parse(request(1920, 0xFFFFFFFF), problem));
}

TEST(ContextRequestTest, OneWrongByteAnywhereIsRefusedAndNamed) {
  for (std::size_t at = 0; at < ContextRequest::kSize; ++at) {
    H264ContextRequestMsg message = request(1280, 720);
    message.at(at) ^= 0x01;
    std::string problem;
    EXPECT_FALSE(ContextRequest::parse(message, problem)) << "byte " << at;
    EXPECT_FALSE(problem.empty());
  }
}

TEST(ContextRequestTest, OtherLengthsAreRefused) {
  std::string problem;
  const H264ContextRequestMsg message = request(1280, 720);
  EXPECT_FALSE(ContextRequest::parse(std::span{message}.first(227), problem));
  EXPECT_EQ(problem, "the context request is 227 bytes long, not 228");
}

}  // namespace
}  // namespace tessel::hub
