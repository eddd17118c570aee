#include "voice/clip.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vt {
namespace {

constexpr double kCarriedSilence = 0.15; // s at each end of a recording
constexpr size_t kMaxConverted = 4 * kMaxClipSamples;

Clip mixedDown(const Clip& clip) {
    Clip out;
    out.samples.resize(clip.frames());
    for (size_t i = 0; i < out.samples.size(); i++) {
        float sum = 0;
        for (uint32_t c = 0; c < clip.channels; c++)
            sum += clip.samples[i * clip.channels + c];
        out.samples[i] = sum / static_cast<float>(clip.channels);
    }
    return out;
}

Clip resampled(const Clip& clip, uint32_t from, uint32_t to) {
    Clip out;
    out.channels = clip.channels;
    const double step = static_cast<double>(from) / to;
    const size_t last = clip.frames() - 1;
    const double wanted = static_cast<double>(clip.frames()) / step;
    if (wanted * clip.channels > static_cast<double>(kMaxConverted)) return out;
    const auto frames = static_cast<size_t>(wanted);
    out.samples.resize(frames * clip.channels);
    for (size_t i = 0; i < frames; i++) {
        const double at = static_cast<double>(i) * step;
        const size_t left = std::min(static_cast<size_t>(at), last);
        const size_t right = std::min(left + 1, last);
        const auto share = static_cast<float>(at - static_cast<double>(left));
        for (uint32_t c = 0; c < clip.channels; c++) {
            const float a = clip.samples[left * clip.channels + c];
            const float b = clip.samples[right * clip.channels + c];
            out.samples[i * clip.channels + c] = a + (b - a) * share;
        }
    }
    return out;
}

Clip spread(const Clip& mono, uint32_t channels) {
    Clip out;
    out.channels = channels;
    out.samples.reserve(mono.samples.size() * channels);
    for (const float x : mono.samples)
        out.samples.insert(out.samples.end(), channels, x);
    return out;
}

} // namespace

Clip convertClip(const RawClip& raw, uint32_t deviceRate, uint32_t deviceChannels) {
    if (raw.clip.empty() || raw.clip.channels == 0 || raw.rate == 0 || deviceRate == 0) return {};
    const bool mean = raw.clip.channels != 1 && raw.clip.channels != deviceChannels;
    Clip clip = mean ? mixedDown(raw.clip) : raw.clip;
    if (clip.empty() || raw.rate == deviceRate) return clip;
    return resampled(clip, raw.rate, deviceRate);
}

Clip makeTone(uint32_t rate, double frequency, double seconds, double attackSeconds,
              double amplitude) {
    Clip tone;
    const double wanted = seconds * rate + 0.5;
    if (!(wanted >= 32) || wanted > static_cast<double>(kMaxClipSamples)) return tone;
    const auto n = static_cast<size_t>(wanted);
    const auto attack = std::min(static_cast<size_t>(std::max(attackSeconds * rate, 1.0)), n / 4);
    tone.samples.resize(n);
    constexpr double pi = std::numbers::pi;
    for (size_t i = 0; i < n; i++) {
        const auto at = static_cast<double>(i);
        const double envelope = i < attack
                                    ? (1 - std::cos(pi * at / static_cast<double>(attack))) / 2
                                    : (std::cos(pi * static_cast<double>(i - attack) /
                                                static_cast<double>(n - attack - 1)) +
                                       1) /
                                          2;
        tone.samples[i] =
            static_cast<float>(std::sin(2 * pi * frequency * at / rate) * envelope * amplitude);
    }
    return tone;
}

void joinClip(Clip& destination, const Clip& clip, double gap, uint32_t rate) {
    if (clip.empty()) return;
    if (destination.empty()) {
        destination = clip;
        return;
    }
    // A pack may hold recordings of one channel beside those of two.
    if (destination.channels < clip.channels && destination.channels == 1)
        destination = spread(destination, clip.channels);
    const Clip widened = clip.channels == 1 && destination.channels > 1
                             ? spread(clip, destination.channels)
                             : Clip{};
    const Clip& next = widened.empty() ? clip : widened;
    const double trim = std::round(std::max((kCarriedSilence - gap * 0.5) * rate, 0.0));
    const size_t cut = std::min(static_cast<size_t>(trim), destination.frames() / 2);
    const size_t skip = std::min(static_cast<size_t>(trim), next.frames() / 2);
    destination.samples.resize(destination.samples.size() - cut * destination.channels);
    destination.samples.insert(destination.samples.end(),
                               next.samples.begin() +
                                   static_cast<std::ptrdiff_t>(skip * next.channels),
                               next.samples.end());
}

} // namespace vt
