// PulseAudio behind audio_sink.h (PipeWire answers the same calls). Each sink has a loop of its
// own, which its thread turns inside `wait`: no thread of the library's is needed. A server that is
// not running is never started.
#include "platform/audio_sink.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <pulse/pulseaudio.h>

namespace vt {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr uint32_t kBufferMs = 40;
constexpr int kAnswerMs = 3000; // for a server to answer

struct Connection {
    pa_mainloop* loop = nullptr;
    pa_context* context = nullptr;

    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        if (context) {
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
        if (loop) pa_mainloop_free(loop);
    }
};

struct PulseSink {
    Connection connection;
    pa_stream* stream = nullptr;
    AudioStreamInfo info;
    size_t frameBytes = 8;
    std::vector<uint8_t> silence;   // one period
    std::atomic<bool> woken{false}; // anybody sets, the sink's thread takes
    int64_t seenWritable = -1;
    bool another = false; // in place of a device that was not there, and one has come since

    ~PulseSink() {
        if (!stream) return;
        pa_stream_disconnect(stream);
        pa_stream_unref(stream);
    }
};

PulseSink& of(AudioSink* sink) {
    return *reinterpret_cast<PulseSink*>(sink);
}

/// One turn of the loop of at most `ms`. False when the loop is broken.
bool turn(pa_mainloop* loop, int ms) {
    if (pa_mainloop_prepare(loop, std::max(ms, 0) * 1000) < 0) return false;
    if (pa_mainloop_poll(loop) < 0) return false;
    return pa_mainloop_dispatch(loop) >= 0;
}

int leftMs(SteadyClock::time_point end) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - SteadyClock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, 60000));
}

/// Turns the loop until `done` or the time for an answer is over.
template <class Done>
bool turnUntil(pa_mainloop* loop, Done done) {
    const auto end = SteadyClock::now() + std::chrono::milliseconds(kAnswerMs);
    while (!done()) {
        const int left = leftMs(end);
        if (left == 0 || !turn(loop, left)) return false;
    }
    return true;
}

bool connect(Connection& connection, std::string& error) {
    connection.loop = pa_mainloop_new();
    if (!connection.loop) {
        error = "no loop";
        return false;
    }
    connection.context = pa_context_new(pa_mainloop_get_api(connection.loop), "Vantorel Overlays");
    const bool begun =
        connection.context &&
        pa_context_connect(connection.context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
    pa_context_state_t state = PA_CONTEXT_FAILED;
    if (begun)
        turnUntil(connection.loop, [&] {
            state = pa_context_get_state(connection.context);
            return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
        });
    if (state == PA_CONTEXT_READY) return true;
    error = connection.context ? pa_strerror(pa_context_errno(connection.context)) : "no context";
    return false;
}

/// False when the server did not answer in time; the operation is given back.
bool finish(Connection& connection, pa_operation* operation) {
    if (!operation) return false;
    const bool done = turnUntil(connection.loop, [&] {
        return pa_operation_get_state(operation) != PA_OPERATION_RUNNING ||
               !PA_CONTEXT_IS_GOOD(pa_context_get_state(connection.context));
    });
    const bool good = done && pa_operation_get_state(operation) == PA_OPERATION_DONE;
    if (!done) pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return good;
}

std::vector<AudioDevice> devices(void*) {
    std::vector<AudioDevice> found;
    Connection connection;
    std::string error;
    if (!connect(connection, error)) return found;
    const pa_sink_info_cb_t add = [](pa_context*, const pa_sink_info* info, int end, void* user) {
        if (end || !info) return;
        static_cast<std::vector<AudioDevice>*>(user)->push_back(
            {info->name ? info->name : "", info->description ? info->description : info->name});
    };
    finish(connection, pa_context_get_sink_info_list(connection.context, add, &found));
    return found;
}

struct SinkAnswer {
    std::string name;
    pa_sample_spec spec{};
    bool found = false;
};

bool findSink(Connection& connection, const char* name, SinkAnswer& out) {
    const pa_sink_info_cb_t take = [](pa_context*, const pa_sink_info* info, int end, void* user) {
        if (end || !info) return;
        auto& answer = *static_cast<SinkAnswer*>(user);
        answer = {info->name ? info->name : "", info->sample_spec, true};
    };
    finish(connection, pa_context_get_sink_info_by_name(connection.context, name, take, &out));
    return out.found;
}

/// The device's own sample type where we write it, else floats, which the server converts.
AudioFormat formatOf(const pa_sample_spec& spec) {
    AudioFormat format;
    format.channels = std::clamp<uint32_t>(spec.channels, 1, 8);
    format.rate = std::clamp<uint32_t>(spec.rate, 8000, 384000);
    switch (spec.format) {
    case PA_SAMPLE_S16LE:
        format.bits = 16;
        break;
    case PA_SAMPLE_S24LE:
        format.bits = 24;
        break;
    case PA_SAMPLE_S32LE:
        format.bits = 32;
        break;
    default:
        return format;
    }
    format.isFloat = false;
    return format;
}

pa_sample_spec specOf(const AudioFormat& format) {
    pa_sample_spec spec{};
    spec.format = format.isFloat      ? PA_SAMPLE_FLOAT32LE
                  : format.bits == 16 ? PA_SAMPLE_S16LE
                  : format.bits == 24 ? PA_SAMPLE_S24LE
                                      : PA_SAMPLE_S32LE;
    spec.rate = format.rate;
    spec.channels = static_cast<uint8_t>(format.channels);
    return spec;
}

/// `bufferMs` 0 leaves the size to the server. A `pinned` stream ends with its device; others
/// follow the server's default.
bool startStream(PulseSink& sink, const std::string& name, bool pinned, uint32_t bufferMs) {
    const pa_sample_spec spec = specOf(sink.info.format);
    sink.frameBytes = pa_frame_size(&spec);
    sink.stream = pa_stream_new(sink.connection.context, "Voice", &spec, nullptr);
    if (!sink.stream) return false;
    pa_buffer_attr attr;
    attr.maxlength = attr.tlength = attr.prebuf = attr.minreq = attr.fragsize = UINT32_MAX;
    if (bufferMs > 0) {
        attr.tlength = static_cast<uint32_t>(pa_usec_to_bytes(bufferMs * 1000, &spec));
        attr.minreq = static_cast<uint32_t>(pa_usec_to_bytes(bufferMs * 1000 / 4, &spec));
        // A stream that ran dry begins again with the first period it is given.
        attr.prebuf = attr.minreq;
    }
    const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY |
                                                      (pinned ? PA_STREAM_DONT_MOVE : 0));
    pa_stream_state_t state = PA_STREAM_FAILED;
    if (pa_stream_connect_playback(sink.stream, name.empty() ? nullptr : name.c_str(), &attr, flags,
                                   nullptr, nullptr) >= 0)
        turnUntil(sink.connection.loop, [&] {
            state = pa_stream_get_state(sink.stream);
            return state == PA_STREAM_READY || !PA_STREAM_IS_GOOD(state);
        });
    if (state == PA_STREAM_READY) return true;
    pa_stream_disconnect(sink.stream);
    pa_stream_unref(sink.stream);
    sink.stream = nullptr;
    return false;
}

void close(AudioSink* sink) {
    delete &of(sink);
}

/// Lets the stream count as lost once an output appears: it may be the one that was wanted.
void watchForDevices(PulseSink& sink) {
    pa_context* context = sink.connection.context;
    const pa_context_subscribe_cb_t note = [](pa_context*, pa_subscription_event_type_t event,
                                              uint32_t, void* user) {
        if ((event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_NEW)
            static_cast<PulseSink*>(user)->another = true;
    };
    pa_context_set_subscribe_callback(context, note, &sink);
    finish(sink.connection,
           pa_context_subscribe(context, PA_SUBSCRIPTION_MASK_SINK, nullptr, nullptr));
}

AudioSink* open(void*, const std::string& deviceId, AudioStreamInfo& info, std::string& error) {
    auto sink = std::make_unique<PulseSink>();
    Connection& connection = sink->connection;
    if (!connect(connection, error)) return nullptr;
    SinkAnswer device;
    const bool pinned = !deviceId.empty() && findSink(connection, deviceId.c_str(), device);
    if (!pinned) findSink(connection, "@DEFAULT_SINK@", device);
    if (!device.found) {
        error = "no output device";
        return nullptr;
    }
    sink->info.format = formatOf(device.spec);
    if (!startStream(*sink, device.name, pinned, kBufferMs) &&
        !startStream(*sink, device.name, pinned, 0)) {
        error = pa_strerror(pa_context_errno(connection.context));
        return nullptr;
    }
    const pa_buffer_attr* attr = pa_stream_get_buffer_attr(sink->stream);
    const auto frames = [&](uint32_t bytes) {
        return static_cast<uint32_t>(bytes / std::max<size_t>(sink->frameBytes, 1));
    };
    sink->info.bufferFrames = attr ? std::max(frames(attr->tlength), 1u) : 1920;
    sink->info.periodFrames = attr ? std::clamp(frames(attr->minreq), 1u, sink->info.bufferFrames)
                                   : sink->info.format.rate / 100;
    const uint8_t zero = 0; // of every type that is written here
    sink->silence.assign(sink->info.periodFrames * sink->frameBytes, zero);
    if (!pinned && !deviceId.empty()) watchForDevices(*sink);
    info = sink->info;
    return reinterpret_cast<AudioSink*>(sink.release());
}

bool alive(const PulseSink& sink) {
    return sink.stream && !sink.another && PA_STREAM_IS_GOOD(pa_stream_get_state(sink.stream)) &&
           PA_CONTEXT_IS_GOOD(pa_context_get_state(sink.connection.context));
}

int64_t writable(AudioSink* handle) {
    PulseSink& sink = of(handle);
    if (!alive(sink)) return -1;
    const size_t bytes = pa_stream_writable_size(sink.stream);
    if (bytes == static_cast<size_t>(-1)) return -1;
    sink.seenWritable =
        std::min<int64_t>(static_cast<int64_t>(bytes / sink.frameBytes), sink.info.bufferFrames);
    return sink.seenWritable;
}

/// Ready once a period has become free since the sink's thread looked last.
AudioWait wait(AudioSink* handle, int timeoutMs) {
    PulseSink& sink = of(handle);
    const auto end = SteadyClock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (sink.woken.exchange(false)) return AudioWait::woken;
        if (!alive(sink)) return AudioWait::lost;
        const size_t bytes = pa_stream_writable_size(sink.stream);
        if (bytes == static_cast<size_t>(-1)) return AudioWait::lost;
        const auto frames = static_cast<int64_t>(bytes / sink.frameBytes);
        // What its thread left unfilled on purpose does not count again, a stream that ran dry
        // once.
        const int64_t seen = std::max<int64_t>(sink.seenWritable, 0);
        if (frames - seen >= sink.info.periodFrames ||
            (frames >= sink.info.bufferFrames && seen < sink.info.bufferFrames))
            return AudioWait::ready;
        const int left = leftMs(end);
        if (left == 0) return AudioWait::timedOut;
        // The server's word that there is room ends the turn; nobody looks in between.
        if (!turn(sink.connection.loop, left)) return AudioWait::lost;
    }
}

bool write(AudioSink* handle, const void* frames, uint32_t count) {
    PulseSink& sink = of(handle);
    if (!alive(sink)) return false;
    while (count > 0) {
        const uint32_t part = frames ? count : std::min(count, sink.info.periodFrames);
        const void* from = frames ? frames : sink.silence.data();
        if (pa_stream_write(sink.stream, from, part * sink.frameBytes, nullptr, 0,
                            PA_SEEK_RELATIVE) < 0)
            return false;
        sink.seenWritable -= part;
        count -= part;
    }
    return true;
}

void wake(AudioSink* handle) {
    PulseSink& sink = of(handle);
    sink.woken = true;
    pa_mainloop_wakeup(sink.connection.loop);
}

} // namespace

const AudioSystem& machineAudio() {
    static const AudioSystem system{nullptr, devices, open, close, wait, writable, write, wake};
    return system;
}

} // namespace vt
