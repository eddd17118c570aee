// Keys have two numberings: settings store virtual-key codes, X11 names keysyms.
#pragma once
#include <cstdint>

namespace vt {

inline constexpr uint32_t kVkShift = 0x10, kVkControl = 0x11, kVkAlt = 0x12, kVkWinLeft = 0x5B,
                          kVkWinRight = 0x5C;

/// 0 when the key has no code. Both cases of a letter give its one code.
uint32_t virtualKeyOf(uint32_t keysym);
/// The character that a keysym types; 0 for none. Keys that only control (Return, Tab) type none.
uint32_t characterOf(uint32_t keysym);

} // namespace vt
