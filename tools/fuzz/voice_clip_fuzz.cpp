// Recordings come from users' packs: what is read stays within its bounds, and converts within
// them.
#include "voice/clip.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

using namespace vt;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int fd = memfd_create("clip", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(fd);
    if (fd < 0 || ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size))
        return 0;
    RawClip raw;
    std::string reason;
    for (const bool opus : {false, true}) {
        const bool good = opus ? readOpus(path, raw, reason) : readWav(path, raw, reason);
        if (good == raw.clip.empty() || good == !reason.empty()) abort();
        if (!good) continue;
        if (raw.clip.samples.size() > kMaxClipSamples) abort();
        if (raw.clip.samples.size() % raw.clip.channels != 0) abort();
        for (const float x : raw.clip.samples)
            if (!(std::fabs(x) <= 8.0f)) abort();
        for (const uint32_t rate : {44100u, 48000u})
            convertClip(raw, rate, 2);
    }
    return 0;
}
