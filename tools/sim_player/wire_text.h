// Text fields of fixed size, as sims fill them.
#pragma once
#include "base/utf8.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace player {

/// Cut between two letters where it does not fit, always terminated, zero behind it.
template <size_t N>
void putText(char (&out)[N], const std::string& text) {
    std::memset(out, 0, N);
    text.copy(out, vt::utf8CutLength(text, N - 1));
}

/// Windows-1252, as names typed on a European Windows arrive; UTF-8 where that does not do.
inline std::string windows1252(const std::string& utf8) {
    std::string out;
    for (size_t at = 0; at < utf8.size();) {
        const uint32_t c = vt::utf8Next(utf8, at);
        if (c > 0xFF || (c >= 0x80 && c < 0xA0)) return utf8;
        out += static_cast<char>(c);
    }
    return out;
}

} // namespace player
