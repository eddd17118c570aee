// The codec against itself and, where it is installed, against another implementation of the
// published format.
#include "perf/xpress_huffman.h"

#include <gtest/gtest.h>

#include <cmath>
#include <dlfcn.h>
#include <random>

namespace vt {
namespace {

using Bytes = std::vector<uint8_t>;

/// Counts of the symbols grow as the Fibonacci numbers: the best code for them would be longer than
/// the format allows.
Bytes steep(size_t size, std::mt19937& random) {
    Bytes data;
    size_t count = 1, before = 0;
    for (int symbol = 0; data.size() < size; ++symbol) {
        data.insert(data.end(), std::min(count, size - data.size()),
                    static_cast<uint8_t>(symbol * 37));
        before = std::exchange(count, count + before);
    }
    std::shuffle(data.begin(), data.end(), random);
    return data;
}

/// Runs, few values, smooth waves, repeats from afar, noise, a steep distribution.
Bytes sample(int kind, size_t size, unsigned long seed) {
    std::mt19937 random(static_cast<uint32_t>(seed));
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<uint32_t>(n)); };
    if (kind == 5) return steep(size, random);
    Bytes data(size);
    for (size_t i = 0; i < size; ++i) {
        int value = 0;
        if (kind == 1) value = below(3);
        if (kind == 2) value = 128 + below(3) + static_cast<int>(100 * std::sin(0.01 * double(i)));
        if (kind == 3) value = i > 700 && below(50) ? data[i - 700] : below(256);
        if (kind == 4) value = below(256);
        data[i] = static_cast<uint8_t>(value);
    }
    return data;
}

TEST(XpressHuffman, WhatGoesInComesOut) {
    for (int kind = 0; kind <= 5; ++kind)
        for (const size_t size : {0u, 1u, 2u, 5u, 300u, 65535u, 65536u, 65537u, 200000u}) {
            const Bytes data = sample(kind, size, 3);
            std::string packed;
            xpressCompress(data, packed);
            EXPECT_GE(packed.size(), xpressLeastBytes(size)) << kind << " " << size;
            EXPECT_LE(packed.size(), size + 4 * (size / kXpressChunk + 1));
            Bytes back(size, 0xAA);
            size_t used = 0;
            const ByteView stream(reinterpret_cast<const uint8_t*>(packed.data()), packed.size());
            ASSERT_TRUE(xpressDecompress(stream, back, used)) << kind << " " << size;
            EXPECT_EQ(used, packed.size());
            EXPECT_EQ(back, data) << kind << " " << size;
        }
}

TEST(XpressHuffman, DamagedStreamsAreRefusedOrGiveOtherBytes) {
    const Bytes data = sample(2, 3000, 9);
    std::string packed;
    xpressCompress(data, packed);
    Bytes back(data.size());
    size_t used = 0;
    for (size_t length = 0; length < packed.size(); ++length) {
        const Bytes cut(packed.begin(), packed.begin() + static_cast<ptrdiff_t>(length));
        EXPECT_FALSE(xpressDecompress(cut, back, used)) << length;
    }
    std::mt19937 random(1);
    for (int i = 0; i < 3000; ++i) {
        Bytes damaged(packed.begin(), packed.end());
        damaged[random() % damaged.size()] ^= static_cast<uint8_t>(1u << random() % 8);
        xpressDecompress(damaged, back, used); // no fault under the sanitizers
    }
    // Too little output asked for leaves bytes over, too much cannot be had.
    Bytes more(data.size() + 1);
    const Bytes whole(packed.begin(), packed.end());
    EXPECT_FALSE(xpressDecompress(whole, more, used));
}

/// The parts of libwim that speak of single chunks.
struct Oracle {
    void* library = dlopen("libwim.so.15", RTLD_NOW);
    void *packer = nullptr, *unpacker = nullptr;
    size_t (*compress)(const void*, size_t, void*, size_t, void*) = nullptr;
    int (*decompress)(const void*, size_t, void*, size_t, void*) = nullptr;
    void (*freePacker)(void*) = nullptr;
    void (*freeUnpacker)(void*) = nullptr;

    Oracle() {
        if (!library) return;
        int (*makePacker)(int, size_t, unsigned, void**) = nullptr;
        int (*makeUnpacker)(int, size_t, void**) = nullptr;
        const auto find = [&](auto& function, const char* name) {
            function =
                reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
        };
        find(makePacker, "wimlib_create_compressor");
        find(makeUnpacker, "wimlib_create_decompressor");
        find(compress, "wimlib_compress");
        find(decompress, "wimlib_decompress");
        constexpr int kXpress = 1;
        if (!makePacker || !makeUnpacker || !compress || !decompress ||
            makePacker(kXpress, kXpressChunk, 0, &packer) != 0 ||
            makeUnpacker(kXpress, kXpressChunk, &unpacker) != 0)
            unpacker = nullptr;
        find(freePacker, "wimlib_free_compressor");
        find(freeUnpacker, "wimlib_free_decompressor");
    }
    ~Oracle() {
        if (freePacker) freePacker(packer);
        if (freeUnpacker) freeUnpacker(unpacker);
    }
};

TEST(XpressHuffman, AnotherImplementationReadsItAndIsRead) {
    Oracle oracle;
    if (!oracle.unpacker) GTEST_SKIP() << "libwim is not installed";
    std::mt19937 random(7);
    int ours = 0, theirs = 0;
    for (int i = 0; i < 300; ++i) {
        const size_t size = i % 4 == 0 ? kXpressChunk : 2 + random() % 65000;
        const Bytes data = sample(i % 6, size, random());
        Bytes packed(size), back(size);
        if (const size_t length = xpressCompressChunk(data, packed)) {
            ++ours;
            ASSERT_EQ(oracle.decompress(packed.data(), length, back.data(), size, oracle.unpacker),
                      0)
                << i;
            ASSERT_EQ(back, data) << i;
        }
        const size_t length =
            oracle.compress(data.data(), size, packed.data(), size - 1, oracle.packer);
        if (length > 0) {
            ++theirs;
            std::fill(back.begin(), back.end(), uint8_t{0});
            ASSERT_TRUE(xpressDecompressChunk(ByteView(packed).first(length), back)) << i;
            ASSERT_EQ(back, data) << i;
        }
    }
    EXPECT_GT(ours, 150);
    EXPECT_GT(theirs, 150);
}

} // namespace
} // namespace vt
