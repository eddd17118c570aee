// Trace files of other drivers: the bytes as they are, and once more behind a header that is right.
// What is read can be written, and reads the same again.
#include "perf/trace_codec.h"
#include "perf/trace_layout.h"

#include <cstdlib>
#include <cstring>
#include <utility>

using namespace vt;

static void look(const std::string& bytes) {
    TraceFile trace;
    if (!traceDecode({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, trace)) {
        if (!trace.laps.empty()) abort();
        return;
    }
    for (const LapTrace& lap : trace.laps)
        if (lap.speed.size() != trace.binCount || lap.have.size() != trace.binCount) abort();
    for (const bool compress : {false, true}) {
        // Positions at their limits take a second turn to settle.
        std::string written = traceEncode(trace, compress), before;
        for (int turn = 0; turn < 3; ++turn) {
            TraceFile again;
            if (!traceDecode({reinterpret_cast<const uint8_t*>(written.data()), written.size()},
                             again))
                abort();
            before = std::exchange(written, traceEncode(again, compress));
        }
        if (written != before) abort();
    }
    std::string patched = bytes;
    if (!tracePatchTimes(patched, std::vector<float>(trace.laps.size(), 90))) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    look(bytes);
    if (size < sizeof(TraceHeader)) return 0;
    TraceHeader header;
    std::memcpy(&header, data, sizeof header);
    std::memcpy(header.magic, "VTTR", 4);
    header.version = static_cast<uint16_t>(header.version % 6 + 1);
    header.binCount = static_cast<uint16_t>(header.binCount % 300 + 1);
    header.lapCount = static_cast<uint16_t>(header.lapCount % 3 + 1);
    header.channelMask = static_cast<uint16_t>(traceChannelMask(header.version));
    header.payloadSize = header.lapCount * traceLapBytes(header.channelMask, header.binCount);
    header.dynamicsMask &= 7;
    header.latVelocitySource = static_cast<uint8_t>(header.latVelocitySource % 3);
    std::memcpy(bytes.data(), &header, traceHeaderBytes(header.version));
    look(bytes);
    return 0;
}
