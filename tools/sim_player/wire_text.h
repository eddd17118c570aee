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

} // namespace player
