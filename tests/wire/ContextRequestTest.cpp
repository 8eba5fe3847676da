#include <algorithm>
#include <gmock/gmock.h>
#include <initializer_list>
#include <vector>

#include "tests/wire/ContextRequestTable.h"
#include "wire/ContextRequest.h"

namespace tessel::test {
namespace {

TEST(ContextRequestTest, WithoutASizeItIsItsConstants) {
  EXPECT_EQ(ContextRequest::withoutSize(), kDefaultRequest);
}

TEST(ContextRequestTest, TheSizeStandsInItsEightFields) {
  auto expected = kDefaultRequest;
  const auto put = [&expected](std::size_t at, std::initializer_list<std::uint8_t> bytes) {
    std::ranges::copy(bytes, expected.begin() + static_cast<std::ptrdiff_t>(at));
  };
  put(56, {0x00, 0xB0, 0x7B, 0x01});   // 24883200
  put(148, {0x80, 0x07, 0x00, 0x00});  // 1920
  put(152, {0x38, 0x04, 0x00, 0x00});  // 1080
  put(164, {0x80, 0x07, 0x00, 0x00});
  put(168, {0x38, 0x04, 0x00, 0x00});
  put(192, {0x80, 0x07, 0x00, 0x00});
  put(196, {0x38, 0x04, 0x00, 0x00});
  put(202, {0x0C, 0x00});  // 12
  EXPECT_EQ((ContextRequest{1920, 1080}.bytes()), expected);
}

TEST(ContextRequestTest, TheSizeIsReadFromARequest) {
  const auto parsed = ContextRequest::parse(ContextRequest{0x01020304, 0x05060708, 24}.bytes());
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->width, 0x01020304U);
  EXPECT_EQ(parsed->height, 0x05060708U);
  EXPECT_EQ(parsed->bitsPerPixel, 24U);
}

TEST(ContextRequestTest, OtherLengthsAreNone) {
  for (const std::size_t size : {0U, 4U, 227U, 229U}) {
    EXPECT_FALSE(ContextRequest::parse(std::vector<std::uint8_t>(size))) << size;
  }
}

}  // namespace
}  // namespace tessel::test
