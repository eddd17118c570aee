// Xpress Huffman: matches of earlier bytes and single bytes in one Huffman code, as published in
// [MS-XCA] 2.1 and 2.2. A chunk is at most 64 KiB and stands alone: 256 bytes of code lengths (two
// symbols a byte, low half first), then 16-bit little-endian words whose bits are read from the
// top, with the long match lengths as bytes in between.
//
// The frame around the chunks is our own. Every 64 KiB of the data, the last one shorter, gives
//   u32  bits 0-30: bytes that follow; bit 31: they are the data itself, which did not get smaller
//   the chunk
// and nothing else; the size of the data stands outside. Pure; any thread.
#pragma once
#include "base/bytes.h"

#include <cstdint>
#include <span>
#include <string>

namespace vt {

inline constexpr size_t kXpressChunk = 65536;

/// Appends the framed data to `out`.
void xpressCompress(ByteView data, std::string& out);

/// Fills `out` exactly. False for anything that is not a whole stream of that size; `out` then
/// holds rubbish. `used` gets the bytes of `stream` that were read.
bool xpressDecompress(ByteView stream, std::span<uint8_t> out, size_t& used);

/// The fewest bytes that a stream of `dataBytes` can have: look before you allocate.
uint64_t xpressLeastBytes(uint64_t dataBytes);

/// One chunk without the frame. 0 when it would not get smaller, or `data` is empty or too long.
size_t xpressCompressChunk(ByteView data, std::span<uint8_t> out);
bool xpressDecompressChunk(ByteView chunk, std::span<uint8_t> out);

} // namespace vt
