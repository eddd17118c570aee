// The packed parts of a `.vttr` file; trace_codec.h tells the whole.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

#pragma pack(push, 1)

/// Version 6. Earlier versions end before the fields that they do not have.
struct TraceHeader {
    char magic[4];
    uint16_t version;
    uint16_t flags;
    uint32_t payloadSize;
    uint16_t binCount;
    uint16_t channelMask;
    uint16_t lapCount;
    uint16_t reserved;
    double originLat; // version 2
    double originLon;
    uint32_t lateralCalVersion; // version 4
    uint32_t eventBlockSize;    // version 5
    uint16_t dynamicsMask;      // version 6
    uint8_t latVelocitySource;
    uint8_t reserved2;
    float airTempAvg;
    float trackTempAvg;
    float wetnessMax;
};
static_assert(sizeof(TraceHeader) == 60);
static_assert(offsetof(TraceHeader, originLat) == 20);
static_assert(offsetof(TraceHeader, lateralCalVersion) == 36);
static_assert(offsetof(TraceHeader, eventBlockSize) == 40);
static_assert(offsetof(TraceHeader, dynamicsMask) == 44);
static_assert(offsetof(TraceHeader, latVelocitySource) == 46);
static_assert(offsetof(TraceHeader, wetnessMax) == 56);

struct TraceLapEntry {
    uint32_t payloadOffset;
    float lapTime;
    uint16_t flags;
    uint16_t reserved;
    float brakeBias; // version 6
    float fuelStart;
};
static_assert(sizeof(TraceLapEntry) == 20);
static_assert(offsetof(TraceLapEntry, lapTime) == 4);
static_assert(offsetof(TraceLapEntry, brakeBias) == 12);

struct TraceEventHead {
    uint16_t version;
    uint16_t reserved;
    uint32_t binCount;
    uint16_t kerbL, kerbR, offEnter, offExit, furl; // items in the lists
    uint16_t reserved2;
    int32_t approachEnter, approachExit, conesEnter, conesExit;
};
static_assert(sizeof(TraceEventHead) == 36);
static_assert(offsetof(TraceEventHead, approachEnter) == 20);

struct TraceEventItem {
    uint16_t bin, count;
};
struct TraceOffItem {
    uint16_t bin, count, lateralCount;
    int16_t meanLateral; // m x 100
};
static_assert(sizeof(TraceEventItem) == 4 && sizeof(TraceOffItem) == 8);

#pragma pack(pop)

inline constexpr int kTraceVersion = 6;
inline constexpr uint16_t kTraceCompressed = 1, kTraceLateral = 2; // header flags
inline constexpr uint16_t kTraceLapValid = 1, kTraceLapLateral = 2, kTraceLapInvalidSim = 4,
                          kTraceLapInvalidIncident = 8;

} // namespace vt
