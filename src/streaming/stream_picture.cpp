#include "streaming/stream_picture.h"

#include "streaming/straight_alpha.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace vt {

/// Buffers come back when the last viewer has been sent them: a slow viewer keeps one, not a queue.
class FrameBytesPool : public std::enable_shared_from_this<FrameBytesPool> {
public:
    /// Empty, with room for `room` bytes.
    std::shared_ptr<FrameBytes> take(size_t room) {
        std::unique_ptr<FrameBytes> bytes;
        {
            const std::lock_guard lock(mutex_);
            if (!spare_.empty()) {
                bytes = std::move(spare_.back());
                spare_.pop_back();
            }
        }
        if (!bytes) bytes = std::make_unique<FrameBytes>();
        bytes->clear();
        bytes->reserve(room);
        return {bytes.release(),
                [pool = shared_from_this()](FrameBytes* back) { pool->giveBack(back); }};
    }

    /// Whatever comes back larger than this goes: a picture that has shrunk must not keep the
    /// memory of a large one.
    void keepUpTo(size_t bytes) {
        const std::lock_guard lock(mutex_);
        largest_ = bytes;
        std::erase_if(spare_, [&](const auto& each) { return each->capacity() > largest_; });
    }

private:
    static constexpr size_t kKept = 2;

    void giveBack(FrameBytes* bytes) {
        std::unique_ptr<FrameBytes> owned(bytes);
        const std::lock_guard lock(mutex_);
        if (spare_.size() < kKept && owned->capacity() <= largest_)
            spare_.push_back(std::move(owned));
    }

    std::mutex mutex_;
    size_t largest_ = 0;
    std::vector<std::unique_ptr<FrameBytes>> spare_;
};

namespace {

constexpr size_t kPixel = 4;

struct Part {
    int x = 0, y = 0, width = 0, height = 0;
};

int tilesAcross(const StreamPicture& picture) {
    return (picture.width + kTileWidth - 1) / kTileWidth;
}

size_t pixelAt(const StreamPicture& picture, int x, int y) {
    return (static_cast<size_t>(y) * static_cast<size_t>(picture.width) + static_cast<size_t>(x)) *
           kPixel;
}

void startPicture(StreamPicture& picture, int width, int height) {
    picture.width = width;
    picture.height = height;
    const size_t bytes = pixelAt(picture, 0, height);
    const auto sized = [bytes](FrameBytes& buffer) {
        if (buffer.capacity() > bytes * 2) buffer = FrameBytes();
        buffer.assign(bytes, 0);
    };
    sized(picture.drawn);
    sized(picture.straight);
    const int rows = (height + kTileHeight - 1) / kTileHeight;
    picture.changedAt.assign(static_cast<size_t>(tilesAcross(picture) * rows), 0);
    if (!picture.pool) picture.pool = std::make_shared<FrameBytesPool>();
    // The largest message is one of all, with a token before each row.
    picture.pool->keepUpTo(bytes * 2 + 64);
}

/// Marks the tiles of one row of them that differ.
bool markRow(StreamPicture& picture, const uint8_t* frame, int top, uint64_t* changedAt) {
    const size_t row = pixelAt(picture, picture.width, 0);
    const int bottom = std::min(top + kTileHeight, picture.height);
    bool any = false;
    for (int y = top; y < bottom; ++y) {
        const size_t at = pixelAt(picture, 0, y);
        if (std::memcmp(frame + at, picture.drawn.data() + at, row) == 0) continue;
        any = true;
        for (int tile = 0; tile < tilesAcross(picture); ++tile) {
            const int x = tile * kTileWidth;
            const int width = std::min(kTileWidth, picture.width - x);
            const size_t from = pixelAt(picture, x, y);
            if (changedAt[tile] != picture.counter &&
                std::memcmp(frame + from, picture.drawn.data() + from,
                            static_cast<size_t>(width) * kPixel) != 0)
                changedAt[tile] = picture.counter;
        }
    }
    return any;
}

void takePart(StreamPicture& picture, const uint8_t* frame, const Part& part) {
    const int stride = picture.width * static_cast<int>(kPixel);
    for (int y = part.y; y < part.y + part.height; ++y)
        std::memcpy(picture.drawn.data() + pixelAt(picture, part.x, y),
                    frame + pixelAt(picture, part.x, y), static_cast<size_t>(part.width) * kPixel);
    const size_t at = pixelAt(picture, part.x, part.y);
    straightRgba(frame + at, part.width, part.height, stride, picture.straight.data() + at, stride);
}

/// Neighbours in a row of tiles that changed after `since`, as one part each. A single tile between
/// two of them goes along: a part costs a browser more than a tile does.
template <class Take>
void forEachRun(const StreamPicture& picture, int top, const uint64_t* changedAt, uint64_t since,
                Take take) {
    const int tiles = tilesAcross(picture);
    for (int tile = 0; tile < tiles; ++tile) {
        if (changedAt[tile] <= since) continue;
        int end = tile + 1;
        while (end < tiles &&
               (changedAt[end] > since || (end + 1 < tiles && changedAt[end + 1] > since)))
            ++end;
        const int x = tile * kTileWidth;
        take(Part{x, top, std::min(end * kTileWidth, picture.width) - x,
                  std::min(kTileHeight, picture.height - top)});
        tile = end;
    }
}

/// Runs of the same columns in rows that follow each other become one part.
std::vector<Part> partsSince(const StreamPicture& picture, uint64_t since) {
    std::vector<Part> parts;
    const uint64_t* changedAt = picture.changedAt.data();
    for (int top = 0; top < picture.height; top += kTileHeight, changedAt += tilesAcross(picture)) {
        forEachRun(picture, top, changedAt, since, [&](const Part& run) {
            const auto above = std::find_if(parts.rbegin(), parts.rend(), [&](const Part& part) {
                return part.y + part.height == top && part.x == run.x && part.width == run.width;
            });
            if (above != parts.rend())
                above->height += run.height;
            else
                parts.push_back(run);
        });
    }
    return parts;
}

void append(FrameBytes& out, uint32_t word) {
    uint8_t bytes[sizeof word];
    std::memcpy(bytes, &word, sizeof word);
    out.insert(out.end(), bytes, bytes + sizeof word);
}

/// A run shorter than this is not worth a token of its own among pixels that differ.
constexpr int kShortestRun = 4;

/// A row as runs of one pixel and stretches of others.
void appendRow(FrameBytes& out, const uint8_t* row, int width) {
    const auto pixel = [row](int x) {
        uint32_t word;
        std::memcpy(&word, row + static_cast<size_t>(x) * kPixel, sizeof word);
        return word;
    };
    int stretch = 0; // where pixels begin that stand as they are
    const auto appendStretch = [&](int end) {
        if (end == stretch) return;
        append(out, static_cast<uint32_t>(end - stretch));
        out.insert(out.end(), row + static_cast<size_t>(stretch) * kPixel,
                   row + static_cast<size_t>(end) * kPixel);
    };
    for (int x = 0; x < width;) {
        const uint32_t colour = pixel(x);
        int end = x + 1;
        while (end < width && pixel(end) == colour)
            ++end;
        if (end - x >= kShortestRun) {
            appendStretch(x);
            append(out, kRunOfOne | static_cast<uint32_t>(end - x));
            append(out, colour);
            stretch = end;
        }
        x = end;
    }
    appendStretch(width);
}

SharedBytes packed(StreamPicture& picture, const std::vector<Part>& parts) {
    size_t room = 4;
    for (const Part& part : parts)
        room +=
            8 + static_cast<size_t>(part.height) * (static_cast<size_t>(part.width) + 1) * kPixel;
    const auto out = picture.pool->take(room);
    append(*out, static_cast<uint32_t>(parts.size()));
    for (const Part& part : parts) {
        append(*out, static_cast<uint32_t>(part.x) | static_cast<uint32_t>(part.y) << 16);
        append(*out, static_cast<uint32_t>(part.width) | static_cast<uint32_t>(part.height) << 16);
    }
    for (const Part& part : parts)
        for (int y = part.y; y < part.y + part.height; ++y)
            appendRow(*out, picture.straight.data() + pixelAt(picture, part.x, y), part.width);
    return out;
}

SharedBytes* alreadyMade(StreamPicture& picture, bool parts, uint64_t since) {
    for (StreamPicture::Message& message : picture.made)
        if (message.parts == parts && message.since == since) return &message.bytes;
    return nullptr;
}

} // namespace

bool updatePicture(StreamPicture& picture, const FramePixels& frame) {
    if (picture.width != frame.width || picture.height != frame.height) {
        startPicture(picture, frame.width, frame.height);
        ++picture.counter;
        std::fill(picture.changedAt.begin(), picture.changedAt.end(), picture.counter);
        takePart(picture, frame.bytes.data(), {0, 0, frame.width, frame.height});
        picture.made.clear();
        return true;
    }
    bool any = false;
    ++picture.counter;
    uint64_t* changedAt = picture.changedAt.data();
    for (int top = 0; top < picture.height; top += kTileHeight, changedAt += tilesAcross(picture)) {
        if (!markRow(picture, frame.bytes.data(), top, changedAt)) continue;
        any = true;
        forEachRun(picture, top, changedAt, picture.counter - 1,
                   [&](const Part& run) { takePart(picture, frame.bytes.data(), run); });
    }
    if (any)
        picture.made.clear();
    else
        --picture.counter;
    return any;
}

SharedBytes wholePicture(StreamPicture& picture) {
    if (const SharedBytes* made = alreadyMade(picture, false, 0)) return *made;
    const auto out = picture.pool->take(picture.straight.size());
    out->assign(picture.straight.begin(), picture.straight.end());
    picture.made.push_back({false, 0, out});
    return out;
}

SharedBytes changedParts(StreamPicture& picture, uint64_t since) {
    if (const SharedBytes* made = alreadyMade(picture, true, since)) return *made;
    SharedBytes out = packed(picture, partsSince(picture, since));
    picture.made.push_back({true, since, out});
    return out;
}

void forgetPicture(StreamPicture& picture) {
    const uint64_t counter = picture.counter;
    picture = StreamPicture();
    picture.counter = counter;
}

} // namespace vt
