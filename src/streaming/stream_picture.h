// The picture of an overlay as its viewers know it, and what of it is news to each of them: a
// viewer that can take parts is sent only those that changed since its last message.
#pragma once
#include "streaming/frame_exchange.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vt {

using FrameBytes = std::vector<uint8_t>;
using SharedBytes = std::shared_ptr<const FrameBytes>; // shared by all viewers it is on its way to

/// A picture is compared by tiles of this size; those at the right and lower edge may be smaller.
constexpr int kTileWidth = 32, kTileHeight = 16;

constexpr uint32_t kRunOfOne = 0x80000000u; // a token's mark

class FrameBytesPool;

/// The newest picture of a slot. One thread.
struct StreamPicture {
    int width = 0, height = 0; // 0: none yet
    uint64_t counter = 0; // grows with each picture that differs from the last one; never falls
    FrameBytes drawn;     // premultiplied BGRA
    FrameBytes straight;  // straight RGBA
    std::vector<uint64_t>
        changedAt; // by tile, rows of them from the top: the counter at its last change

    /// What was handed out of this picture; made anew when the counter grows.
    struct Message {
        bool parts = false;
        uint64_t since = 0;
        SharedBytes bytes;
    };
    std::vector<Message> made;
    std::shared_ptr<FrameBytesPool> pool;
};

/// Makes `frame` the picture. Only tiles that differ are converted. False when none does.
bool updatePicture(StreamPicture& picture, const FramePixels& frame);

/// The whole picture: straight RGBA, width * height * 4 bytes, top row first.
SharedBytes wholePicture(StreamPicture& picture);

/// What changed after the picture with counter `since` (0: everything), in little-endian words: the
/// number of parts; x | y << 16 and width | height << 16 of each; then the pixels of each, row by
/// row, as tokens: a number n of pixels that follow, or kRunOfOne | n for n of the one that
/// follows. A pixel is a word of straight RGBA, red in the lowest byte; no token goes beyond its
/// row. Parts do not overlap. Never null; at least one part when `since` is older.
SharedBytes changedParts(StreamPicture& picture, uint64_t since);

/// Gives the memory back. The counter goes on: no viewer may meet a number again.
void forgetPicture(StreamPicture& picture);

} // namespace vt
