#include "voice/voice_mix.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

void put(float sample, const AudioFormat& format, uint8_t*& out) {
    if (format.isFloat && format.bits == 32) {
        std::memcpy(out, &sample, sizeof sample);
        out += 4;
        return;
    }
    const double scale = format.bits == 16   ? 32767.0
                         : format.bits == 24 ? 8388607.0
                         : format.bits == 32 ? 2147483647.0
                                             : 0.0;
    const auto value = static_cast<int32_t>(std::lround(static_cast<double>(sample) * scale));
    for (uint32_t bit = 0; bit < format.bits; bit += 8)
        *out++ = static_cast<uint8_t>(static_cast<uint32_t>(value) >> bit); // low byte first
}

} // namespace

uint32_t frameBytes(const AudioFormat& format) {
    return format.channels * format.bits / 8;
}

void mixClip(const Clip& clip, size_t from, uint32_t frames, uint32_t volume,
             const AudioFormat& format, uint8_t* out) {
    const float gain = static_cast<float>(volume) / 65536.0f;
    const size_t length = clip.frames();
    for (uint32_t i = 0; i < frames; ++i) {
        const size_t at = from + i;
        for (uint32_t channel = 0; channel < format.channels; ++channel) {
            float sample = 0;
            if (at < length)
                sample = clip.samples[at * clip.channels + std::min(channel, clip.channels - 1)];
            put(std::clamp(sample * gain, -1.0f, 1.0f), format, out);
        }
    }
}

} // namespace vt
