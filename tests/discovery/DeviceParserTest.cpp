#include <gmock/gmock.h>

#include "discovery/deviceParser.h"
#include "tessel/Types.h"
#include "tests/support/FakeXMLParser.h"

namespace tessel::test {
namespace {

std::optional<std::string> nameIn(const std::string& document) {
  const auto parser = deviceParser::initWithTarget("friendlyName");
  FakeXMLParser xml;
  const Bytes bytes{document.begin(), document.end()};
  xml.parse(bytes, *parser);
  return parser->result();
}

TEST(DeviceParserTest, TheTextOfTheTargetIsCaptured) {
  EXPECT_EQ(nameIn("<d><a>one</a><friendlyName>Room 1</friendlyName><b>two</b></d>"), "Room 1");
}

TEST(DeviceParserTest, ADocumentWithoutTheTargetHasNoResult) {
  EXPECT_EQ(nameIn("<d><friendlyname>Room</friendlyname></d>"), std::nullopt);
  EXPECT_EQ(nameIn(""), std::nullopt);
  EXPECT_EQ(nameIn("not found"), std::nullopt);
}

TEST(DeviceParserTest, TextOfOneCharacterIsNoResult) {
  EXPECT_EQ(nameIn("<friendlyName>R</friendlyName>"), std::nullopt);
  EXPECT_EQ(nameIn("<friendlyName>\xC3\xA9</friendlyName>"), std::nullopt);      // two bytes
  EXPECT_EQ(nameIn("<friendlyName>\xE2\x82\xAC</friendlyName>"), std::nullopt);  // three bytes
}

TEST(DeviceParserTest, LengthCountsInUTF16Units) {
  EXPECT_EQ(nameIn("<friendlyName>R1</friendlyName>"), "R1");
  EXPECT_EQ(nameIn("<friendlyName>\xC3\xA9\xC3\xA9</friendlyName>"), "\xC3\xA9\xC3\xA9");
  // Outside the basic plane one character is two units.
  EXPECT_EQ(nameIn("<friendlyName>\xF0\x9F\x93\xBA</friendlyName>"), "\xF0\x9F\x93\xBA");
}

TEST(DeviceParserTest, LaterTextReplacesWhatWasCaptured) {
  EXPECT_EQ(nameIn("<d><friendlyName>One</friendlyName><friendlyName>Two</friendlyName></d>"),
            "Two");
}

TEST(DeviceParserTest, WhiteSpaceAfterTheTargetBecomesTheResult) {
  EXPECT_EQ(nameIn("<d><friendlyName>Room</friendlyName>\n  <b>x</b></d>"), "\n  ");
}

TEST(DeviceParserTest, ALineFeedAloneAfterTheTargetIsTooShortToReplace) {
  EXPECT_EQ(nameIn("<d><friendlyName>Room</friendlyName>\n<b>x</b></d>"), "Room");
}

TEST(DeviceParserTest, AnElementInsideTheTargetEndsIt) {
  EXPECT_EQ(nameIn("<friendlyName>Ro<b>om</b>xyz</friendlyName>"), "Ro");
}

TEST(DeviceParserTest, TheLastElementStartedIsKept) {
  const auto parser = deviceParser::initWithTarget("friendlyName");
  EXPECT_EQ(parser->target(), "friendlyName");
  EXPECT_EQ(parser->xmlelement(), std::nullopt);
  parser->didStartElement("a");
  EXPECT_EQ(parser->xmlelement(), "a");
}

}  // namespace
}  // namespace tessel::test
