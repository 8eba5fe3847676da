#include "discovery/deviceParser.h"

#include <utility>

namespace tessel {
namespace {

constexpr int kMinimumLength = 2;

// Whether UTF-8 text is at least two UTF-16 units long: two characters, or one outside the basic
// plane (four bytes in UTF-8, a pair of units in UTF-16).
bool longEnough(const std::string& text) {
  int units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) units += byte >= 0xF0 ? 2 : 1;
    if (units >= kMinimumLength) return true;
  }
  return false;
}

}  // namespace

deviceParser::deviceParser(std::string target) : target_{std::move(target)} {}

std::shared_ptr<deviceParser> deviceParser::initWithTarget(const std::string& target) {
  return std::shared_ptr<deviceParser>(new deviceParser(target));
}

void deviceParser::didStartElement(const std::string& elementName) { xmlelement_ = elementName; }

void deviceParser::foundCharacters(const std::string& text) {
  if (xmlelement_ == target_ && longEnough(text)) result_ = text;
}

}  // namespace tessel
