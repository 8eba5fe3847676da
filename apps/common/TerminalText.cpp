#include "apps/common/TerminalText.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <locale.h>
#include <optional>
#include <sstream>
#include <wchar.h>

namespace tessel::apps {
namespace {

constexpr std::string_view kCut = "...";

struct Character {
  std::optional<char32_t> codePoint;  // none: a byte that is not UTF-8
  std::size_t size = 1;               // in bytes
};

// The character at the start of `text`, which is not empty. Overlong forms, surrogates and code
// points beyond the last are not UTF-8.
Character firstCharacter(std::string_view text) {
  const auto byteAt = [&text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byteAt(0);
  if (lead < 0x80) return {lead, 1};
  std::size_t size = 0;
  char32_t value = 0;
  char32_t least = 0;
  if ((lead & 0xE0) == 0xC0) {
    size = 2, value = lead & 0x1F, least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    size = 3, value = lead & 0x0F, least = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    size = 4, value = lead & 0x07, least = 0x10000;
  }
  if (size == 0 || text.size() < size) return {};
  for (std::size_t i = 1; i < size; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return {};
    value = value << 6 | (byteAt(i) & 0x3F);
  }
  if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return {};
  return {value, size};
}

// Whether a terminal would interpret it instead of drawing it.
bool isInterpreted(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) ||  // control characters
         c == 0x061C || (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
         (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF ||  // invisible, or of writing direction
         (c >= 0xFFF9 && c <= 0xFFFB) || (c >= 0xE0000 && c <= 0xE0FFF);
}

std::string escaped(std::uint32_t value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), value <= 0xFF ? "\\x%02x" : "\\u{%x}", value);
  return text.data();
}

// The character at the start of `text`, as it is shown.
std::string shownAs(const Character& character, std::string_view text) {
  if (!character.codePoint) return escaped(static_cast<std::uint8_t>(text[0]));
  if (isInterpreted(*character.codePoint)) return escaped(*character.codePoint);
  return std::string{text.substr(0, character.size)};
}

// 0 for a combining accent, 2 for an ideograph. wcwidth() needs a UTF-8 locale, which the user's
// may not be; a character unknown to it counts as 1.
std::size_t columnsOf(char32_t c) {
  static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  const locale_t before = uselocale(utf8);
  const int columns = wcwidth(static_cast<wchar_t>(c));
  uselocale(before);
  return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

}  // namespace

std::string terminalText(std::string_view text, std::size_t maxLength) {
  std::string shown;
  std::size_t columns = 0;
  for (std::size_t count = 0; !text.empty(); ++count) {
    const Character character = firstCharacter(text);
    const std::string piece = shownAs(character, text);
    columns += columnCount(piece);
    // Characters too: a letter can carry any number of accents, which take no column.
    if (columns > maxLength || count == maxLength) return shown += kCut;
    shown += piece;
    text.remove_prefix(character.size);
  }
  return shown;
}

std::string cutText(std::string_view text, std::size_t maxLength) {
  std::string_view rest = text;
  for (std::size_t count = 0; !rest.empty(); ++count) {
    if (count == maxLength) {
      return std::string{text.substr(0, text.size() - rest.size())}.append(kCut);
    }
    rest.remove_prefix(firstCharacter(rest).size);
  }
  return std::string{text};
}

std::size_t columnCount(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    columns += columnsOf(character.codePoint.value_or(U'?'));
    text.remove_prefix(character.size);
  }
  return columns;
}

std::vector<std::string> wrapped(const std::string& text, std::size_t columns) {
  std::vector<std::string> lines;
  std::istringstream words{text};
  for (std::string word; words >> word;) {
    if (lines.empty() || columnCount(lines.back()) + 1 + columnCount(word) > columns) {
      lines.push_back(word);
    } else {
      lines.back() += ' ' + word;
    }
  }
  return lines;
}

}  // namespace tessel::apps
