#include "perf/xpress_huffman.h"

#include <algorithm>
#include <array>

namespace vt {

namespace {

constexpr int kSymbols = 512;
constexpr int kMaxBits = 15;
constexpr size_t kTableBytes = kSymbols / 2;
constexpr int kQuickBits = 11; // codes up to here are found in one look
constexpr uint32_t kRawChunk = 0x80000000;

/// Symbol and length of a code: `quick` by its first bits (symbol << 4 | length, 0 = longer), else
/// by comparing with the end of each length's codes.
struct Decoder {
    std::array<uint16_t, 1 << kQuickBits> quick;
    std::array<uint32_t, kMaxBits + 2> limit; // first 15-bit value beyond the codes of that length
    std::array<int, kMaxBits + 1> first;      // index into `sorted` minus the first code
    std::array<uint16_t, kSymbols> sorted;

    bool build(const uint8_t* table);

    uint32_t find(uint32_t next15) const {
        const uint16_t entry = quick[next15 >> (kMaxBits - kQuickBits)];
        return entry != 0 ? entry : findLong(next15);
    }
    uint32_t findLong(uint32_t next15) const {
        int bits = kQuickBits + 1;
        while (next15 >= limit[bits])
            ++bits; // the code is complete: the last limit is beyond all values
        const uint32_t index = static_cast<uint32_t>(first[bits]) + (next15 >> (kMaxBits - bits));
        return static_cast<uint32_t>(sorted[index]) << 4 | static_cast<uint32_t>(bits);
    }
};

bool Decoder::build(const uint8_t* table) {
    std::array<uint8_t, kSymbols> length;
    std::array<uint32_t, kMaxBits + 1> count{};
    for (size_t i = 0; i < kTableBytes; ++i) {
        length[2 * i] = table[i] & 15;
        length[2 * i + 1] = table[i] >> 4;
        ++count[length[2 * i]];
        ++count[length[2 * i + 1]];
    }
    uint32_t code = 0; // as 15 bits
    int index = 0;
    std::array<int, kMaxBits + 1> place{};
    for (int bits = 1; bits <= kMaxBits; ++bits) {
        place[bits] = index;
        first[bits] = index - static_cast<int>(code >> (kMaxBits - bits));
        code += count[bits] << (kMaxBits - bits);
        limit[bits] = code;
        if (code > 1u << kMaxBits) return false;
        index += static_cast<int>(count[bits]);
    }
    if (code != 1u << kMaxBits) return false; // not every row of bits would mean something
    for (uint32_t s = 0; s < kSymbols; ++s)
        if (length[s]) sorted[place[length[s]]++] = static_cast<uint16_t>(s);
    uint32_t at = 0;
    for (int i = 0, bits = 1; bits <= kQuickBits; ++bits) {
        for (uint32_t n = count[bits]; n > 0; --n, ++i) {
            const auto entry = static_cast<uint16_t>(sorted[i] << 4 | bits);
            const uint32_t span = 1u << (kQuickBits - bits);
            std::fill_n(quick.begin() + at, span, entry);
            at += span;
        }
    }
    std::fill(quick.begin() + at, quick.end(), uint16_t{0});
    return true;
}

/// Bits from the top of a 32-bit word, refilled by 16; whole bytes in between.
struct BitReader {
    const uint8_t* at;
    const uint8_t* end;
    uint32_t next = 0;
    int spare = 16; // bits in `next` beyond the first 16
    bool good = true;

    BitReader(const uint8_t* from, const uint8_t* to) : at(from), end(to) {
        next = read16() << 16;
        next |= read16();
    }
    uint32_t read16() {
        if (end - at < 2) {
            good = false;
            return 0;
        }
        uint16_t value;
        std::memcpy(&value, at, 2);
        at += 2;
        return value;
    }
    void drop(int bits) {
        next <<= bits;
        spare -= bits;
        if (spare < 0) {
            next |= read16() << -spare;
            spare += 16;
        }
    }
    uint32_t take(int bits) {
        if (bits == 0) return 0;
        const uint32_t value = next >> (32 - bits);
        drop(bits);
        return value;
    }
    uint32_t byte() {
        if (at == end) {
            good = false;
            return 0;
        }
        return *at++;
    }
};

/// Length - 3 of a match whose symbol says "15 or more"; 0 is never right.
uint32_t longLength(BitReader& in) {
    const uint32_t byte = in.byte();
    if (byte < 255) return byte + 15;
    uint32_t value = in.read16();
    if (value == 0) {
        value = in.read16();
        value |= in.read16() << 16;
    }
    return value >= 15 ? value : 0;
}

void copyMatch(uint8_t* to, const uint8_t* from, size_t length, const uint8_t* end) {
    if (to - from >= 8 && static_cast<size_t>(end - to) >= length + 8) {
        for (size_t i = 0; i < length; i += 8)
            std::memcpy(to + i, from + i, 8); // may write up to 7 bytes that follow anyway
        return;
    }
    for (size_t i = 0; i < length; ++i)
        to[i] = from[i];
}

bool decompressChunk(ByteView chunk, std::span<uint8_t> out, Decoder& decoder) {
    if (chunk.size() < kTableBytes || !decoder.build(chunk.data())) return false;
    BitReader in(chunk.data() + kTableBytes, chunk.data() + chunk.size());
    uint8_t* to = out.data();
    uint8_t* const end = to + out.size();
    while (to < end) {
        const uint32_t entry = decoder.find(in.next >> (32 - kMaxBits));
        const uint32_t symbol = entry >> 4;
        in.drop(static_cast<int>(entry & 15));
        if (symbol < 256) {
            *to++ = static_cast<uint8_t>(symbol);
            continue;
        }
        uint32_t length = symbol & 15;
        if (length == 15) {
            length = longLength(in);
            if (length == 0) return false;
        }
        const int log2 = static_cast<int>((symbol - 256) >> 4);
        const size_t distance = (1u << log2) + in.take(log2);
        const size_t bytes = size_t{length} + 3;
        if (distance > static_cast<size_t>(to - out.data()) ||
            bytes > static_cast<size_t>(end - to) || !in.good)
            return false;
        copyMatch(to, to - distance, bytes, end);
        to += bytes;
    }
    return in.good;
}

} // namespace

bool xpressDecompressChunk(ByteView chunk, std::span<uint8_t> out) {
    Decoder decoder;
    return decompressChunk(chunk, out, decoder);
}

bool xpressDecompress(ByteView stream, std::span<uint8_t> out, size_t& used) {
    Decoder decoder;
    used = 0;
    for (size_t done = 0; done < out.size();) {
        const std::span<uint8_t> part =
            out.subspan(done, std::min(kXpressChunk, out.size() - done));
        if (stream.size() - used < 4) return false;
        const auto word = readAt<uint32_t>(stream, used);
        used += 4;
        const size_t size = word & ~kRawChunk;
        if (size > stream.size() - used) return false;
        const ByteView chunk = stream.subspan(used, size);
        if (word & kRawChunk) {
            if (size != part.size()) return false;
            std::copy(chunk.begin(), chunk.end(), part.begin());
        } else if (!decompressChunk(chunk, part, decoder)) {
            return false;
        }
        used += size;
        done += part.size();
    }
    return true;
}

uint64_t xpressLeastBytes(uint64_t dataBytes) {
    // Frame, table and two words; a short last chunk may be raw.
    const uint64_t whole = dataBytes / kXpressChunk, rest = dataBytes % kXpressChunk;
    constexpr uint64_t least = 4 + kTableBytes + 4;
    return whole * least + (rest > 0 ? 4 + std::min(rest, least - 4) : 0);
}

} // namespace vt
