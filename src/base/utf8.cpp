#include "base/utf8.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

// Length of the well-formed sequence at `pos` (RFC 3629: no overlong forms, no surrogates), or 0.
size_t sequenceLength(std::string_view text, size_t pos) {
    const auto at = [&](size_t i) { return static_cast<unsigned char>(text[pos + i]); };
    const auto tail = [&](size_t i) { return pos + i < text.size() && (at(i) & 0xC0) == 0x80; };
    const unsigned char c = at(0);
    if (c < 0x80) return 1;
    if (c >= 0xC2 && c <= 0xDF) return tail(1) ? 2 : 0;
    if (c >= 0xE0 && c <= 0xEF) {
        if (!tail(1) || !tail(2)) return 0;
        if (c == 0xE0 && at(1) < 0xA0) return 0;
        if (c == 0xED && at(1) > 0x9F) return 0;
        return 3;
    }
    if (c >= 0xF0 && c <= 0xF4) {
        if (!tail(1) || !tail(2) || !tail(3)) return 0;
        if (c == 0xF0 && at(1) < 0x90) return 0;
        if (c == 0xF4 && at(1) > 0x8F) return 0;
        return 4;
    }
    return 0;
}

constexpr uint16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

uint32_t windows1252CodePoint(char byte) {
    const auto c = static_cast<unsigned char>(byte);
    return c >= 0x80 && c <= 0x9F ? kWindows1252High[c - 0x80] : c;
}

/// The bytes of a code point; their number.
size_t utf8Encode(uint32_t c, char (&out)[4]) {
    const auto tail = [&](uint32_t shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | c >> 6);
        out[1] = tail(0);
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | c >> 12);
        out[1] = tail(6);
        out[2] = tail(0);
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | c >> 18);
    out[1] = tail(12);
    out[2] = tail(6);
    out[3] = tail(0);
    return 4;
}

} // namespace

bool utf8Valid(std::string_view text) {
    for (size_t pos = 0; pos < text.size();) {
        const size_t n = sequenceLength(text, pos);
        if (n == 0) return false;
        pos += n;
    }
    return true;
}

uint32_t utf8Next(std::string_view text, size_t& pos) {
    const size_t n = sequenceLength(text, pos);
    const auto at = [&](size_t i) { return static_cast<unsigned char>(text[pos + i]); };
    uint32_t c = 0xFFFD;
    if (n == 1) c = at(0);
    if (n == 2) c = (at(0) & 0x1Fu) << 6 | (at(1) & 0x3Fu);
    if (n == 3) c = (at(0) & 0x0Fu) << 12 | (at(1) & 0x3Fu) << 6 | (at(2) & 0x3Fu);
    if (n == 4)
        c = (at(0) & 0x07u) << 18 | (at(1) & 0x3Fu) << 12 | (at(2) & 0x3Fu) << 6 | (at(3) & 0x3Fu);
    pos += std::max<size_t>(n, 1);
    return c;
}

void utf8Append(std::string& out, uint32_t c) {
    char encoded[4];
    out.append(encoded, utf8Encode(c, encoded));
}

size_t utf8CutLength(std::string_view text, size_t maxBytes) {
    if (text.size() <= maxBytes) return text.size();
    size_t end = maxBytes;
    // A code point has at most three continuation bytes; more of them is not UTF-8 and cut
    // anywhere.
    for (size_t back = 0; back < 4 && end > 0; ++back, --end)
        if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80) return end;
    return maxBytes;
}

size_t utf8Count(std::string_view text) {
    size_t count = 0;
    for (size_t pos = 0; pos < text.size(); ++count)
        utf8Next(text, pos);
    return count;
}

size_t utf8Prefix(std::string_view text, size_t count) {
    size_t pos = 0;
    for (; count > 0 && pos < text.size(); --count)
        utf8Next(text, pos);
    return pos;
}

std::string windows1252ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes)
        utf8Append(out, windows1252CodePoint(c));
    return out;
}

std::string utf16ToUtf8(const void* units, size_t count) {
    const auto* bytes = static_cast<const unsigned char*>(units);
    const auto unit = [&](size_t i) -> uint32_t {
        return i < count ? bytes[2 * i] | static_cast<uint32_t>(bytes[2 * i + 1]) << 8 : 0;
    };
    std::string out;
    for (size_t i = 0; i < count && unit(i) != 0; ++i) {
        const uint32_t high = unit(i), low = unit(i + 1);
        const bool pair = high >= 0xD800 && high < 0xDC00 && low >= 0xDC00 && low < 0xE000;
        if (pair)
            utf8Append(out, 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00)), ++i;
        else
            utf8Append(out, high >= 0xD800 && high < 0xE000 ? 0xFFFD : high);
    }
    return out;
}

std::string foreignToUtf8(std::string_view bytes) {
    return utf8Valid(bytes) ? std::string(bytes) : windows1252ToUtf8(bytes);
}

std::string utf8Repaired(std::string_view text) {
    if (utf8Valid(text)) return std::string(text);
    std::string out;
    for (size_t pos = 0; pos < text.size();)
        utf8Append(out, utf8Next(text, pos));
    return out;
}

// Readers copy names with every frame: nothing is allocated here.
void copyText(char* out, size_t capacity, std::string_view text) {
    if (capacity == 0) return;
    text = text.substr(0, text.find('\0'));
    if (utf8Valid(text)) {
        const size_t n = utf8CutLength(text, capacity - 1);
        if (n > 0) std::memcpy(out, text.data(), n);
        out[n] = '\0';
        return;
    }
    size_t length = 0;
    for (const char c : text) {
        char encoded[4];
        const size_t n = utf8Encode(windows1252CodePoint(c), encoded);
        if (length + n > capacity - 1) break;
        std::memcpy(out + length, encoded, n);
        length += n;
    }
    out[length] = '\0';
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

std::string asciiLower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = asciiLower(c);
    return out;
}

std::string asciiUpper(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = asciiUpper(c);
    return out;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && startsWithNoCase(a, b);
}

bool startsWithNoCase(std::string_view text, std::string_view start) {
    if (text.size() < start.size()) return false;
    for (size_t i = 0; i < start.size(); ++i)
        if (asciiLower(text[i]) != asciiLower(start[i])) return false;
    return true;
}

bool containsNoCase(std::string_view text, std::string_view needle) {
    if (needle.size() > text.size()) return false;
    for (size_t i = 0; i + needle.size() <= text.size(); ++i)
        if (startsWithNoCase(text.substr(i), needle)) return true;
    return false;
}

} // namespace vt
