// How an overlay's pixels cross from the thread that drew them to the one that sends them: neither
// waits, and what is sent is always the newest.
#pragma once
#include "base/triple_buffer.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace vt {

/// Premultiplied BGRA without gaps between rows, top row first. Width 0: nothing.
struct FramePixels {
    std::vector<uint8_t> bytes;
    int width = 0, height = 0;
};

struct FrameExchange {
    TripleBufferOf<FramePixels> frames; // written by the capture, read by the sender
    uint32_t taken = 0;                 // sender only: frames.readCount at the last new picture
    /// Set by the capture while it may touch the buffers. Whoever frees them first makes sure that
    /// no capture can begin (nobody is subscribed, or the server is stopping), then waits for this.
    std::atomic<bool> captureBusy{false};
    std::atomic<bool> holdsMemory{false}; // set by the capture, cleared by whoever frees
};

/// The picture that came since the last call; null when none did, or it is empty. Sender only.
inline const FramePixels* takeNewFrame(FrameExchange& exchange) {
    const FramePixels* newest = exchange.frames.take();
    if (exchange.frames.readCount == exchange.taken) return nullptr;
    exchange.taken = exchange.frames.readCount;
    return newest->width > 0 ? newest : nullptr;
}

/// Gives the memory back. Only while nobody captures (see captureBusy).
inline void freeFrames(FrameExchange& exchange) {
    for (FramePixels& frame : exchange.frames.frames)
        frame = FramePixels();
    exchange.holdsMemory.store(false);
}

} // namespace vt
