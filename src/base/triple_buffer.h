// Three slots and one atomic word between one writer and one reader: neither ever waits, the reader
// always gets the newest complete record, and the slot it holds is never written.
#pragma once
#include <atomic>
#include <cstdint>

namespace vt {

/// The writer fills `writable()` and calls `publish()`. The reader calls `take()`; the pointer
/// stays valid until its next call. One thread on each side.
template <class T>
struct TripleBufferOf {
    T frames[3];
    /// Sequence number in the upper 30 bits, slot number in the low 2. Written by both sides: the
    /// writer exchanges it, the reader swaps its own slot in under an unchanged sequence.
    std::atomic<uint32_t> latest{1};
    uint32_t writeSlot = 0; // writer only
    uint32_t writeSeq = 0;  // writer only
    uint32_t readSlot = 2;  // reader only
    uint32_t readSeq = 0;   // reader only
    uint32_t readCount = 0; // reader only: frames taken

    T& writable() { return frames[writeSlot]; }

    void publish() {
        writeSeq += 1;
        const uint32_t old = latest.exchange(writeSeq << 2 | writeSlot, std::memory_order_acq_rel);
        writeSlot = old & 3u;
    }

    const T* take() {
        for (int attempt = 0; attempt < 4; ++attempt) {
            uint32_t seen = latest.load(std::memory_order_acquire);
            if (seen >> 2 == readSeq) return &frames[readSlot];
            if (latest.compare_exchange_strong(seen, (seen & ~3u) | readSlot,
                                               std::memory_order_acq_rel)) {
                readSeq = seen >> 2;
                readCount += 1;
                readSlot = seen & 3u;
                return &frames[readSlot];
            }
        }
        return &frames[readSlot];
    }
};

} // namespace vt
