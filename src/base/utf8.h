// Text at the program's borders. Inside, all text is UTF-8; what comes from a sim, a file or the
// network is made valid here before anything else sees it.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

bool utf8Valid(std::string_view text);

/// Decodes the code point at `pos` and moves `pos` behind it. A broken byte yields U+FFFD and moves
/// by one. `pos` must lie inside the text.
uint32_t utf8Next(std::string_view text, size_t& pos);

void utf8Append(std::string& out, uint32_t codePoint);

/// Length of the longest beginning of `text` that has at most `maxBytes` bytes and ends between two
/// code points.
size_t utf8CutLength(std::string_view text, size_t maxBytes);

/// Number of code points; a broken byte counts as one.
size_t utf8Count(std::string_view text);

/// Byte length of the first `count` code points (all of `text` when it has fewer).
size_t utf8Prefix(std::string_view text, size_t count);

/// Windows-1252 to UTF-8; the five bytes without a meaning there map to the C1 control of their
/// number, as browsers do.
std::string windows1252ToUtf8(std::string_view bytes);

/// UTF-16, little-endian, `count` units at `units` (any alignment), up to the first zero unit;
/// surrogates without their partner become U+FFFD.
std::string utf16ToUtf8(const void* units, size_t count);

/// `bytes` as they are when they are valid UTF-8, else taken as Windows-1252.
std::string foreignToUtf8(std::string_view bytes);

/// Valid UTF-8 with U+FFFD in place of each broken byte.
std::string utf8Repaired(std::string_view text);

/// Copies into a fixed field of `capacity` bytes, always terminated, never cutting a code point.
/// Text that is not UTF-8 is taken as Windows-1252. A null terminator inside `text` ends it.
void copyText(char* out, size_t capacity, std::string_view text);

template <size_t N>
void copyText(char (&out)[N], std::string_view text) {
    copyText(out, N, text);
}

/// ASCII only; other bytes stay as they are.
char asciiLower(char c);
char asciiUpper(char c);
std::string asciiLower(std::string_view text);
std::string asciiUpper(std::string_view text);
bool equalsNoCase(std::string_view a, std::string_view b);
bool startsWithNoCase(std::string_view text, std::string_view start);
bool containsNoCase(std::string_view text, std::string_view lowerCaseNeedle);

} // namespace vt
