#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "platform/base/ErrorText.h"
#include "platform/base/TextLength.h"
#include "platform/base/URLPath.h"
#include "session/IntegerValue.h"
#include "session/UTF8.h"
#include "tessel/URLSession.h"

namespace tessel {
namespace {

using platform::appendingPathComponent;
using platform::urlFromText;

TEST(IntegerValueTest, LeadingDecimalDigitsCount) {
  EXPECT_EQ(integerValue("443"), 443);
  EXPECT_EQ(integerValue("443/tcp"), 443);
  EXPECT_EQ(integerValue("0x10"), 0);
  EXPECT_EQ(integerValue("1.9"), 1);
}

TEST(IntegerValueTest, WhiteSpaceAndASignMayComeFirst) {
  EXPECT_EQ(integerValue(" \t\r\n\v\f 7"), 7);
  EXPECT_EQ(integerValue("-8"), -8);
  EXPECT_EQ(integerValue("+9"), 9);
  EXPECT_EQ(integerValue("+-9"), 0);
  EXPECT_EQ(integerValue("- 9"), 0);
}

TEST(IntegerValueTest, NoDigitsGiveZero) {
  EXPECT_EQ(integerValue(""), 0);
  EXPECT_EQ(integerValue("   "), 0);
  EXPECT_EQ(integerValue("+"), 0);
  EXPECT_EQ(integerValue("YES"), 0);
}

TEST(IntegerValueTest, ANumberTooLargeGivesTheNearestOne) {
  EXPECT_EQ(integerValue("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(integerValue("9223372036854775808"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(integerValue(" -9223372036854775809"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(integerValue(std::string(100000, '9')), std::numeric_limits<std::int64_t>::max());
}

std::optional<std::string> decoded(const std::string& bytes) {
  return textFromUTF8({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

TEST(UTF8Test, CharactersOfEveryLengthAreText) {
  for (const std::string text :
       {"", "a", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
        "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "a\xC3\xA9z\xE2\x82\xAC"}) {
    EXPECT_EQ(decoded(text), text);
  }
}

TEST(UTF8Test, EverythingElseIsNot) {
  for (const std::string bytes : {
           "\x80",              // a continuation byte alone
           "\xC0\xAF",          // overlong
           "\xE0\x9F\xBF",      // overlong
           "\xF0\x8F\xBF\xBF",  // overlong
           "\xED\xA0\x80",      // a surrogate
           "\xF4\x90\x80\x80",  // past U+10FFFF
           "\xF5\x80\x80\x80",  // past U+10FFFF
           "\xFF",              // never a lead
           "\xC3",              // cut short
           "\xE2\x82",          // cut short
           "\xF0\x9F\x98",      // cut short
           "\xE2\x28\xA1",      // broken in the second byte
           "\xE2\x82\x28",      // broken in the third byte
           "fine until \xC3(",
       }) {
    EXPECT_EQ(decoded(bytes), std::nullopt) << testing::PrintToString(bytes);
  }
}

TEST(UTF8Test, AZeroByteIsACharacter) {
  const std::string text{"a\0b", 3};
  EXPECT_EQ(decoded(text), text);
}

TEST(TextLengthTest, CharactersOutsideTheBasicPlaneCountTwice) {
  EXPECT_EQ(platform::lengthInUTF16(""), 0U);
  EXPECT_EQ(platform::lengthInUTF16("a\xC3\xA9\xE2\x82\xAC"), 3U);
  EXPECT_EQ(platform::lengthInUTF16("\xEF\xBF\xBD"), 1U);  // the basic plane's last but two
  EXPECT_EQ(platform::lengthInUTF16("\xF0\x90\x80\x80"), 2U);
  EXPECT_EQ(platform::lengthInUTF16("\xF4\x8F\xBF\xBFz"), 3U);
}

TEST(URLPathTest, ExactlyOneSlashStandsBetween) {
  EXPECT_EQ(appendingPathComponent("http://h/apps/", "A"), "http://h/apps/A");
  EXPECT_EQ(appendingPathComponent("http://h/apps", "A"), "http://h/apps/A");
  EXPECT_EQ(appendingPathComponent("http://h/apps//", "/A"), "http://h/apps/A");
  EXPECT_EQ(appendingPathComponent("http://h", "A"), "http://h/A");
}

TEST(URLPathTest, ASlashInsideTheComponentStays) {
  EXPECT_EQ(appendingPathComponent("http://h/apps/", "CasterApp/abc"),
            "http://h/apps/CasterApp/abc");
}

TEST(URLPathTest, AQueryStaysBehindThePath) {
  EXPECT_EQ(appendingPathComponent("http://h/apps/?a=/b", "A"), "http://h/apps/A?a=/b");
  EXPECT_EQ(appendingPathComponent("http://h/apps#f", "A"), "http://h/apps/A#f");
}

TEST(URLPathTest, WhatAPathCannotHoldIsEncoded) {
  EXPECT_EQ(appendingPathComponent("http://h/", "a b?c#d\r\n\xC3\xA9\x7F"),
            "http://h/a%20b%3Fc%23d%0D%0A%C3%A9%7F");
}

TEST(URLPathTest, EscapesOfTheComponentAreLeftAlone) {
  EXPECT_EQ(appendingPathComponent("http://h/", "a%2fb%zz%2"), "http://h/a%2fb%25zz%252");
}

TEST(URLPathTest, NoURLGivesNone) {
  EXPECT_EQ(appendingPathComponent(std::nullopt, "A"), std::nullopt);
}

TEST(URLPathTest, TextWithControlCharactersOrBlanksIsNoURL) {
  EXPECT_EQ(urlFromText("http://h/apps/"), "http://h/apps/");
  EXPECT_EQ(urlFromText(""), std::nullopt);
  EXPECT_EQ(urlFromText("http://h/a b"), std::nullopt);
  EXPECT_EQ(urlFromText("http://h/\r\nX-Evil: 1"), std::nullopt);
  EXPECT_EQ(urlFromText(std::string{"http://h/\0", 10}), std::nullopt);
  EXPECT_EQ(urlFromText("http://h/\x7F"), std::nullopt);
}

TEST(ErrorTextTest, NamesDomainCodeAndDescription) {
  EXPECT_EQ(platform::describe({"some.domain", -11800, "No screen."}),
            "Error Domain=some.domain Code=-11800 \"No screen.\"");
  EXPECT_EQ(platform::describe({"some.domain", 2, ""}),
            "Error Domain=some.domain Code=2 \"(null)\"");
}

TEST(URLResponseTest, HeaderNamesMatchInAnyLetterCase) {
  URLResponse response;
  response.headers["application-url"] = "http://h/apps/";
  EXPECT_EQ(response.header("Application-URL"), "http://h/apps/");
  EXPECT_EQ(response.header("application-url"), "http://h/apps/");
  EXPECT_EQ(response.header("Location"), std::nullopt);
}

}  // namespace
}  // namespace tessel
