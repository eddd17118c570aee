// FNV-1a, the one hash of the program: cache keys, content hashes, name tables.
#pragma once
#include <cmath>
#include <cstdint>
#include <string_view>

namespace vt {

inline constexpr uint64_t kFnv64Basis = 0xCBF29CE484222325ull;
inline constexpr uint64_t kFnv64Prime = 0x100000001B3ull;

/// Running 64-bit hash. Bytes go in one by one; a word goes in as one step (xor, then multiply),
/// so that a content hash of a few hundred numbers costs a few hundred multiplications.
struct Fnv64 {
    uint64_t value = kFnv64Basis;

    void word(uint64_t w) { value = (value ^ w) * kFnv64Prime; }
    void number(int64_t n) { word(static_cast<uint64_t>(n)); }
    void flag(bool b) { word(b ? 1u : 0u); }
    /// `x` rounded at `scale` steps per unit; NaN and infinities go in as one fixed value each.
    void scaled(double x, double scale) {
        number(std::isfinite(x) && std::abs(x) < 1e15 ? std::llround(x * scale) : INT64_MIN);
    }
    void text(std::string_view s) {
        for (unsigned char c : s)
            word(c);
        word(0x100); // a border, so that "ab","c" and "a","bc" differ
    }
};

inline uint64_t fnv1a64(std::string_view s) {
    uint64_t h = kFnv64Basis;
    for (unsigned char c : s)
        h = (h ^ c) * kFnv64Prime;
    return h;
}

inline uint32_t fnv1a32(std::string_view s) {
    uint32_t h = 0x811C9DC5u;
    for (unsigned char c : s)
        h = (h ^ c) * 16777619u;
    return h;
}

} // namespace vt
