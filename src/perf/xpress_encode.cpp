#include "perf/xpress_huffman.h"

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <vector>

namespace vt {

namespace {

constexpr int kSymbols =
    512;                  // 0-255 bytes, 256 + 16 x log2(distance) + min(length - 3, 15) matches
constexpr int kEnd = 256; // also the match of length 3 and distance 1
constexpr int kMaxBits = 15;
constexpr size_t kTableBytes = kSymbols / 2;
constexpr int kHashBits = 13;
constexpr uint32_t kMinMatch = 4; // the format has 3; those cost as much as they save here

/// A byte (`distance` 0, the byte in `value`) or a match (`value` = length - 3).
struct Token {
    uint16_t distance;
    uint16_t value;
};

struct Work {
    std::array<uint16_t, 1 << kHashBits> newest, older; // positions; kNowhere = none
    std::array<Token, kXpressChunk> tokens;
    size_t count = 0;
    std::array<uint32_t, kSymbols> frequency;
    std::array<uint8_t, kSymbols> length;
    std::array<uint16_t, kSymbols> code;
};
constexpr uint16_t kNowhere = 0xFFFF; // no match begins at the last byte of a chunk

int matchSymbol(Token token) {
    const int log2 = std::bit_width(token.distance) - 1;
    return kEnd + 16 * log2 + std::min<int>(token.value, 15);
}

uint32_t load32(const uint8_t* at) {
    uint32_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

uint32_t matchLength(const uint8_t* a, const uint8_t* b, const uint8_t* end) {
    const uint8_t* const start = b;
    while (b + 8 <= end) {
        uint64_t left, right;
        std::memcpy(&left, a, 8);
        std::memcpy(&right, b, 8);
        if (left != right)
            return static_cast<uint32_t>(b - start + std::countr_zero(left ^ right) / 8);
        a += 8;
        b += 8;
    }
    while (b < end && *a == *b) {
        ++a;
        ++b;
    }
    return static_cast<uint32_t>(b - start);
}

/// Greedy; looks at the two newest places with the same hash. Where nothing matches for long, it
/// looks at fewer and fewer places.
void findMatches(ByteView data, Work& work) {
    work.newest.fill(kNowhere);
    work.older.fill(kNowhere);
    work.count = 0;
    const uint8_t* const base = data.data();
    const uint8_t* const end = base + data.size();
    const auto hashAt = [&](size_t at) {
        return (load32(base + at) * 2654435761u) >> (32 - kHashBits);
    };
    const auto enter = [&](size_t at) {
        const uint32_t hash = hashAt(at);
        work.older[hash] = work.newest[hash];
        work.newest[hash] = static_cast<uint16_t>(at);
    };
    const size_t last = data.size() >= kMinMatch ? data.size() - kMinMatch : 0;
    size_t at = 0, misses = 0;
    while (data.size() >= kMinMatch && at <= last) {
        const uint32_t hash = hashAt(at);
        const uint32_t here = load32(base + at);
        uint32_t best = 0;
        size_t from = 0;
        for (const uint16_t place : {work.newest[hash], work.older[hash]}) {
            if (place == kNowhere || load32(base + place) != here) continue;
            const uint32_t length = matchLength(base + place, base + at, end);
            if (length > best) {
                best = length;
                from = place;
            }
        }
        work.older[hash] = work.newest[hash];
        work.newest[hash] = static_cast<uint16_t>(at);
        if (best < kMinMatch) {
            for (size_t n = 1 + (misses++ >> 5); n > 0 && at < data.size(); --n)
                work.tokens[work.count++] = {0, base[at++]};
            continue;
        }
        misses = 0;
        work.tokens[work.count++] = {static_cast<uint16_t>(at - from),
                                     static_cast<uint16_t>(best - 3)};
        if (at + best / 2 <= last) enter(at + best / 2);
        at += best;
        if (at - 1 <= last) enter(at - 1);
    }
    while (at < data.size())
        work.tokens[work.count++] = {0, base[at++]};
}

void countSymbols(Work& work) {
    work.frequency.fill(0);
    for (size_t i = 0; i < work.count; ++i) {
        const Token token = work.tokens[i];
        ++work.frequency[token.distance == 0 ? token.value : matchSymbol(token)];
    }
    ++work.frequency[kEnd];
}

/// Lengths of a minimum-redundancy code for `n` ascending weights, in place (Moffat and
/// Katajainen).
void codeLengths(uint32_t* a, int n) {
    a[0] += a[1];
    int root = 0, leaf = 2;
    for (int next = 1; next < n - 1; ++next) {
        const auto take = [&] {
            if (leaf >= n || (root < next && a[root] < a[leaf])) {
                const uint32_t weight = a[root];
                a[root++] = static_cast<uint32_t>(next);
                return weight;
            }
            return a[leaf++];
        };
        a[next] = take();
        a[next] += take();
    }
    a[n - 2] = 0;
    for (int next = n - 3; next >= 0; --next)
        a[next] = a[a[next]] + 1;
    int available = 1, used = 0, next = n - 1;
    uint32_t depth = 0;
    root = n - 2;
    while (available > 0) {
        while (root >= 0 && a[root] == depth) {
            ++used;
            --root;
        }
        while (available > used) {
            a[next--] = depth;
            --available;
        }
        available = 2 * used;
        ++depth;
        used = 0;
    }
}

/// A code of at most kMaxBits for the counted symbols, of which there are two or more.
void buildCode(Work& work) {
    std::array<uint32_t, kSymbols> keys; // weight above, symbol in the low 9 bits
    int n = 0;
    for (uint32_t s = 0; s < kSymbols; ++s)
        if (work.frequency[s]) keys[n++] = work.frequency[s] << 9 | s;
    std::sort(keys.begin(), keys.begin() + n);
    std::array<uint32_t, kSymbols> lengths{};
    for (int i = 0; i < n; ++i)
        lengths[i] = keys[i] >> 9;
    codeLengths(lengths.data(), n);

    std::array<int, 64> ofLength{};
    for (int i = 0; i < n; ++i)
        ++ofLength[std::min<uint32_t>(lengths[i], kMaxBits)];
    uint32_t total = 0; // in units of the longest code; too much after the cut above
    for (int bits = 1; bits <= kMaxBits; ++bits)
        total += static_cast<uint32_t>(ofLength[bits]) << (kMaxBits - bits);
    for (; total > 1u << kMaxBits; --total) {
        --ofLength[kMaxBits];
        int bits = kMaxBits - 1;
        while (ofLength[bits] == 0)
            --bits;
        --ofLength[bits];
        ofLength[bits + 1] += 2;
    }
    work.length.fill(0);
    for (int i = 0, bits = kMaxBits; i < n; ++i) {
        while (ofLength[bits] == 0)
            --bits;
        work.length[keys[i] & 511] = static_cast<uint8_t>(bits);
        --ofLength[bits];
    }

    std::array<uint16_t, kMaxBits + 2> next{};
    for (int s = 0; s < kSymbols; ++s)
        if (work.length[s]) ++next[work.length[s] + 1];
    for (int bits = 2; bits <= kMaxBits; ++bits) {
        next[bits] = static_cast<uint16_t>(next[bits] + next[bits - 1]);
        next[bits] = static_cast<uint16_t>(next[bits] << 1);
    }
    next[1] = 0;
    for (int s = 0; s < kSymbols; ++s)
        if (work.length[s]) work.code[s] = next[work.length[s]]++;
}

/// Bytes of a match's length behind its symbol.
size_t lengthBytes(uint16_t value) {
    return value < 15 ? 0 : value < 15 + 255 ? 1 : 3;
}

size_t chunkBytes(const Work& work) {
    uint64_t bits = 0, bytes = kTableBytes;
    for (int s = 0; s < kSymbols; ++s) {
        const int extra = s < kEnd ? 0 : (s - kEnd) / 16;
        bits += uint64_t{work.frequency[s]} * (work.length[s] + extra);
    }
    for (size_t i = 0; i < work.count; ++i)
        if (work.tokens[i].distance) bytes += lengthBytes(work.tokens[i].value);
    // One word is always read ahead.
    return bytes + std::max<uint64_t>((bits + 15) / 16, 1) * 2 + 2;
}

/// Words go where the reader will look for them: it is always two words ahead of the bytes.
struct BitWriter {
    uint8_t* word;
    uint8_t* nextWord;
    uint8_t* at;
    uint32_t bits = 0;
    int count = 0;

    explicit BitWriter(uint8_t* out) : word(out), nextWord(out + 2), at(out + 4) {}

    static void put16(uint8_t* to, uint32_t value) {
        const auto word16 = static_cast<uint16_t>(value);
        std::memcpy(to, &word16, 2);
    }
    void put(uint32_t value, int n) {
        bits = bits << n | value;
        count += n;
        if (count <= 16) return;
        count -= 16;
        put16(word, bits >> count);
        word = nextWord;
        nextWord = at;
        at += 2;
    }
    uint8_t* finish() {
        put16(word, bits << (16 - count));
        put16(nextWord, 0);
        return at;
    }
};

void writeTokens(const Work& work, BitWriter& out) {
    const auto put = [&](int symbol) { out.put(work.code[symbol], work.length[symbol]); };
    for (size_t i = 0; i < work.count; ++i) {
        const Token token = work.tokens[i];
        if (token.distance == 0) {
            put(token.value);
            continue;
        }
        put(matchSymbol(token));
        if (token.value >= 15 + 255) {
            *out.at++ = 255;
            BitWriter::put16(out.at, token.value);
            out.at += 2;
        } else if (token.value >= 15) {
            *out.at++ = static_cast<uint8_t>(token.value - 15);
        }
        const int log2 = std::bit_width(token.distance) - 1;
        out.put(token.distance - (1u << log2), log2);
    }
    put(kEnd);
}

size_t compressChunk(ByteView data, std::span<uint8_t> out, Work& work) {
    if (data.empty() || data.size() > kXpressChunk) return 0;
    findMatches(data, work);
    countSymbols(work);
    buildCode(work);
    const size_t size = chunkBytes(work);
    if (size >= data.size() || size > out.size()) return 0;
    for (size_t i = 0; i < kTableBytes; ++i)
        out[i] = static_cast<uint8_t>(work.length[2 * i] | work.length[2 * i + 1] << 4);
    BitWriter writer(out.data() + kTableBytes);
    writeTokens(work, writer);
    return static_cast<size_t>(writer.finish() - out.data());
}

} // namespace

size_t xpressCompressChunk(ByteView data, std::span<uint8_t> out) {
    const auto work = std::make_unique<Work>();
    return compressChunk(data, out, *work);
}

void xpressCompress(ByteView data, std::string& out) {
    const auto work = std::make_unique<Work>();
    std::vector<uint8_t> packed(kXpressChunk);
    for (size_t at = 0; at < data.size(); at += kXpressChunk) {
        const ByteView chunk = data.subspan(at, std::min(kXpressChunk, data.size() - at));
        const size_t size = compressChunk(chunk, packed, *work);
        const auto word =
            static_cast<uint32_t>(size > 0 ? size : chunk.size() | size_t{0x80000000});
        out.append(reinterpret_cast<const char*>(&word), sizeof word);
        if (size > 0)
            out.append(reinterpret_cast<const char*>(packed.data()), size);
        else
            out.append(reinterpret_cast<const char*>(chunk.data()), chunk.size());
    }
}

} // namespace vt
