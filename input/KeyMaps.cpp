#include "input/KeyMaps.h"

#include <cstddef>

namespace tessel {

// clang-format off

// Shifted characters share the key of their unshifted twin, as the hub sends Shift separately.
// Some control characters map to their letter; 127 maps to the A key.
constexpr std::array<std::uint16_t, 128> keyCodeToVirtualKeyMap{
//           +0      +1      +2      +3      +4      +5      +6      +7      +8      +9     +10     +11     +12     +13     +14     +15
/*   0 */  0x31,   0x00,   0x0B,   0x08, 0xFFFF, 0xFFFF,   0x03, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF,   0x25, 0xFFFF, 0xFFFF, 0xFFFF,
/*  16 */ 0xFFFF, 0xFFFF, 0xFFFF,   0x01, 0xFFFF, 0xFFFF,   0x09, 0xFFFF,   0x07, 0xFFFF,   0x06, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF,
/*  32 */  0x31,   0x12,   0x27,   0x14,   0x15,   0x17,   0x1A,   0x27,   0x19,   0x1D,   0x1C,   0x18,   0x2B,   0x1B,   0x2F,   0x2C,
/*  48 */  0x1D,   0x12,   0x13,   0x14,   0x15,   0x17,   0x16,   0x1A,   0x1C,   0x19,   0x29,   0x29,   0x2B,   0x18,   0x2F,   0x2C,
/*  64 */  0x13,   0x00,   0x0B,   0x08,   0x02,   0x0E,   0x03,   0x05,   0x04,   0x22,   0x26,   0x28,   0x25,   0x2E,   0x2D,   0x1F,
/*  80 */  0x23,   0x0C,   0x0F,   0x01,   0x11,   0x20,   0x09,   0x0D,   0x07,   0x10,   0x06,   0x21,   0x2A,   0x1E,   0x16,   0x1B,
/*  96 */  0x32,   0x00,   0x0B,   0x08,   0x02,   0x0E,   0x03,   0x05,   0x04,   0x22,   0x26,   0x28,   0x25,   0x2E,   0x2D,   0x1F,
/* 112 */  0x23,   0x0C,   0x0F,   0x01,   0x11,   0x20,   0x09,   0x0D,   0x07,   0x10,   0x06,   0x21,   0x2A,   0x1E,   0x32,   0x00,
};

namespace {

constexpr std::uint16_t kNone = kInvalidVirtualKey;

struct SpecialKey {
  std::uint16_t off;  // num lock off
  std::uint16_t on;   // num lock on
};

constexpr std::array<SpecialKey, 80> kSpecialKeys{{
// code     off    on
/*  0 */ {0x35,  0x35},   // Escape
/*  1 */ {0x33,  0x33},   // Delete (backspace)
/*  2 */ {0x30,  0x30},   // Tab
/*  3 */ {0x24,  0x24},   // Return
/*  4 */ {0x3B,  0x3B},   // Control
/*  5 */ {0x38,  0x38},   // Shift
/*  6 */ {0x3C,  0x3C},   // Right Shift
/*  7 */ {0x43,  0x43},   // Keypad *
/*  8 */ {0x3A,  0x3A},   // Option
/*  9 */ {kNone, kNone},
/* 10 */ {0x39,  0x39},   // Caps Lock
/* 11 */ {0x7A,  0x7A},   // F1
/* 12 */ {0x78,  0x78},   // F2
/* 13 */ {0x63,  0x63},   // F3
/* 14 */ {0x76,  0x76},   // F4
/* 15 */ {0x60,  0x60},   // F5
/* 16 */ {0x61,  0x61},   // F6
/* 17 */ {0x62,  0x62},   // F7
/* 18 */ {0x64,  0x64},   // F8
/* 19 */ {0x65,  0x65},   // F9
/* 20 */ {0x6D,  0x6D},   // F10
/* 21 */ {kNone, kNone},
/* 22 */ {0x73,  0x59},   // Home           Keypad 7
/* 23 */ {0x7E,  0x5B},   // Up Arrow       Keypad 8
/* 24 */ {0x74,  0x5C},   // Page Up        Keypad 9
/* 25 */ {0x7B,  0x56},   // Left Arrow     Keypad 4
/* 26 */ {0x57,  0x57},   // Keypad 5
/* 27 */ {0x7C,  0x58},   // Right Arrow    Keypad 6
/* 28 */ {0x77,  0x53},   // End            Keypad 1
/* 29 */ {0x7D,  0x54},   // Down Arrow     Keypad 2
/* 30 */ {0x79,  0x55},   // Page Down      Keypad 3
/* 31 */ {kNone, 0x52},   //                Keypad 0
/* 32 */ {0x4E,  0x4E},   // Keypad -
/* 33 */ {0x45,  0x45},   // Keypad +
/* 34 */ {0x75,  0x41},   // Forward Delete Keypad .
/* 35 */ {0x67,  0x67},   // F11
/* 36 */ {0x6F,  0x6F},   // F12
/* 37 */ {0x47,  0x47},   // Keypad Clear
/* 38 */ {kNone, kNone},
/* 39 */ {kNone, kNone},
/* 40 */ {kNone, kNone},
/* 41 */ {kNone, kNone},
/* 42 */ {kNone, kNone},
/* 43 */ {kNone, kNone},
/* 44 */ {kNone, kNone},
/* 45 */ {kNone, kNone},
/* 46 */ {kNone, kNone},
/* 47 */ {kNone, kNone},
/* 48 */ {kNone, kNone},
/* 49 */ {kNone, kNone},
/* 50 */ {0x4C,  0x4C},   // Keypad Enter
/* 51 */ {0x3E,  0x3E},   // Right Control
/* 52 */ {0x4B,  0x4B},   // Keypad /
/* 53 */ {0x3D,  0x3D},   // Right Option
/* 54 */ {kNone, kNone},
/* 55 */ {0x73,  0x73},   // Home
/* 56 */ {0x74,  0x74},   // Page Up
/* 57 */ {0x75,  0x75},   // Forward Delete
/* 58 */ {0x77,  0x77},   // End
/* 59 */ {0x79,  0x79},   // Page Down
/* 60 */ {0x7E,  0x7E},   // Up Arrow
/* 61 */ {0x7B,  0x7B},   // Left Arrow
/* 62 */ {0x7D,  0x7D},   // Down Arrow
/* 63 */ {0x7C,  0x7C},   // Right Arrow
/* 64 */ {0x37,  0x37},   // Command
/* 65 */ {0x37,  0x37},   // Command
/* 66 */ {kNone, kNone},
/* 67 */ {kNone, kNone},
/* 68 */ {kNone, kNone},
/* 69 */ {kNone, kNone},
/* 70 */ {kNone, kNone},
/* 71 */ {kNone, kNone},
/* 72 */ {kNone, kNone},
/* 73 */ {kNone, kNone},
/* 74 */ {kNone, kNone},
/* 75 */ {kNone, kNone},
/* 76 */ {kNone, kNone},
/* 77 */ {kNone, kNone},
/* 78 */ {kNone, kNone},
/* 79 */ {kNone, kNone},
}};

// clang-format on

constexpr std::array<std::uint16_t, 80> column(std::uint16_t SpecialKey::*which) {
  std::array<std::uint16_t, 80> keys{};
  for (std::size_t code = 0; code < keys.size(); ++code) keys[code] = kSpecialKeys[code].*which;
  return keys;
}

}  // namespace

constexpr std::array<std::uint16_t, 80> specialKeyCodeToVirtualKeyMap = column(&SpecialKey::off);
constexpr std::array<std::uint16_t, 80> specialKeyCodeToVirtualKeyMap_NumLock =
    column(&SpecialKey::on);

std::uint16_t lookUpVirtualKey(std::span<const std::uint16_t> map, std::int16_t maxCode,
                               std::int16_t code) {
  if (code < 0 || code > maxCode) return kInvalidVirtualKey;
  const auto index = static_cast<std::size_t>(code);
  return index < map.size() ? map[index] : kInvalidVirtualKey;
}

}  // namespace tessel
