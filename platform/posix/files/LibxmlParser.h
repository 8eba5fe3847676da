#pragma once

#include "platform/XMLParser.h"

namespace tessel::platform {

/// XML by libxml2's event interface; no tree is built. Holds nothing, so that any thread may parse.
///
/// Text runs end at a tag, a comment, a processing instruction and at either end of a CDATA
/// section; what a section holds is a run of its own. A run that a fault cuts short is dropped:
/// half a number is a wrong number. Elements nest at most 256 deep.
class LibxmlParser : public XMLParser {
 public:
  LibxmlParser();
  bool parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) override;
};

}  // namespace tessel::platform
