#include "perf/trace_codec.h"

#include "perf/trace_channels.h"
#include "perf/trace_events.h"
#include "perf/trace_layout.h"
#include "perf/xpress_huffman.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vt {

namespace {

struct Version {
    uint32_t headerBytes, lapEntryBytes, channelMask;
};
constexpr Version kVersions[] = {
    {},
    {20, 12, 0x01FF},
    {36, 12, 0x07FF},
    {36, 12, 0x0FFF},
    {40, 12, 0x0FFF},
    {44, 12, 0x0FFF},
    {60, 20, 0x7FFF},
};
static_assert(std::size(kVersions) == kTraceVersion + 1);

Version layoutOf(int version) {
    return version >= 1 && version <= kTraceVersion ? kVersions[version] : Version{};
}

uint32_t bitmapBytes(uint32_t bins) {
    return (bins + 7) / 8;
}

bool originUsable(double lat, double lon) {
    return std::isfinite(lat) && std::isfinite(lon) && (lat != 0 || lon != 0);
}

float finiteOrUnknown(float value) {
    return std::isfinite(value) ? value : kUnknown;
}

// ---- writing

void encodeLap(const LapTrace& lap, uint32_t bins, uint8_t* out) {
    for (const TraceChannel& channel : kTraceChannelTable) {
        channel.encode(lap, bins, out);
        out += channel.width * bins;
    }
    if (lap.have.size() != bins) return; // the bitmap is zero already
    for (uint32_t i = 0; i < bins; ++i)
        if (lap.have[i]) out[i / 8] = static_cast<uint8_t>(out[i / 8] | 1u << i % 8);
}

bool lapHasLateral(const LapTrace& lap, uint32_t bins) {
    return lap.hasLateral && lap.lateral.size() == bins;
}

uint16_t lapFlags(const LapTrace& lap, uint32_t bins) {
    unsigned flags = 0;
    if (lap.valid) flags |= kTraceLapValid;
    if (lapHasLateral(lap, bins)) flags |= kTraceLapLateral;
    if (lap.invalidSim) flags |= kTraceLapInvalidSim;
    if (lap.invalidIncident) flags |= kTraceLapInvalidIncident;
    return static_cast<uint16_t>(flags);
}

template <class T>
void append(std::string& out, const T& value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

TraceHeader headerOf(const TraceFile& trace) {
    TraceHeader header{};
    std::memcpy(header.magic, "VTTR", 4);
    header.version = kTraceVersion;
    header.flags = trace.hasLateral ? kTraceLateral : 0;
    header.binCount = static_cast<uint16_t>(trace.binCount);
    header.channelMask = static_cast<uint16_t>(layoutOf(kTraceVersion).channelMask);
    header.lapCount = static_cast<uint16_t>(trace.laps.size());
    if (originUsable(trace.originLat, trace.originLon)) {
        header.originLat = trace.originLat;
        header.originLon = trace.originLon;
    }
    header.lateralCalVersion = trace.lateralCalVersion;
    header.dynamicsMask = trace.dynamicsMask & 7;
    header.latVelocitySource = std::min<uint8_t>(trace.latVelocitySource, 2);
    header.airTempAvg = trace.airTempAvg;
    header.trackTempAvg = trace.trackTempAvg;
    header.wetnessMax = trace.wetnessMax;
    return header;
}

// ---- reading

/// What all versions have in common, as far as the version has it.
struct Head {
    TraceHeader fields{};
    Version layout;
    uint32_t lapBytes = 0;
};

bool readHead(ByteView bytes, Head& head) {
    if (bytes.size() < kVersions[1].headerBytes || bytes.size() > kMaxTraceFileBytes) return false;
    TraceHeader& fields = head.fields;
    std::memcpy(&fields, bytes.data(), kVersions[1].headerBytes);
    head.layout = layoutOf(fields.version);
    if (std::memcmp(fields.magic, "VTTR", 4) != 0 || head.layout.headerBytes == 0 ||
        bytes.size() < head.layout.headerBytes)
        return false;
    fields.airTempAvg = fields.trackTempAvg = fields.wetnessMax = kUnknown;
    std::memcpy(&fields, bytes.data(), head.layout.headerBytes);
    if (fields.binCount < 1 || fields.binCount > kMaxTraceBins ||
        fields.channelMask != head.layout.channelMask || fields.lapCount < 1 ||
        fields.lapCount > kMaxTraceLaps || fields.dynamicsMask > 7 || fields.latVelocitySource > 2)
        return false;
    head.lapBytes = traceLapBytes(fields.channelMask, fields.binCount);
    return fields.payloadSize == uint64_t{fields.lapCount} * head.lapBytes &&
           rangeInside(head.layout.headerBytes, fields.lapCount, head.layout.lapEntryBytes,
                       bytes.size());
}

TraceLapEntry readEntry(ByteView bytes, const Head& head, uint32_t lap) {
    TraceLapEntry entry{0, 0, 0, 0, kUnknown, kUnknown};
    std::memcpy(&entry, bytes.data() + head.layout.headerBytes + lap * head.layout.lapEntryBytes,
                head.layout.lapEntryBytes);
    return entry;
}

/// The payload and how many of `rest`'s bytes it takes up.
bool readPayload(ByteView rest, const TraceHeader& fields, std::vector<uint8_t>& unpacked,
                 ByteView& payload, size_t& used) {
    if (!(fields.flags & kTraceCompressed)) {
        if (rest.size() < fields.payloadSize) return false;
        used = fields.payloadSize;
        payload = rest.first(used);
        return true;
    }
    if (rest.size() < xpressLeastBytes(fields.payloadSize)) return false;
    unpacked.resize(fields.payloadSize);
    payload = unpacked;
    return xpressDecompress(rest, unpacked, used);
}

bool anyPosition(const LapTrace& lap) {
    for (size_t i = 0; i < lap.have.size(); ++i)
        if (lap.have[i] && (lap.x[i] != 0 || lap.y[i] != 0)) return true;
    return false;
}

LapTrace readLap(const uint8_t* in, const Head& head, const TraceLapEntry& entry) {
    const TraceHeader& fields = head.fields;
    const bool position = originUsable(fields.originLat, fields.originLon);
    LapTrace lap;
    lap.lapTime = std::isfinite(entry.lapTime) ? entry.lapTime : 0;
    lap.valid = entry.flags & kTraceLapValid;
    lap.hasLateral =
        (entry.flags & kTraceLapLateral) && (fields.channelMask >> kChannelLateral & 1);
    if (fields.version >= 5) {
        lap.invalidSim = entry.flags & kTraceLapInvalidSim;
        lap.invalidIncident = entry.flags & kTraceLapInvalidIncident;
    }
    lap.brakeBias = finiteOrUnknown(entry.brakeBias);
    lap.fuelStart = finiteOrUnknown(entry.fuelStart);
    for (int bit = 0; bit < kTraceChannels; ++bit) {
        if (!(fields.channelMask >> bit & 1)) continue;
        const TraceChannel& channel = kTraceChannelTable[bit];
        bool keep = true;
        if (bit == kChannelX || bit == kChannelY) keep = position;
        if (bit == kChannelLateral) keep = lap.hasLateral;
        if (bit >= kChannelYawRate) keep = fields.dynamicsMask >> (bit - kChannelYawRate) & 1;
        if (keep) channel.decode(in, fields.binCount, lap);
        in += channel.width * fields.binCount;
    }
    lap.have.resize(fields.binCount);
    for (uint32_t i = 0; i < fields.binCount; ++i)
        lap.have[i] = in[i / 8] >> i % 8 & 1;
    if (!lap.x.empty() && !anyPosition(lap)) {
        lap.x = {};
        lap.y = {};
    }
    return lap;
}

bool decode(ByteView bytes, TraceFile& out) {
    Head head;
    if (!readHead(bytes, head)) return false;
    const TraceHeader& fields = head.fields;
    const ByteView rest =
        bytes.subspan(head.layout.headerBytes + fields.lapCount * head.layout.lapEntryBytes);
    for (uint32_t lap = 0; lap < fields.lapCount; ++lap)
        if (!rangeInside(readEntry(bytes, head, lap).payloadOffset, 1, head.lapBytes,
                         fields.payloadSize))
            return false;
    std::vector<uint8_t> unpacked;
    ByteView payload;
    size_t used = 0;
    if (!readPayload(rest, fields, unpacked, payload, used)) return false;

    out.binCount = fields.binCount;
    if (originUsable(fields.originLat, fields.originLon)) {
        out.originLat = fields.originLat;
        out.originLon = fields.originLon;
    }
    out.hasLateral = fields.version >= 3 && (fields.flags & kTraceLateral);
    out.lateralCalVersion = fields.lateralCalVersion;
    out.dynamicsMask = fields.dynamicsMask;
    out.latVelocitySource = fields.latVelocitySource;
    out.airTempAvg = finiteOrUnknown(fields.airTempAvg);
    out.trackTempAvg = finiteOrUnknown(fields.trackTempAvg);
    out.wetnessMax = finiteOrUnknown(fields.wetnessMax);
    out.laps.reserve(fields.lapCount);
    for (uint32_t lap = 0; lap < fields.lapCount; ++lap) {
        const TraceLapEntry entry = readEntry(bytes, head, lap);
        out.laps.push_back(readLap(payload.data() + entry.payloadOffset, head, entry));
    }
    const ByteView events = rest.subspan(used);
    out.hasEvents =
        events.size() == fields.eventBlockSize && eventsDecode(events, fields.binCount, out.events);
    return true;
}

} // namespace

uint32_t traceHeaderBytes(int version) {
    return layoutOf(version).headerBytes;
}
uint32_t traceLapEntryBytes(int version) {
    return layoutOf(version).lapEntryBytes;
}
uint32_t traceChannelMask(int version) {
    return layoutOf(version).channelMask;
}

uint32_t traceLapBytes(uint32_t channelMask, uint32_t binCount) {
    uint32_t bytes = bitmapBytes(binCount);
    for (int bit = 0; bit < kTraceChannels; ++bit)
        if (channelMask >> bit & 1) bytes += kTraceChannelTable[bit].width * binCount;
    return bytes;
}

std::string traceEncode(const TraceFile& trace, bool compress) {
    if (trace.binCount < 1 || trace.binCount > kMaxTraceBins || trace.laps.empty() ||
        trace.laps.size() > kMaxTraceLaps)
        return {};
    TraceHeader header = headerOf(trace);
    const uint32_t lapBytes = traceLapBytes(header.channelMask, trace.binCount);
    std::vector<uint8_t> payload(lapBytes * trace.laps.size());
    std::string table;
    for (uint32_t i = 0; i < trace.laps.size(); ++i) {
        const LapTrace& lap = trace.laps[i];
        encodeLap(lap, trace.binCount, payload.data() + size_t{i} * lapBytes);
        append(table, TraceLapEntry{i * lapBytes, lap.lapTime, lapFlags(lap, trace.binCount), 0,
                                    lap.brakeBias, lap.fuelStart});
    }
    header.payloadSize = static_cast<uint32_t>(payload.size());

    std::string out;
    out.reserve(sizeof header + table.size() + payload.size() / (compress ? 2 : 1) + 1024);
    out.resize(sizeof header);
    out += table;
    if (compress) xpressCompress(payload, out);
    const size_t before = sizeof header + table.size();
    if (compress && out.size() - before < payload.size()) {
        header.flags |= kTraceCompressed;
    } else {
        out.resize(before);
        out.append(reinterpret_cast<const char*>(payload.data()), payload.size());
    }
    if (trace.hasEvents && trace.events.binCount == trace.binCount)
        header.eventBlockSize = eventsEncode(trace.events, out);
    std::memcpy(out.data(), &header, sizeof header);
    return out;
}

bool traceDecode(ByteView bytes, TraceFile& out) {
    out = {};
    if (decode(bytes, out)) return true;
    out = {};
    return false;
}

bool tracePatchTimes(std::string& bytes, const std::vector<float>& times) {
    Head head;
    if (!readHead({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, head) ||
        head.fields.lapCount != times.size())
        return false;
    for (size_t i = 0; i < times.size(); ++i)
        std::memcpy(bytes.data() + head.layout.headerBytes + i * head.layout.lapEntryBytes +
                        offsetof(TraceLapEntry, lapTime),
                    &times[i], sizeof(float));
    return true;
}

} // namespace vt
