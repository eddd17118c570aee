#include "app/sim_pump.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace vt {
namespace {

TEST(TripleBuffer, ReaderGetsTheNewestAndCountsIt) {
    TripleBuffer buffer;
    const SimFrame* first = frameRead(buffer);
    EXPECT_EQ(first, &buffer.frames[2]);
    EXPECT_EQ(buffer.readCount, 0u);
    for (int n = 1; n <= 5; ++n) {
        buffer.writable().sessionTime = n;
        buffer.publish();
    }
    const SimFrame* newest = frameRead(buffer);
    EXPECT_EQ(newest->sessionTime, 5);
    EXPECT_EQ(frameRead(buffer), newest);
    EXPECT_EQ(buffer.readCount, 1u);
}

TEST(TripleBuffer, HeldSlotIsNeverTheWriters) {
    TripleBuffer buffer;
    uint32_t pattern = 0x2545f491;
    for (int step = 0; step < 2000; ++step) {
        pattern = pattern * 1664525u + 1013904223u;
        if (pattern & 0x10000)
            buffer.publish();
        else
            frameRead(buffer);
        const std::set<uint32_t> slots = {buffer.writeSlot, buffer.readSlot,
                                          buffer.latest.load() & 3u};
        ASSERT_EQ(slots.size(), 3u);
        ASSERT_LT(*slots.rbegin(), 3u);
    }
}

TEST(TripleBuffer, SequenceWrapsAtThirtyBits) {
    TripleBuffer buffer;
    buffer.writeSeq = 0x3ffffffe;
    for (int n = 0; n < 4; ++n) {
        buffer.writable().sessionTime = n;
        buffer.publish();
        EXPECT_EQ(frameRead(buffer)->sessionTime, n);
    }
    EXPECT_EQ(buffer.readCount, 4u);
}

TEST(TripleBuffer, EmptyFrameKeepsTheRowsMemory) {
    TripleBuffer buffer;
    SimFrame& slot = buffer.writable();
    slot.connected = 1;
    slot.cars.resize(64);
    const CarRow* memory = slot.cars.data();
    publishEmpty(buffer, 7);
    const SimFrame* read = frameRead(buffer);
    EXPECT_EQ(read->connected, 0);
    EXPECT_EQ(read->simKind, 7);
    EXPECT_TRUE(read->cars.empty());
    EXPECT_GE(read->cars.capacity(), 64u);
    EXPECT_EQ(read->cars.data(), memory);
}

/// Every part of the frame carries the same number, so that a torn one shows.
void fill(SimFrame& frame, int n) {
    resetKeepingCapacity(frame);
    frame.sessionTime = n;
    frame.lap = n;
    for (char& c : frame.setupText)
        c = static_cast<char>('a' + n % 26);
    frame.cars.resize(static_cast<size_t>(n % 17));
    for (CarRow& row : frame.cars)
        row.carIdx = row.finishStatus = n;
    frame.radioCarIdx = n;
}

bool whole(const SimFrame& frame) {
    const int n = frame.lap;
    if (frame.sessionTime != n || frame.radioCarIdx != n) return false;
    if (frame.cars.size() != static_cast<size_t>(n % 17)) return false;
    for (const CarRow& row : frame.cars)
        if (row.carIdx != n || row.finishStatus != n) return false;
    for (const char c : frame.setupText)
        if (c != 'a' + n % 26) return false;
    return true;
}

TEST(TripleBuffer, NeverTornAndNeverOlderAtFullSpeed) {
    constexpr int kFrames = 10000, kTaken = 100;
    TripleBuffer buffer;
    std::atomic<int> written{0}, taken{0}; // the last frame; how many the reader took
    std::atomic<bool> done{false};
    std::thread writer([&] {
        // On a busy machine the reader may get its first turn late: the writer waits for it.
        for (int n = 1; n <= kFrames || taken < kTaken; ++n) {
            fill(buffer.writable(), n);
            buffer.publish();
            written = n;
        }
        done = true;
    });
    int last = 0, torn = 0, older = 0;
    for (bool finished = false; !finished;) {
        finished = done;
        const SimFrame* frame = frameRead(buffer);
        taken = static_cast<int>(buffer.readCount);
        if (frame->lap < 0) continue; // nothing published yet
        torn += !whole(*frame);
        older += frame->lap < last;
        last = frame->lap;
    }
    writer.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(older, 0);
    EXPECT_EQ(last, written);
}

} // namespace
} // namespace vt
