#include "discovery/deviceParser.h"

#include <utility>

#include "platform/base/TextLength.h"

namespace tessel {

deviceParser::deviceParser(std::string target) : target_{std::move(target)} {}

std::shared_ptr<deviceParser> deviceParser::initWithTarget(const std::string& target) {
  return std::shared_ptr<deviceParser>(new deviceParser(target));
}

void deviceParser::didStartElement(const std::string& elementName) { xmlelement_ = elementName; }

void deviceParser::foundCharacters(const std::string& text) {
  if (xmlelement_ == target_ && platform::lengthInUTF16(text) >= 2) result_ = text;
}

}  // namespace tessel
