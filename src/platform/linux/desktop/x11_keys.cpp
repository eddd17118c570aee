#include "platform/linux/desktop/x11_state.h"
#include "platform/shared/virtual_keys.h"

#include <algorithm>

namespace vt {

namespace {

constexpr xcb_keysym_t kNumLock = 0xff7f, kLevelThree = 0xfe03, kModeSwitch = 0xff7e;

/// Columns of the keyboard map: 0 and 1 are the first layout without and with Shift, 2 and 3 the
/// second layout, 4 and 5 the first with AltGr.
xcb_keysym_t keysymAt(xcb_keycode_t code, int column) {
    return x11.keySymbols ? xcb_key_symbols_get_keysym(x11.keySymbols, code, column) : 0;
}

bool isKeypadDigit(xcb_keysym_t keysym) {
    return keysym >= 0xffaa && keysym <= 0xffb9;
}

/// Which of the eight modifier bits the key sets; 0 for none.
uint16_t modifierMaskOf(const xcb_get_modifier_mapping_reply_t* map, xcb_keysym_t keysym) {
    if (!map) return 0;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(map);
    for (int i = 0; i < 8 * map->keycodes_per_modifier; ++i) {
        if (!codes[i]) continue;
        for (int column = 0; column < 4; ++column)
            if (keysymAt(codes[i], column) == keysym)
                return static_cast<uint16_t>(1 << (i / map->keycodes_per_modifier));
    }
    return 0;
}

uint16_t maskOf(uint32_t modifiers) {
    uint16_t mask = 0;
    if (modifiers & kModAlt) mask |= XCB_MOD_MASK_1;
    if (modifiers & kModControl) mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & kModShift) mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & kModWin) mask |= XCB_MOD_MASK_4;
    return mask;
}

struct Grab {
    xcb_keycode_t code = 0;
    uint16_t state = 0;
    bool operator==(const Grab&) const = default;
};

/// Every key and every setting of the locks under which it means `virtualKey`. A grab holds for an
/// exact state, so that each lock doubles the number.
std::vector<Grab> grabsFor(uint32_t modifiers, uint32_t virtualKey) {
    std::vector<Grab> grabs;
    const xcb_setup_t* setup = xcb_get_setup(x11.connection);
    for (int code = setup->min_keycode; code <= setup->max_keycode; ++code) {
        const auto key = static_cast<xcb_keycode_t>(code);
        for (const uint16_t num : {uint16_t{0}, x11.numLockMask}) {
            if (x11VirtualKey(key, num) != virtualKey) continue;
            for (const uint16_t caps : {uint16_t{0}, uint16_t{XCB_MOD_MASK_LOCK}})
                grabs.push_back({key, static_cast<uint16_t>(maskOf(modifiers) | num | caps)});
            if (x11.numLockMask == 0) break;
        }
    }
    return grabs;
}

bool grab(uint32_t modifiers, uint32_t virtualKey) {
    const std::vector<Grab> grabs = grabsFor(modifiers, virtualKey);
    std::vector<xcb_void_cookie_t> cookies;
    for (const Grab& g : grabs)
        cookies.push_back(xcb_grab_key_checked(x11.connection, 0, x11.screen->root, g.state, g.code,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    bool all = !grabs.empty();
    for (const xcb_void_cookie_t cookie : cookies) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(x11.connection, cookie));
        all = all && !error; // BadAccess: another program holds it
    }
    return all && x11Alive();
}

void ungrab(uint32_t modifiers, uint32_t virtualKey) {
    for (const Grab& g : grabsFor(modifiers, virtualKey))
        xcb_ungrab_key(x11.connection, g.code, x11.screen->root, g.state);
}

std::vector<Grab> grabsOfAllHotkeys() {
    std::vector<Grab> all;
    for (const auto& [modifiers, key] : x11.hotkeys)
        for (const Grab& g : grabsFor(modifiers, key))
            all.push_back(g);
    return all;
}

} // namespace

void x11LoadKeys() {
    const std::vector<Grab> before = grabsOfAllHotkeys();
    if (x11.keySymbols) xcb_key_symbols_free(x11.keySymbols);
    x11.keySymbols = xcb_key_symbols_alloc(x11.connection);
    const Reply<xcb_get_modifier_mapping_reply_t> map(xcb_get_modifier_mapping_reply(
        x11.connection, xcb_get_modifier_mapping(x11.connection), nullptr));
    x11.numLockMask = modifierMaskOf(map.get(), kNumLock);
    x11.levelThreeMask = modifierMaskOf(map.get(), kLevelThree);
    if (!x11.levelThreeMask) x11.levelThreeMask = modifierMaskOf(map.get(), kModeSwitch);
    // Alt and the Windows key are bits of their own; a layout that puts both on one is no AltGr.
    x11.levelThreeMask &= static_cast<uint16_t>(~(XCB_MOD_MASK_1 | XCB_MOD_MASK_4));
    // The keys may lie elsewhere now. As a rule they do not: the server tells of a new map each
    // time that another keyboard is used, and a press between letting go and grabbing again is
    // lost.
    if (grabsOfAllHotkeys() == before) return;
    xcb_ungrab_key(x11.connection, XCB_GRAB_ANY, x11.screen->root, XCB_MOD_MASK_ANY);
    for (const auto& [modifiers, key] : x11.hotkeys)
        grab(modifiers, key);
}

uint32_t x11VirtualKey(xcb_keycode_t code, uint16_t state) {
    const xcb_keysym_t shifted = keysymAt(code, 1);
    if (isKeypadDigit(shifted) && (state & x11.numLockMask)) return virtualKeyOf(shifted);
    // A key of a layout that is not Latin has its code from the other one.
    for (int column = 0; column < 4; ++column)
        if (const uint32_t key = virtualKeyOf(keysymAt(code, column))) return key;
    return 0;
}

uint32_t x11Character(xcb_keycode_t code, uint16_t state) {
    if (state & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1)) return 0;
    const bool shift = state & XCB_MOD_MASK_SHIFT;
    const xcb_keysym_t keypad = keysymAt(code, 1);
    if (isKeypadDigit(keypad) && (state & x11.numLockMask)) return characterOf(keypad);

    int column = (state >> 13) & 3 ? 2 : 0; // these bits of the state name the layout in use
    if (x11.levelThreeMask && (state & x11.levelThreeMask)) column = 4;
    const xcb_keysym_t low = keysymAt(code, column), high = keysymAt(code, column + 1);
    const uint32_t lowChar = characterOf(low), highChar = high ? characterOf(high) : lowChar;
    // CapsLock turns letters only: keys whose pair is one letter in two cases.
    const uint32_t key = virtualKeyOf(low);
    const bool letter = (key >= 'A' && key <= 'Z') || lowChar > 0x7f;
    const bool caps = letter && (state & XCB_MOD_MASK_LOCK);
    return shift != caps ? highChar : lowChar;
}

uint32_t x11Modifiers(uint16_t state) {
    uint32_t modifiers = 0;
    if (state & XCB_MOD_MASK_1) modifiers |= kModAlt;
    if (state & XCB_MOD_MASK_CONTROL) modifiers |= kModControl;
    if (state & XCB_MOD_MASK_SHIFT) modifiers |= kModShift;
    if (state & XCB_MOD_MASK_4) modifiers |= kModWin;
    return modifiers;
}

bool x11KeyDown(uint32_t virtualKey) {
    if (!x11Alive()) return false;
    xcb_connection_t* c = x11Asking();
    if (virtualKey == 1 || virtualKey == 2 || virtualKey == 4) { // left, right, middle button
        const Reply<xcb_query_pointer_reply_t> pointer(
            xcb_query_pointer_reply(c, xcb_query_pointer(c, x11.screen->root), nullptr));
        const uint16_t mask = virtualKey == 1   ? XCB_BUTTON_MASK_1
                              : virtualKey == 2 ? XCB_BUTTON_MASK_3
                                                : XCB_BUTTON_MASK_2;
        return pointer && (pointer->mask & mask);
    }
    const Reply<xcb_query_keymap_reply_t> keys(
        xcb_query_keymap_reply(c, xcb_query_keymap(c), nullptr));
    if (!keys) return false;
    for (int code = 8; code < 256; ++code) {
        if (!(keys->keys[code / 8] & (1 << (code % 8)))) continue;
        const auto key = static_cast<xcb_keycode_t>(code);
        if (x11VirtualKey(key, 0) == virtualKey ||
            x11VirtualKey(key, x11.numLockMask) == virtualKey)
            return true;
    }
    return false;
}

bool x11GrabHotkey(uint32_t modifiers, uint32_t virtualKey) {
    if (!x11Alive()) return false;
    if (!grab(modifiers, virtualKey)) {
        ungrab(modifiers, virtualKey); // what was granted before the refusal
        return false;
    }
    x11.hotkeys.push_back({modifiers, virtualKey});
    return true;
}

void x11UngrabHotkey(uint32_t modifiers, uint32_t virtualKey) {
    std::erase(x11.hotkeys, std::pair{modifiers, virtualKey});
    if (x11Alive()) ungrab(modifiers, virtualKey);
}

void x11HotkeyEvent(const xcb_key_press_event_t& event, bool press) {
    KeyRelease& last = x11.lastHotkeyRelease;
    if (!press) {
        last = {event.detail, event.time};
        return;
    }
    // A key that repeats is released and pressed at one and the same time.
    const bool repeats = last.code == event.detail && last.time == event.time;
    if (!repeats) fireHotkey(x11Modifiers(event.state), x11VirtualKey(event.detail, event.state));
}

} // namespace vt
