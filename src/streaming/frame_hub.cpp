#include "streaming/frame_hub.h"

#include "platform/thread_name.h"

#include <cstdio>
#include <cstring>
#include <thread>

namespace vt {

namespace {

constexpr int kIdleMs = 250, kSentMs = 4, kWaitMs = 8;

StreamClient* find(FrameHub& hub, uint64_t id) {
    for (StreamClient& client : hub.clients)
        if (client.id == id) return &client;
    return nullptr;
}

std::string sizeText(const StreamPicture& picture, bool parts) {
    char text[80];
    std::snprintf(text, sizeof text, R"({"type":"size","w":%u,"h":%u%s})",
                  static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height),
                  parts ? R"(,"parts":true)" : "");
    return text;
}

/// True when something was sent. A size and the pixels behind it are two messages: the viewer
/// answers each.
bool sendTo(StreamClient& client, StreamPicture& picture) {
    if (client.awaitingAck || client.writing) return false;
    StreamMessage message;
    if (client.sentWidth != picture.width || client.sentHeight != picture.height) {
        message.text = sizeText(picture, client.offer.parts);
        client.sentWidth = picture.width;
        client.sentHeight = picture.height;
        client.sentCounter = 0;
    } else if (client.sentCounter != picture.counter) {
        message.pixels =
            client.offer.parts ? changedParts(picture, client.sentCounter) : wholePicture(picture);
        client.sentCounter = picture.counter;
    } else {
        return false;
    }
    client.awaitingAck = client.offer.ackMode;
    client.writing = true;
    client.send(std::move(message));
    return true;
}

} // namespace

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

uint64_t hubSubscribe(FrameHub& hub, int slot, ViewerOffer offer,
                      std::function<void(StreamMessage)> send) {
    uint64_t id = 0;
    {
        const std::lock_guard lock(hub.clientsMutex);
        StreamClient client;
        client.id = id = hub.nextId++;
        client.slot = slot;
        client.offer = offer;
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
        StreamPicture& picture = hub.pictures[slot];
        if (hub.subscriberCount[slot].load() > 0) {
            watched = true;
            if (const FramePixels* frame = takeNewFrame(exchange)) updatePicture(picture, *frame);
            if (picture.width == 0) continue;
            const std::lock_guard lock(hub.clientsMutex);
            for (StreamClient& client : hub.clients)
                if (client.slot == static_cast<int>(slot)) sent |= sendTo(client, picture);
        } else if (exchange.holdsMemory.load()) {
            // Under the lock nobody can subscribe, so no capture can begin.
            const std::lock_guard lock(hub.clientsMutex);
            if (hub.subscriberCount[slot].load() > 0 || exchange.captureBusy.load()) continue;
            freeFrames(exchange);
            forgetPicture(picture);
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
        forgetPicture(hub.pictures[slot]);
    }
}

} // namespace vt
