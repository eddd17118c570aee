// Recorded speech: reading .opus and .wav files that users install, and bringing them to a device's
// rate. Foreign bytes: every count is bounded before anything is allocated. Any thread.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

/// At most two channels as kept in memory; a mono clip stays mono and is spread when it is mixed.
struct Clip {
    std::vector<float> samples; // interleaved
    uint32_t channels = 1;
    size_t frames() const { return channels ? samples.size() / channels : 0; }
    bool empty() const { return samples.empty(); }
};

struct RawClip {
    Clip clip;
    uint32_t rate = 48000;
};

inline constexpr size_t kMaxClipSamples = 11'520'000; // two minutes of stereo at 48 kHz

/// The two formats out of a file's bytes; rules as below.
bool decodeWav(std::string_view bytes, RawClip& out, std::string& reason);
bool decodeOpus(std::string_view bytes, RawClip& out, std::string& reason);

/// RIFF WAVE: 8, 16, 24 bit integer, 32 bit float, plain or extensible, up to 8 channels. False
/// (and `reason`) for anything else, for damaged files and for longer ones.
bool readWav(const std::string& path, RawClip& out, std::string& reason);
/// Ogg Opus of one or two channels; always 48 kHz.
bool readOpus(const std::string& path, RawClip& out, std::string& reason);
/// `<name>.opus` where it can be read, else `<name>.wav`; `wavPath` ends in ".wav". Only regular
/// files.
bool readClip(const std::string& wavPath, RawClip& out, std::string& reason);

/// To the device's rate (linear, truncated frame count) and, for another channel count than the
/// device's, to the mean of all channels (one channel, spread when mixed).
Clip convertClip(const RawClip& raw, uint32_t deviceRate, uint32_t deviceChannels);

/// Sine with a raised-cosine envelope, one channel. Seconds, Hz.
Clip makeTone(uint32_t rate, double frequency, double seconds, double attackSeconds,
              double amplitude);
/// Appends `clip` to a spoken sentence; `gap` in s, small ones cut into the silence that every
/// recording carries at its ends. Both have one channel count, or `destination` is empty.
void joinClip(Clip& destination, const Clip& clip, double gap, uint32_t rate);

} // namespace vt
