#include "platform/file.h"
#include "voice/clip.h"

#include <algorithm>
#include <memory>
#include <opusfile.h>

namespace vt {
namespace {

constexpr int kBlockSamples = 11'520; // 120 ms of stereo: the longest packet

struct OpusFree {
    void operator()(OggOpusFile* file) const { op_free(file); }
};

const char* decode(OggOpusFile* file, std::vector<float>& samples, int channels) {
    const ogg_int64_t frames = op_pcm_total(file, -1);
    if (frames > 0) {
        const auto told = static_cast<uint64_t>(frames) * static_cast<uint64_t>(channels);
        if (told > kMaxClipSamples) return "longer than 11520000 samples";
    }
    float block[kBlockSamples];
    for (;;) {
        int link = 0;
        const int read = op_read_float(file, block, kBlockSamples, &link);
        if (read == 0) return samples.empty() ? "no samples" : nullptr;
        if (read == OP_HOLE) continue; // a lost page; the rest can be heard
        if (read < 0) return "damaged";
        if (op_channel_count(file, link) != channels) return "its number of channels changes";
        const size_t count = static_cast<size_t>(read) * static_cast<size_t>(channels);
        if (samples.size() + count > kMaxClipSamples) return "longer than 11520000 samples";
        samples.insert(samples.end(), block, block + count);
    }
}

} // namespace

bool readOpus(const std::string& path, RawClip& out, std::string& reason) {
    std::string bytes;
    if (readFile(path, bytes)) return decodeOpus(bytes, out, reason);
    out = {};
    reason = "not a file that can be read, or above 64 MiB";
    return false;
}

bool decodeOpus(std::string_view bytes, RawClip& out, std::string& reason) {
    out = {};
    reason.clear();
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::unique_ptr<OggOpusFile, OpusFree> file(op_open_memory(data, bytes.size(), nullptr));
    if (!file) {
        reason = "no Ogg Opus file";
        return false;
    }
    const int channels = op_channel_count(file.get(), -1);
    const char* why = channels == 1 || channels == 2
                          ? decode(file.get(), out.clip.samples, channels)
                          : "1 or 2 channels expected";
    if (why) {
        out = {};
        reason = why;
        return false;
    }
    for (float& x : out.clip.samples)
        if (!(x >= -8.0f && x <= 8.0f)) x = x != x ? 0.0f : std::clamp(x, -1.0f, 1.0f);
    out.clip.channels = static_cast<uint32_t>(channels);
    out.rate = 48000;
    return true;
}

} // namespace vt
