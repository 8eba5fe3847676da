#include "session/UTF8.h"

#include <cstddef>
#include <cstdint>

namespace tessel {
namespace {

// One lead byte's range and what may follow it: the second byte's range excludes overlong forms,
// surrogates, and what lies past U+10FFFF; all further bytes are 80..BF.
//
//   lead    second  length
//   00..7F          1
//   C2..DF  80..BF  2
//   E0      A0..BF  3
//   E1..EC  80..BF  3
//   ED      80..9F  3
//   EE..EF  80..BF  3
//   F0      90..BF  4
//   F1..F3  80..BF  4
//   F4      80..8F  4
struct Form {
  std::uint8_t firstLead, lastLead, firstSecond, lastSecond;
  std::size_t length;
};

constexpr Form kForms[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// Length of the character that `bytes` start with; 0 when it is none.
std::size_t characterLength(std::span<const std::uint8_t> bytes) {
  for (const Form& form : kForms) {
    if (bytes[0] < form.firstLead || bytes[0] > form.lastLead) continue;
    if (bytes.size() < form.length) return 0;
    if (form.length > 1 && (bytes[1] < form.firstSecond || bytes[1] > form.lastSecond)) return 0;
    for (std::size_t i = 2; i < form.length; ++i) {
      if (bytes[i] < 0x80 || bytes[i] > 0xBF) return 0;
    }
    return form.length;
  }
  return 0;
}

}  // namespace

std::optional<std::string> textFromUTF8(std::span<const std::uint8_t> bytes) {
  for (auto rest = bytes; !rest.empty();) {
    const std::size_t length = characterLength(rest);
    if (length == 0) return std::nullopt;
    rest = rest.subspan(length);
  }
  return std::string{bytes.begin(), bytes.end()};
}

}  // namespace tessel
