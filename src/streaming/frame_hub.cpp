#include "streaming/frame_hub.h"

#include "platform/thread_name.h"
#include "streaming/straight_alpha.h"

#include <cstdio>
#include <cstring>
#include <thread>

namespace vt {

/// Buffers come back when the last viewer has been sent them: a slow viewer keeps one, not a queue.
class FrameBytesPool : public std::enable_shared_from_this<FrameBytesPool> {
public:
    std::shared_ptr<FrameBytes> take(size_t size) {
        std::unique_ptr<FrameBytes> bytes;
        {
            const std::lock_guard lock(mutex_);
            if (!spare_.empty()) {
                bytes = std::move(spare_.back());
                spare_.pop_back();
            }
        }
        if (!bytes) bytes = std::make_unique<FrameBytes>();
        // A picture that has shrunk a lot must not keep the memory of a large one.
        if (bytes->capacity() > size * 2) *bytes = FrameBytes();
        bytes->resize(size);
        return {bytes.release(),
                [pool = shared_from_this()](FrameBytes* back) { pool->giveBack(back); }};
    }

private:
    static constexpr size_t kKept = 2;

    void giveBack(FrameBytes* bytes) {
        std::unique_ptr<FrameBytes> owned(bytes);
        const std::lock_guard lock(mutex_);
        if (spare_.size() < kKept) spare_.push_back(std::move(owned));
    }

    std::mutex mutex_;
    std::vector<std::unique_ptr<FrameBytes>> spare_;
};

namespace {

constexpr int kIdleMs = 250, kSentMs = 4, kWaitMs = 8;

StreamClient* find(FrameHub& hub, uint64_t id) {
    for (StreamClient& client : hub.clients)
        if (client.id == id) return &client;
    return nullptr;
}

void encodeNewest(FrameExchange& exchange, SlotEncoded& encoded) {
    const FramePixels* frame = takeNewFrame(exchange);
    if (!frame) return;
    if (!encoded.pool) encoded.pool = std::make_shared<FrameBytesPool>();
    const auto bytes = encoded.pool->take(frame->bytes.size());
    straightRgba(frame->bytes.data(), frame->width, frame->height, frame->width * 4, bytes->data());
    encoded.bytes = bytes;
    encoded.width = frame->width;
    encoded.height = frame->height;
    ++encoded.counter;
}

std::string sizeText(int width, int height) {
    char text[64];
    std::snprintf(text, sizeof text, R"({"type":"size","w":%u,"h":%u})",
                  static_cast<unsigned>(width), static_cast<unsigned>(height));
    return text;
}

/// True when something was sent. A size and the pixels behind it are two messages: the viewer
/// answers each.
bool sendTo(StreamClient& client, const SlotEncoded& encoded) {
    if (client.awaitingAck || client.writing) return false;
    StreamMessage message;
    if (client.sentWidth != encoded.width || client.sentHeight != encoded.height) {
        message.text = sizeText(encoded.width, encoded.height);
        client.sentWidth = encoded.width;
        client.sentHeight = encoded.height;
        client.sentCounter = 0;
    } else if (client.sentCounter != encoded.counter) {
        message.pixels = encoded.bytes;
        client.sentCounter = encoded.counter;
    } else {
        return false;
    }
    client.awaitingAck = client.ackMode;
    client.writing = true;
    client.send(std::move(message));
    return true;
}

void forget(SlotEncoded& encoded) {
    encoded.bytes.reset();
    encoded.pool.reset();
    encoded.width = encoded.height = 0; // the counter goes on: no viewer may meet it again
}

} // namespace

FrameHub::FrameHub() = default;
FrameHub::~FrameHub() = default;

bool hubCapture(FrameHub& hub, int slot, const PixelView& picture) {
    if (!picture.data || picture.width <= 0 || picture.height <= 0) return false;
    FrameExchange& exchange = hub.exchanges[static_cast<size_t>(slot)];
    // First the flag, then the question: whoever frees asks in the other order.
    exchange.captureBusy.store(true);
    const bool wanted =
        hub.running.load() && hub.subscriberCount[static_cast<size_t>(slot)].load() > 0;
    if (wanted) {
        exchange.holdsMemory.store(true);
        FramePixels& out = exchange.frames.writable();
        const size_t row = static_cast<size_t>(picture.width) * 4;
        out.bytes.resize(row * static_cast<size_t>(picture.height));
        for (int y = 0; y < picture.height; ++y)
            std::memcpy(out.bytes.data() + row * static_cast<size_t>(y),
                        picture.data + static_cast<ptrdiff_t>(y) * picture.stride, row);
        out.width = picture.width;
        out.height = picture.height;
        exchange.frames.publish();
    }
    exchange.captureBusy.store(false);
    if (wanted) hub.wake.wake();
    return wanted;
}

uint64_t hubSubscribe(FrameHub& hub, int slot, bool ackMode,
                      std::function<void(StreamMessage)> send) {
    uint64_t id = 0;
    {
        const std::lock_guard lock(hub.clientsMutex);
        StreamClient client;
        client.id = id = hub.nextId++;
        client.slot = slot;
        client.ackMode = ackMode;
        client.send = std::move(send);
        hub.clients.push_back(std::move(client));
        const auto at = static_cast<size_t>(slot);
        if (hub.subscriberCount[at].fetch_add(1) == 0) {
            hub.slotWanted[at].store(true);
            hub.captureWanted.store(true);
        }
    }
    hub.wake.wake();
    return id;
}

void hubUnsubscribe(FrameHub& hub, uint64_t id) {
    {
        const std::lock_guard lock(hub.clientsMutex);
        StreamClient* client = find(hub, id);
        if (!client) return;
        hub.subscriberCount[static_cast<size_t>(client->slot)].fetch_sub(1);
        hub.clients.erase(hub.clients.begin() + (client - hub.clients.data()));
    }
    hub.wake.wake();
}

void hubAcknowledge(FrameHub& hub, uint64_t id) {
    {
        const std::lock_guard lock(hub.clientsMutex);
        StreamClient* client = find(hub, id);
        if (!client || !client->awaitingAck) return; // chatter wakes nobody
        client->awaitingAck = false;
    }
    hub.wake.wake();
}

void hubWritten(FrameHub& hub, uint64_t id) {
    {
        const std::lock_guard lock(hub.clientsMutex);
        StreamClient* client = find(hub, id);
        if (!client) return;
        client->writing = false;
        if (client->awaitingAck) return; // its answer will wake the sender
    }
    hub.wake.wake();
}

int hubRound(FrameHub& hub) {
    bool sent = false, watched = false;
    for (size_t slot = 0; slot < kSlotCount; ++slot) {
        FrameExchange& exchange = hub.exchanges[slot];
        SlotEncoded& encoded = hub.encoded[slot];
        if (hub.subscriberCount[slot].load() > 0) {
            watched = true;
            encodeNewest(exchange, encoded);
            if (!encoded.bytes) continue;
            const std::lock_guard lock(hub.clientsMutex);
            for (StreamClient& client : hub.clients)
                if (client.slot == static_cast<int>(slot)) sent |= sendTo(client, encoded);
        } else if (exchange.holdsMemory.load()) {
            // Under the lock nobody can subscribe, so no capture can begin.
            const std::lock_guard lock(hub.clientsMutex);
            if (hub.subscriberCount[slot].load() > 0 || exchange.captureBusy.load()) continue;
            freeFrames(exchange);
            forget(encoded);
        }
    }
    return !watched ? kIdleMs : sent ? kSentMs : kWaitMs;
}

void hubSend(FrameHub& hub) {
    nameThisThread("stream sender");
    const Clock clock;
    while (hub.running.load())
        hub.wake.waitUntil(clockTicks(clock) + hubRound(hub) * (kTicksPerSecond / 1000));
}

void hubClear(FrameHub& hub) {
    {
        const std::lock_guard lock(hub.clientsMutex);
        hub.clients.clear();
        for (size_t slot = 0; slot < kSlotCount; ++slot) {
            hub.subscriberCount[slot].store(0);
            hub.slotWanted[slot].store(false);
        }
        hub.captureWanted.store(false);
    }
    for (size_t slot = 0; slot < kSlotCount; ++slot) {
        while (hub.exchanges[slot].captureBusy.load())
            std::this_thread::yield();
        freeFrames(hub.exchanges[slot]);
        forget(hub.encoded[slot]);
    }
}

} // namespace vt
