// Every text that a user sees is written in English where it is used and passes through here.
#pragma once

namespace vt {

/// The text in the user's language; the English text itself while no table is loaded. The pointer
/// lives as long as the program.
inline const char* Translate(const char* english) {
    return english;
}

} // namespace vt
