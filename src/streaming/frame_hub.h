// Between the overlays and their viewers: which overlays are looked at, the newest picture of each
// in the form that viewers take, and who may be sent it now. Nothing here knows of sockets: a
// viewer is a function that takes a message.
#pragma once
#include "overlay/settings/slots.h"
#include "platform/canvas.h"
#include "platform/clock.h"
#include "streaming/frame_exchange.h"
#include "streaming/stream_picture.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vt {

/// One of the two.
struct StreamMessage {
    std::string text;
    SharedBytes pixels; // wholePicture, or changedParts for a viewer that takes parts
};

/// What a viewer said of itself when it came.
struct ViewerOffer {
    bool ackMode = false; // takes nothing more until it has answered
    bool parts = false;   // takes what changed in place of whole pictures
};

struct StreamClient {
    uint64_t id = 0;
    int slot = 0;
    ViewerOffer offer;
    int sentWidth = 0, sentHeight = 0;
    uint64_t sentCounter = 0;
    bool awaitingAck = false;
    bool writing = false; // a message has not left this PC yet
    /// Must not block and must not call back into the hub; `hubWritten` follows from elsewhere.
    std::function<void(StreamMessage)> send;
};

struct FrameHub {
    std::atomic<bool> running{false};                           // main writes
    std::array<std::atomic<int>, kSlotCount> subscriberCount{}; // written under clientsMutex
    std::array<FrameExchange, kSlotCount> exchanges;
    std::array<StreamPicture, kSlotCount> pictures; // sender; main once the sender has ended
    std::mutex clientsMutex;
    std::vector<StreamClient> clients; // under clientsMutex
    uint64_t nextId = 1;               // under clientsMutex
    DeadlineTimer wake;                // anybody wakes the sender
    /// Raised when a slot gets its first viewer, taken by the main thread: a picture that does not
    /// change any more must be captured for it.
    std::atomic<bool> captureWanted{false};
    std::array<std::atomic<bool>, kSlotCount> slotWanted{};
};

// ---- the overlays' side ----

/// Somebody looks at this slot. One atomic read.
inline bool hubWants(const FrameHub& hub, int slot) {
    return hub.subscriberCount[static_cast<size_t>(slot)].load(std::memory_order_relaxed) > 0;
}
/// Copies a finished picture for the viewers of `slot`. One thread at a time for each slot. False
/// when nobody looks (any more).
bool hubCapture(FrameHub& hub, int slot, const PixelView& picture);

// ---- the viewers' side; any thread ----

/// Returns the viewer's number.
uint64_t hubSubscribe(FrameHub& hub, int slot, ViewerOffer offer,
                      std::function<void(StreamMessage)> send);
void hubUnsubscribe(FrameHub& hub, uint64_t id); // unknown numbers are ignored
/// The viewer answered: it may be sent the next message.
void hubAcknowledge(FrameHub& hub, uint64_t id);
/// The message given to `send` has left; there is room for the next one.
void hubWritten(FrameHub& hub, uint64_t id);

// ---- the sender's side ----

/// One round: converts new pictures, sends to every viewer that may be sent to, frees what nobody
/// looks at. Returns after how many milliseconds the next round is due at the latest.
int hubRound(FrameHub& hub);
/// Rounds until `running` falls. Body of the sender's thread.
void hubSend(FrameHub& hub);
/// Forgets all viewers and pictures. Only after the sender and the server have ended.
void hubClear(FrameHub& hub);

} // namespace vt
