#pragma once

#include <cstdint>
#include <span>

#include "tessel/XMLParserDelegate.h"

namespace tessel::platform {

/// An event-driven XML parser. Any thread; parses of different threads do not meet.
class XMLParser {
 public:
  virtual ~XMLParser() = default;

  /// Parses `document` to its end or its first fault, on the calling thread; returns whether it
  /// was well formed. The declarations of a document type are skipped: nothing is expanded, loaded
  /// from files or the network, or added by default. A reference to an entity that is not one of
  /// the five predefined ones is a fault.
  virtual bool parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) = 0;
};

}  // namespace tessel::platform
