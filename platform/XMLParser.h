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
  /// was well formed. No entity but the five predefined ones is expanded, nothing is loaded from
  /// files or the network, and a document that declares entities ends there as at a fault.
  virtual bool parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) = 0;
};

}  // namespace tessel::platform
