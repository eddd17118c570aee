#include "base/bytes.h"
#include "platform/file.h"
#include "voice/clip.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

namespace vt {
namespace {

constexpr uint16_t kInteger = 1, kFloat = 3, kExtensible = 65534;
constexpr uint32_t kMaxChannels = 8, kLeastRate = 4000, kMostRate = 384'000;
constexpr float kLoudest = 8.0f; // of full scale; what is louder is no sound

struct WavFormat {
    uint16_t tag = 0, channels = 0, bits = 0;
    uint32_t rate = 0;
};

WavFormat readFormat(ByteView chunk) {
    WavFormat format;
    format.tag = readAt<uint16_t>(chunk, 0);
    format.channels = readAt<uint16_t>(chunk, 2);
    format.rate = readAt<uint32_t>(chunk, 4);
    format.bits = readAt<uint16_t>(chunk, 14);
    if (format.tag == kExtensible && chunk.size() >= 40) format.tag = readAt<uint16_t>(chunk, 24);
    return format;
}

const char* refusal(const WavFormat& format) {
    if (format.channels == 0 || format.channels > kMaxChannels) return "1 to 8 channels expected";
    if (format.rate < kLeastRate || format.rate > kMostRate)
        return "a rate of 4 to 384 kHz expected";
    if (format.tag == kFloat && format.bits == 32) return nullptr;
    if (format.tag == kInteger && (format.bits == 8 || format.bits == 16 || format.bits == 24))
        return nullptr;
    return "8, 16, 24 bit or float samples expected";
}

float sane(float x) {
    if (std::isnan(x)) return 0;
    return std::fabs(x) > kLoudest ? std::copysign(1.0f, x) : x;
}

float sampleAt(const WavFormat& format, ByteView data, size_t at) {
    switch (format.bits) {
    case 8:
        return (static_cast<float>(data[at]) - 128.0f) * 0.0078125f;
    case 16:
        return static_cast<float>(readAt<int16_t>(data, at)) / 32768.0f;
    case 24: {
        const uint32_t bits = static_cast<uint32_t>(data[at] << 8) |
                              static_cast<uint32_t>(data[at + 1] << 16) |
                              static_cast<uint32_t>(data[at + 2]) << 24;
        return static_cast<float>(static_cast<int32_t>(bits) >> 8) / 8388608.0f;
    }
    default:
        return sane(readAt<float>(data, at));
    }
}

/// A link that leads nowhere is there too.
bool pathIsThere(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path, error);
    return std::filesystem::exists(status);
}

} // namespace

bool readWav(const std::string& path, RawClip& out, std::string& reason) {
    std::string bytes;
    if (readFile(path, bytes)) return decodeWav(bytes, out, reason);
    out = {};
    reason = "not a file that can be read, or above 64 MiB";
    return false;
}

bool decodeWav(std::string_view bytes, RawClip& out, std::string& reason) {
    out = {};
    reason.clear();
    const ByteView file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    if (file.size() < 12 || std::memcmp(file.data(), "RIFF", 4) != 0 ||
        std::memcmp(file.data() + 8, "WAVE", 4) != 0) {
        reason = "no RIFF WAVE file";
        return false;
    }
    WavFormat format;
    ByteView data;
    bool hasFormat = false, hasData = false;
    for (size_t at = 12; at + 8 <= file.size() && !(hasFormat && hasData);) {
        const char* name = bytes.data() + at;
        const size_t told = readAt<uint32_t>(file, at + 4);
        // Writers to a pipe leave a size that is too large; a cut file has one too.
        const ByteView chunk = file.subspan(at + 8, std::min(told, file.size() - at - 8));
        if (!hasFormat && std::memcmp(name, "fmt ", 4) == 0 && chunk.size() >= 16) {
            format = readFormat(chunk);
            hasFormat = true;
        } else if (!hasData && std::memcmp(name, "data", 4) == 0) {
            data = chunk;
            hasData = true;
        }
        at += 8 + chunk.size() + (told & 1);
    }
    if (const char* why = !hasFormat ? "no format chunk"
                          : !hasData ? "no data chunk"
                                     : refusal(format)) {
        reason = why;
        return false;
    }
    const size_t width = format.bits / 8;
    const size_t count = data.size() / (width * format.channels) * format.channels;
    if (count == 0 || count > kMaxClipSamples) {
        reason = count ? "longer than 11520000 samples" : "no samples";
        return false;
    }
    out.rate = format.rate;
    out.clip.channels = format.channels;
    out.clip.samples.resize(count);
    for (size_t i = 0; i < count; i++)
        out.clip.samples[i] = sampleAt(format, data, i * width);
    return true;
}

bool readClip(const std::string& wavPath, RawClip& out, std::string& reason) {
    const std::string opusPath = wavPath.substr(0, wavPath.size() - 4) + ".opus";
    std::string whyNot;
    if (readOpus(opusPath, out, reason)) return true;
    if (pathIsThere(opusPath)) whyNot = opusPath + ": " + reason;
    const bool good = readWav(wavPath, out, reason);
    if (!good && pathIsThere(wavPath)) {
        if (!whyNot.empty()) whyNot += "; ";
        whyNot += wavPath + ": " + reason;
    }
    reason = whyNot;
    return good;
}

} // namespace vt
