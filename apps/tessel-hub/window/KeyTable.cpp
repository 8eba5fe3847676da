#include "apps/tessel-hub/window/KeyTable.h"

#include <algorithm>
#include <array>

namespace tessel::hub {
namespace {

struct Row {
  SDL_Scancode scancode;
  std::int16_t code;
};

// Unshifted characters of a US keyboard.
constexpr std::array kCharacters{
    Row{SDL_SCANCODE_SPACE, ' '},
    Row{SDL_SCANCODE_APOSTROPHE, '\''},
    Row{SDL_SCANCODE_COMMA, ','},
    Row{SDL_SCANCODE_MINUS, '-'},
    Row{SDL_SCANCODE_PERIOD, '.'},
    Row{SDL_SCANCODE_SLASH, '/'},
    Row{SDL_SCANCODE_0, '0'},
    Row{SDL_SCANCODE_SEMICOLON, ';'},
    Row{SDL_SCANCODE_EQUALS, '='},
    Row{SDL_SCANCODE_LEFTBRACKET, '['},
    Row{SDL_SCANCODE_BACKSLASH, '\\'},
    Row{SDL_SCANCODE_NONUSHASH, '\\'},
    Row{SDL_SCANCODE_RIGHTBRACKET, ']'},
    Row{SDL_SCANCODE_GRAVE, '`'},
    Row{SDL_SCANCODE_KP_EQUALS, '='},
};

// Special keys.
constexpr std::array kSpecials{
    Row{SDL_SCANCODE_ESCAPE, 0},     Row{SDL_SCANCODE_BACKSPACE, 1},
    Row{SDL_SCANCODE_TAB, 2},        Row{SDL_SCANCODE_RETURN, 3},
    Row{SDL_SCANCODE_LCTRL, 4},      Row{SDL_SCANCODE_LSHIFT, 5},
    Row{SDL_SCANCODE_RSHIFT, 6},     Row{SDL_SCANCODE_KP_MULTIPLY, 7},
    Row{SDL_SCANCODE_LALT, 8},       Row{SDL_SCANCODE_CAPSLOCK, 10},
    Row{SDL_SCANCODE_F1, 11},        Row{SDL_SCANCODE_F2, 12},
    Row{SDL_SCANCODE_F3, 13},        Row{SDL_SCANCODE_F4, 14},
    Row{SDL_SCANCODE_F5, 15},        Row{SDL_SCANCODE_F6, 16},
    Row{SDL_SCANCODE_F7, 17},        Row{SDL_SCANCODE_F8, 18},
    Row{SDL_SCANCODE_F9, 19},        Row{SDL_SCANCODE_F10, 20},
    Row{SDL_SCANCODE_KP_7, 22},      Row{SDL_SCANCODE_KP_8, 23},
    Row{SDL_SCANCODE_KP_9, 24},      Row{SDL_SCANCODE_KP_4, 25},
    Row{SDL_SCANCODE_KP_5, 26},      Row{SDL_SCANCODE_KP_6, 27},
    Row{SDL_SCANCODE_KP_1, 28},      Row{SDL_SCANCODE_KP_2, 29},
    Row{SDL_SCANCODE_KP_3, 30},      Row{SDL_SCANCODE_KP_0, 31},
    Row{SDL_SCANCODE_KP_MINUS, 32},  Row{SDL_SCANCODE_KP_PLUS, 33},
    Row{SDL_SCANCODE_KP_PERIOD, 34}, Row{SDL_SCANCODE_F11, 35},
    Row{SDL_SCANCODE_F12, 36},       Row{SDL_SCANCODE_NUMLOCKCLEAR, 37},
    Row{SDL_SCANCODE_KP_ENTER, 50},  Row{SDL_SCANCODE_RCTRL, 51},
    Row{SDL_SCANCODE_KP_DIVIDE, 52}, Row{SDL_SCANCODE_RALT, 53},
    Row{SDL_SCANCODE_HOME, 55},      Row{SDL_SCANCODE_PAGEUP, 56},
    Row{SDL_SCANCODE_DELETE, 57},    Row{SDL_SCANCODE_END, 58},
    Row{SDL_SCANCODE_PAGEDOWN, 59},  Row{SDL_SCANCODE_UP, 60},
    Row{SDL_SCANCODE_LEFT, 61},      Row{SDL_SCANCODE_DOWN, 62},
    Row{SDL_SCANCODE_RIGHT, 63},     Row{SDL_SCANCODE_LGUI, 64},
    Row{SDL_SCANCODE_RGUI, 65},
};

// The keypad's digits while num lock is on.
constexpr std::array kKeypadCharacters{
    Row{SDL_SCANCODE_KP_0, '0'}, Row{SDL_SCANCODE_KP_1, '1'},      Row{SDL_SCANCODE_KP_2, '2'},
    Row{SDL_SCANCODE_KP_3, '3'}, Row{SDL_SCANCODE_KP_4, '4'},      Row{SDL_SCANCODE_KP_5, '5'},
    Row{SDL_SCANCODE_KP_6, '6'}, Row{SDL_SCANCODE_KP_7, '7'},      Row{SDL_SCANCODE_KP_8, '8'},
    Row{SDL_SCANCODE_KP_9, '9'}, Row{SDL_SCANCODE_KP_PERIOD, '.'},
};

std::optional<HubKey> find(const auto& rows, SDL_Scancode scancode, bool special) {
  const auto* row = std::ranges::find(rows, scancode, &Row::scancode);
  if (row == rows.end()) return std::nullopt;
  return HubKey{.special = special, .code = row->code};
}

std::optional<HubKey> character(char first, int offset) {
  return HubKey{.special = false, .code = static_cast<std::int16_t>(first + offset)};
}

}  // namespace

std::optional<HubKey> hubKeyFor(SDL_Scancode scancode, bool numLock) {
  if (scancode >= SDL_SCANCODE_A && scancode <= SDL_SCANCODE_Z) {
    return character('a', scancode - SDL_SCANCODE_A);
  }
  if (scancode >= SDL_SCANCODE_1 && scancode <= SDL_SCANCODE_9) {
    return character('1', scancode - SDL_SCANCODE_1);
  }
  if (numLock) {
    if (const std::optional<HubKey> key = find(kKeypadCharacters, scancode, false)) return key;
  }
  if (const std::optional<HubKey> key = find(kCharacters, scancode, false)) return key;
  return find(kSpecials, scancode, true);
}

}  // namespace tessel::hub
