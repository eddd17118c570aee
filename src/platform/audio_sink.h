// Sound out: the devices of the machine, one stream per sink, written when the device asks for
// more. A system of sound is a table of functions: PulseAudio, or an offline one that keeps every
// frame it was given. Each sink belongs to the one thread that opened it; `wake` alone is for
// others.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace vt {

struct AudioFormat {
    uint32_t channels = 2, rate = 48000, bits = 32; // bits of one sample: 16, 24 (packed) or 32
    bool isFloat = true;
};

struct AudioDevice {
    std::string id, name; // the id is stable across starts; the name is for people
};

struct AudioStreamInfo {
    AudioFormat format{};      // the device's own mix format
    uint32_t bufferFrames = 0; // size of the buffer
    uint32_t periodFrames = 0; // what the device takes at a time, at least 1
};

enum class AudioWait { ready, woken, timedOut, lost };

struct AudioSink; // made by a system's `open`

struct AudioSystem {
    void* user = nullptr;
    std::vector<AudioDevice> (*devices)(void* user) = nullptr;
    /// An empty id is the default device, whichever that comes to be; an unknown one falls back to
    /// it and is lost once another device appears, so that the wanted one is found when it is back.
    /// Asks for a buffer of 40 ms and, where that is refused, for the device's own. Null with a
    /// reason when there is none.
    AudioSink* (*open)(void* user, const std::string& deviceId, AudioStreamInfo& info,
                       std::string& error) = nullptr;
    void (*close)(AudioSink* sink) = nullptr;
    /// Until the device wants frames, `wake` was called, or the time is over.
    AudioWait (*wait)(AudioSink* sink, int timeoutMs) = nullptr;
    /// Frames that fit now; -1 when the device is gone.
    int64_t (*writable)(AudioSink* sink) = nullptr;
    /// Interleaved frames in the stream's format; null data is silence. False when the device is
    /// gone.
    bool (*write)(AudioSink* sink, const void* frames, uint32_t count) = nullptr;
    /// Any thread: ends the wait of `sink`.
    void (*wake)(AudioSink* sink) = nullptr;
};

/// The machine's sound server. The devices call may take some milliseconds; any thread.
const AudioSystem& machineAudio();

/// Sound without a machine. `step` lets the device take one period; everything written is kept as
/// floats. The test's thread steps, the sink's thread writes; the two meet at the mutex.
struct OfflineAudio {
    AudioStreamInfo info{.format = {}, .bufferFrames = 1920, .periodFrames = 480};
    std::vector<AudioDevice> devices{{"offline", "Offline"}};
    std::atomic<bool> available{true}; // false: open fails, open sinks are lost
    std::mutex mutex;
    std::vector<float> played;       // interleaved, in the order the device took it
    AudioSink* sink = nullptr;       // the last one opened, null when closed
    std::vector<std::string> opened; // device ids asked for
};
AudioSystem offlineAudio(OfflineAudio& audio);
/// One period is taken from the buffer (silence where it is short), then the sink is woken. False
/// while no sink is open.
bool stepOffline(OfflineAudio& audio);
/// Waits up to `timeoutMs` for the sink's thread to fill the buffer up to what it wants, i.e. to be
/// back in `wait`.
bool settleOffline(OfflineAudio& audio, int timeoutMs);

} // namespace vt
