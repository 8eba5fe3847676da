#pragma once

#include "platform/XMLParser.h"

namespace tessel::test {

/// Enough of XML for the documents of the tests: tags, text, comments, the predefined entities. It
/// reports each text node whole, and stops at the first "<" that begins nothing.
class FakeXMLParser final : public platform::XMLParser {
 public:
  bool parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) override;
};

}  // namespace tessel::test
