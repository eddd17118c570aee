// Bounded little-endian reads from bytes that somebody else wrote.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace vt {

static_assert(std::endian::native == std::endian::little, "records are read in place");

using ByteView = std::span<const uint8_t>;

/// True when `count` elements of `size` bytes at `offset` lie inside `total` bytes; no overflow.
inline bool rangeInside(uint64_t offset, uint64_t count, uint64_t size, uint64_t total) {
    if (offset > total) return false;
    return size == 0 || count <= (total - offset) / size;
}

/// The value at `offset`, or `fallback` when it does not lie inside.
template <class T>
T readAt(ByteView bytes, size_t offset, T fallback = T{}) {
    if (!rangeInside(offset, 1, sizeof(T), bytes.size())) return fallback;
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

} // namespace vt
