// A device that takes a period when it is told to, and keeps it.
#include "platform/audio_sink.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <thread>
#include <utility>

namespace vt {

namespace {

/// All of it under the owner's mutex.
struct OfflineSink {
    OfflineAudio& owner;
    AudioStreamInfo info;
    std::vector<float> buffered; // interleaved
    std::condition_variable changed;
    bool woken = false, waiting = false;
    int64_t seen = -1; // room when its thread looked last

    int64_t room() const {
        return static_cast<int64_t>(info.bufferFrames) -
               static_cast<int64_t>(buffered.size() / info.format.channels);
    }
    bool wantsFrames() const {
        const int64_t before = std::max<int64_t>(seen, 0);
        return room() - before >= info.periodFrames ||
               (room() >= info.bufferFrames && before < info.bufferFrames);
    }
};

OfflineSink& of(AudioSink* sink) {
    return *reinterpret_cast<OfflineSink*>(sink);
}

std::vector<AudioDevice> devices(void* user) {
    return static_cast<OfflineAudio*>(user)->devices;
}

AudioSink* open(void* user, const std::string& deviceId, AudioStreamInfo& info,
                std::string& error) {
    auto& owner = *static_cast<OfflineAudio*>(user);
    const std::lock_guard guard(owner.mutex);
    owner.opened.push_back(deviceId);
    if (!owner.available) {
        error = "no output device";
        return nullptr;
    }
    info = owner.info;
    auto* sink = new OfflineSink{owner, owner.info, {}, {}, false, false, -1};
    owner.sink = reinterpret_cast<AudioSink*>(sink);
    return owner.sink;
}

void close(AudioSink* sink) {
    OfflineAudio& owner = of(sink).owner;
    {
        const std::lock_guard guard(owner.mutex);
        if (owner.sink == sink) owner.sink = nullptr;
    }
    delete &of(sink);
}

AudioWait wait(AudioSink* handle, int timeoutMs) {
    OfflineSink& sink = of(handle);
    std::unique_lock guard(sink.owner.mutex);
    sink.waiting = true;
    const auto over = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (sink.owner.available && !sink.woken && !sink.wantsFrames())
        if (sink.changed.wait_until(guard, over) == std::cv_status::timeout) break;
    sink.waiting = false;
    if (!sink.owner.available) return AudioWait::lost;
    if (std::exchange(sink.woken, false)) return AudioWait::woken;
    return sink.wantsFrames() ? AudioWait::ready : AudioWait::timedOut;
}

int64_t writable(AudioSink* handle) {
    OfflineSink& sink = of(handle);
    const std::lock_guard guard(sink.owner.mutex);
    sink.seen = sink.room();
    return sink.owner.available ? sink.seen : -1;
}

float sampleAt(const uint8_t* bytes, const AudioFormat& format) {
    if (format.isFloat) {
        float value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    uint32_t value = 0;
    for (uint32_t bit = 0; bit < format.bits; bit += 8)
        value |= static_cast<uint32_t>(*bytes++) << (32 - format.bits + bit);
    return static_cast<float>(static_cast<double>(static_cast<int32_t>(value)) / 2147483648.0);
}

bool write(AudioSink* handle, const void* frames, uint32_t count) {
    OfflineSink& sink = of(handle);
    const std::lock_guard guard(sink.owner.mutex);
    if (!sink.owner.available) return false;
    const auto* bytes = static_cast<const uint8_t*>(frames);
    const size_t step = sink.info.format.bits / 8;
    for (size_t i = 0; i < static_cast<size_t>(count) * sink.info.format.channels; ++i)
        sink.buffered.push_back(bytes ? sampleAt(bytes + i * step, sink.info.format) : 0.0f);
    sink.seen -= count;
    return true;
}

void wake(AudioSink* handle) {
    OfflineSink& sink = of(handle);
    const std::lock_guard guard(sink.owner.mutex);
    sink.woken = true;
    sink.changed.notify_all();
}

} // namespace

AudioSystem offlineAudio(OfflineAudio& audio) {
    return {&audio, devices, open, close, wait, writable, write, wake};
}

bool stepOffline(OfflineAudio& audio) {
    const std::lock_guard guard(audio.mutex);
    if (!audio.sink) return false;
    OfflineSink& sink = of(audio.sink);
    const size_t wanted = static_cast<size_t>(sink.info.periodFrames) * sink.info.format.channels;
    const size_t taken = std::min(wanted, sink.buffered.size());
    audio.played.insert(audio.played.end(), sink.buffered.begin(),
                        sink.buffered.begin() + static_cast<std::ptrdiff_t>(taken));
    audio.played.resize(audio.played.size() + wanted - taken, 0.0f);
    sink.buffered.erase(sink.buffered.begin(),
                        sink.buffered.begin() + static_cast<std::ptrdiff_t>(taken));
    sink.changed.notify_all();
    return true;
}

bool settleOffline(OfflineAudio& audio, int timeoutMs) {
    const auto over = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < over) {
        {
            const std::lock_guard guard(audio.mutex);
            if (audio.sink) {
                const OfflineSink& sink = of(audio.sink);
                if (sink.waiting && !sink.woken && !sink.wantsFrames()) return true;
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return false;
}

} // namespace vt
