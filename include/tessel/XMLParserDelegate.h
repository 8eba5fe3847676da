#pragma once

#include <string>

#include "tessel/Export.h"

namespace tessel {

/// Receives what an XML parser finds, in document order, on the thread that parses.
class TESSEL_EXPORT XMLParserDelegate {
 public:
  virtual ~XMLParserDelegate() = default;

  /// A start tag. `elementName` is the name as written, any prefix included.
  virtual void didStartElement(const std::string& elementName) = 0;

  /// One whole text node as UTF-8, white space kept; white space between elements comes too.
  virtual void foundCharacters(const std::string& text) = 0;
};

}  // namespace tessel
