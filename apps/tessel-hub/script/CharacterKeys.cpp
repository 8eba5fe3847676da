#include "apps/tessel-hub/script/CharacterKeys.h"

#include <string_view>

namespace tessel::hub {

std::optional<CharacterKey> keyForCharacter(char character) {
  // Typed with Shift on a US keyboard, which the hub's codes stand for.
  constexpr std::string_view kShifted = R"(~!@#$%^&*()_+{}|:"<>?ABCDEFGHIJKLMNOPQRSTUVWXYZ)";
  constexpr char kFirst = ' ';
  constexpr char kLast = '~';
  if (character == '\n') return CharacterKey{.key = kReturnKey};
  if (character == '\t') return CharacterKey{.key = kTabKey};
  if (character < kFirst || character > kLast) return std::nullopt;
  return CharacterKey{
      .key = {.special = false, .code = static_cast<std::int16_t>(character)},
      .shift = kShifted.find(character) != std::string_view::npos,
  };
}

}  // namespace tessel::hub
