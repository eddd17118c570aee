#include "platform/shared/virtual_keys.h"

#include <iterator>

namespace vt {

namespace {

struct KeyPair {
    uint32_t virtualKey;
    uint32_t keysym;
};

constexpr KeyPair kKeys[] = {
    {0x08, 0xff08}, // BackSpace
    {0x09, 0xff09},
    {0x09, 0xfe20}, // Tab, and with Shift
    {0x0C, 0xff0b},
    {0x0C, 0xff9d}, // Clear, keypad 5 without NumLock
    {0x0D, 0xff0d},
    {0x0D, 0xff8d}, // Return, keypad Enter
    {kVkShift, 0xffe1},
    {kVkShift, 0xffe2},
    {kVkControl, 0xffe3},
    {kVkControl, 0xffe4},
    {kVkAlt, 0xffe9},
    {kVkAlt, 0xffea},
    {kVkAlt, 0xfe03},
    {kVkAlt, 0xffe7},
    {kVkAlt, 0xffe8},
    {0x13, 0xff13}, // Pause
    {0x14, 0xffe5}, // CapsLock
    {0x1B, 0xff1b}, // Escape
    {0x20, 0x0020}, // Space
    {0x21, 0xff55},
    {0x21, 0xff9a}, // Page Up
    {0x22, 0xff56},
    {0x22, 0xff9b}, // Page Down
    {0x23, 0xff57},
    {0x23, 0xff9c}, // End
    {0x24, 0xff50},
    {0x24, 0xff95}, // Home
    {0x25, 0xff51},
    {0x25, 0xff96}, // Left
    {0x26, 0xff52},
    {0x26, 0xff97}, // Up
    {0x27, 0xff53},
    {0x27, 0xff98}, // Right
    {0x28, 0xff54},
    {0x28, 0xff99}, // Down
    {0x2C, 0xff61}, // Print
    {0x2D, 0xff63},
    {0x2D, 0xff9e}, // Insert
    {0x2E, 0xffff},
    {0x2E, 0xff9f}, // Delete
    {kVkWinLeft, 0xffeb},
    {kVkWinRight, 0xffec},
    {0x5D, 0xff67}, // Menu
    {0x6A, 0xffaa},
    {0x6B, 0xffab},
    {0x6C, 0xffac}, // keypad * + separator
    {0x6D, 0xffad},
    {0x6E, 0xffae},
    {0x6F, 0xffaf}, // keypad - . /
    {0x90, 0xff7f}, // NumLock
    {0x91, 0xff14}, // ScrollLock
    {0xAD, 0x1008ff12},
    {0xAE, 0x1008ff11},
    {0xAF, 0x1008ff13}, // volume mute, down, up
    {0xB0, 0x1008ff17},
    {0xB1, 0x1008ff16},
    {0xB2, 0x1008ff15},
    {0xB3, 0x1008ff14}, // media
    // Punctuation by its place on the US layout, with and without Shift.
    {0xBA, ';'},
    {0xBA, ':'},
    {0xBB, '='},
    {0xBB, '+'},
    {0xBC, ','},
    {0xBC, '<'},
    {0xBD, '-'},
    {0xBD, '_'},
    {0xBE, '.'},
    {0xBE, '>'},
    {0xBF, '/'},
    {0xBF, '?'},
    {0xC0, '`'},
    {0xC0, '~'},
    {0xDB, '['},
    {0xDB, '{'},
    {0xDC, '\\'},
    {0xDC, '|'},
    {0xDD, ']'},
    {0xDD, '}'},
    {0xDE, '\''},
    {0xDE, '"'},
    {0xE2, 0x00a6},
};

/// Runs of codes that go in step.
struct KeyRun {
    uint32_t virtualKey, keysym, count;
};
constexpr KeyRun kRuns[] = {
    {'0', '0', 10},     {'A', 'A', 26}, {'A', 'a', 26}, {0x60, 0xffb0, 10}, // keypad digits
    {0x70, 0xffbe, 24},                                                     // F1 to F24
};

/// The block of KOI8-R order that older Cyrillic keysyms use, 0x6c0 to 0x6df, as lower-case
/// letters.
constexpr uint32_t kCyrillic[] = {0x44e, 0x430, 0x431, 0x446, 0x434, 0x435, 0x444, 0x433,
                                  0x445, 0x438, 0x439, 0x43a, 0x43b, 0x43c, 0x43d, 0x43e,
                                  0x43f, 0x44f, 0x440, 0x441, 0x442, 0x443, 0x436, 0x432,
                                  0x44c, 0x44b, 0x437, 0x448, 0x44d, 0x449, 0x447, 0x44a};

/// Keypad keys type too: '*' stands at 0xffaa, '0' at 0xffb0.
constexpr char kKeypad[] = "*+,-./0123456789";

} // namespace

uint32_t virtualKeyOf(uint32_t keysym) {
    for (const KeyRun& run : kRuns)
        if (keysym - run.keysym < run.count) return run.virtualKey + (keysym - run.keysym);
    for (const KeyPair& pair : kKeys)
        if (pair.keysym == keysym) return pair.virtualKey;
    return 0;
}

uint32_t characterOf(uint32_t keysym) {
    if ((keysym >= 0x20 && keysym <= 0x7e) || (keysym >= 0xa0 && keysym <= 0xff)) return keysym;
    // Keysyms above this bit hold the code point itself.
    if (keysym >= 0x01000100 && keysym <= 0x0110ffff) return keysym & 0xffffff;
    if (keysym - 0xffaa < std::size(kKeypad) - 1)
        return static_cast<uint32_t>(kKeypad[keysym - 0xffaa]);
    if (keysym - 0x6c0 < 32) return kCyrillic[keysym - 0x6c0];
    if (keysym - 0x6e0 < 32) return kCyrillic[keysym - 0x6e0] - 0x20;
    if (keysym == 0x20ac) return 0x20ac; // the euro sign
    return 0;
}

} // namespace vt
