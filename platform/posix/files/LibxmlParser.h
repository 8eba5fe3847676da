#pragma once

#include "platform/XMLParser.h"

namespace tessel::platform {

/// XML by libxml2's SAX interface; no tree is built. Stateless: any thread may parse.
///
/// Text runs end at a tag, a comment, a processing instruction and at either end of a CDATA
/// section; a section's content is a run of its own. A run that a fault cuts short is dropped,
/// since half a number is a wrong number. Elements nest at most 256 deep.
class LibxmlParser : public XMLParser {
 public:
  LibxmlParser();
  bool parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) override;
};

}  // namespace tessel::platform
