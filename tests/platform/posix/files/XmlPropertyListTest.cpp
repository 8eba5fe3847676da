#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "platform/posix/files/XmlPropertyList.h"
#include "tests/support/CommaLocale.h"

namespace tessel::platform {
namespace {

using ::testing::HasSubstr;

std::optional<PropertyListValue> parseText(const std::string& inner) {
  const std::string text = "<plist version=\"1.0\">" + inner + "</plist>";
  return parseXmlPropertyList({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(XmlPropertyListTest, NumbersAreReadAndWrittenWithAPointWhateverTheHostsLocale) {
  const test::CommaLocale host;
  EXPECT_EQ(parseText("<real>0.5</real>"), PropertyListValue{0.5});
  EXPECT_EQ(parseText("<real>-1.25e3</real>"), PropertyListValue{-1250.0});
  const auto written = formatXmlPropertyList({{"key", {0.5}}});
  ASSERT_TRUE(written);
  EXPECT_THAT(*written, HasSubstr("<real>0.5</real>"));
}

TEST(XmlPropertyListTest, TheHostKeepsItsLocale) {
  const test::CommaLocale host;
  ASSERT_TRUE(parseText("<real>0.5</real>"));
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "%.1f", 0.5);
  EXPECT_STREQ(text.data(), "0,5");
}

}  // namespace
}  // namespace tessel::platform
