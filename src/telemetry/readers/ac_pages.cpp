#include "telemetry/readers/ac_pages.h"

#include "base/bytes.h"
#include "base/utf8.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

constexpr int kCopyTries = 4;

/// Code point at `at`, which moves behind it; a surrogate without its partner gives U+FFFD.
uint32_t nextUtf16(const char16_t* units, size_t count, size_t& at) {
    const uint32_t first = units[at++];
    if (first < 0xD800 || first > 0xDFFF) return first;
    if (first > 0xDBFF || at == count) return 0xFFFD;
    const uint32_t second = units[at];
    if (second < 0xDC00 || second > 0xDFFF) return 0xFFFD;
    at += 1;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

size_t encode(uint32_t point, char* out) {
    const auto tail = [&](int shift) { return static_cast<char>(0x80 | (point >> shift & 0x3F)); };
    if (point < 0x80) {
        out[0] = static_cast<char>(point);
        return 1;
    }
    if (point < 0x800) {
        out[0] = static_cast<char>(0xC0 | point >> 6);
        out[1] = tail(0);
        return 2;
    }
    if (point < 0x10000) {
        out[0] = static_cast<char>(0xE0 | point >> 12);
        out[1] = tail(6);
        out[2] = tail(0);
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | point >> 18);
    out[1] = tail(12);
    out[2] = tail(6);
    out[3] = tail(0);
    return 4;
}

} // namespace

bool acCopyPage(const SharedMap& map, size_t size, void* page, size_t room) {
    const size_t length = std::min({size, room, map.size()});
    if (length == 0 || !map.copyOut(0, page, length)) return false;
    std::memset(static_cast<uint8_t*>(page) + length, 0, room - length);
    return true;
}

bool acCopyPhysics(const SharedMap& map, size_t size, AcPhysics& page) {
    for (int i = 0; i < kCopyTries; ++i) {
        int32_t after = 0;
        if (!acCopyPage(map, size, &page, sizeof page) || !map.read(0, after)) return false;
        if (after == page.packetId) break;
    }
    return true;
}

// Without a string in between: this runs every poll, and long names would allocate.
void acText(char* out, size_t capacity, const void* field) {
    char16_t units[kAcTextLength];
    std::memcpy(units, field, sizeof units);
    size_t length = 0;
    for (size_t at = 0; at < kAcTextLength && units[at] != 0;) {
        char bytes[4];
        const size_t n = encode(nextUtf16(units, kAcTextLength, at), bytes);
        if (length + n >= capacity) break;
        std::memcpy(out + length, bytes, n);
        length += n;
    }
    out[length] = '\0';
}

} // namespace vt
