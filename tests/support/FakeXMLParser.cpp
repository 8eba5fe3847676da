#include "tests/support/FakeXMLParser.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <utility>

namespace tessel::test {
namespace {

std::string unescape(std::string text) {
  static const std::array<std::pair<std::string, std::string>, 5> kEntities{
      {{"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}}};
  for (const auto& [entity, character] : kEntities) {
    for (std::size_t at = 0; (at = text.find(entity, at)) != std::string::npos; ++at) {
      text.replace(at, entity.size(), character);
    }
  }
  return text;
}

}  // namespace

bool FakeXMLParser::parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) {
  const std::string text{document.begin(), document.end()};
  int depth = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] != '<') {
      const std::size_t end = std::min(text.find('<', at), text.size());
      if (depth > 0) delegate.foundCharacters(unescape(text.substr(at, end - at)));
      at = end;
      continue;
    }
    const bool comment = text.compare(at, 4, "<!--") == 0;
    const std::string_view closer = comment ? "-->" : ">";
    const std::size_t end = text.find(closer, at);
    if (end == std::string::npos || at + 1 >= text.size()) return false;
    if (text[at + 1] == '/') {
      --depth;
    } else if (std::isalpha(static_cast<unsigned char>(text[at + 1])) != 0) {
      const std::size_t nameEnd = text.find_first_of(" \t\r\n/>", at + 1);
      delegate.didStartElement(text.substr(at + 1, nameEnd - at - 1));
      if (text[end - 1] != '/') ++depth;
    } else if (!comment && text[at + 1] != '?' && text[at + 1] != '!') {
      return false;
    }
    at = end + closer.size();
  }
  return depth == 0;
}

}  // namespace tessel::test
