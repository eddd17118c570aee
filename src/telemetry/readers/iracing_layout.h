// iRacing's shared memory as it lies on the wire: one header, a table of variables, up to four
// sample buffers and the session text, all little-endian. A telemetry file begins with the same
// header and table.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr char kIrMapName[] = "Local\\IRSDKMemMapFileName";
inline constexpr char kIrEventName[] = "Local\\IRSDKDataValidEvent";

inline constexpr int32_t kIrStatusConnected = 1; // bit of IrHeader::status
inline constexpr int32_t kIrMaxBuffers = 4;
inline constexpr int32_t kIrMaxVars = 100000; // more than any car has: the table is damaged
inline constexpr int32_t kIrMaxCars = 64;
inline constexpr int32_t kIrMaxSessions = 64;

#pragma pack(push, 1)

struct IrVarBuf {
    int32_t tickCount = 0; // rises with every sample written
    int32_t bufOffset = 0;
    int32_t padding[2] = {};
};

struct IrHeader {
    int32_t ver = 0;
    int32_t status = 0;
    int32_t tickRate = 0;
    int32_t sessionInfoUpdate = 0; // changes when the session text changes
    int32_t sessionInfoLen = 0;
    int32_t sessionInfoOffset = 0;
    int32_t numVars = 0;
    int32_t varHeaderOffset = 0;
    int32_t numBuf = 0;
    int32_t bufLen = 0; // bytes of one sample
    int32_t padding[2] = {};
    IrVarBuf varBuf[kIrMaxBuffers];
};

/// Behind the header of a telemetry file.
struct IrDiskHeader {
    int64_t sessionStartDate = 0; // s since 1970
    double sessionStartTime = 0;  // SessionTime of the first record
    double sessionEndTime = 0;    // and of the last one
    int32_t sessionLapCount = 0;  // laps begun in the file
    int32_t sessionRecordCount = 0;
};

struct IrVarHeader {
    int32_t type = 0;   // IrVarType
    int32_t offset = 0; // inside a sample
    int32_t count = 0;  // elements
    int32_t padding = 0;
    char name[32] = {};        // not always terminated
    char description[96] = {}; // texts for people; not read
};

#pragma pack(pop)

static_assert(sizeof(IrVarBuf) == 16);
static_assert(sizeof(IrHeader) == 112);
static_assert(offsetof(IrHeader, status) == 4);
static_assert(offsetof(IrHeader, sessionInfoUpdate) == 12);
static_assert(offsetof(IrHeader, numVars) == 24);
static_assert(offsetof(IrHeader, bufLen) == 36);
static_assert(offsetof(IrHeader, varBuf) == 48);
static_assert(sizeof(IrDiskHeader) == 32);
static_assert(offsetof(IrDiskHeader, sessionLapCount) == 24);
static_assert(sizeof(IrVarHeader) == 144);
static_assert(offsetof(IrVarHeader, name) == 16);

enum IrVarType : int32_t {
    kIrChar = 0,
    kIrBool = 1,
    kIrInt = 2,
    kIrBits = 3,
    kIrFloat = 4,
    kIrDouble = 5,
};

/// Bytes of one element; 0 for a type that does not exist.
constexpr int32_t irElementSize(int32_t type) {
    constexpr int32_t sizes[] = {1, 1, 4, 4, 4, 8};
    return type < 0 || type > kIrDouble ? 0 : sizes[type];
}

/// Bits of the variable `SessionFlags`.
enum IrFlag : uint32_t {
    kIrFlagCheckered = 0x1,
    kIrFlagWhite = 0x2,
    kIrFlagGreen = 0x4,
    kIrFlagYellow = 0x8,
    kIrFlagRed = 0x10,
    kIrFlagBlue = 0x20,
    kIrFlagYellowWaving = 0x100,
    kIrFlagOneLapToGreen = 0x200,
    kIrFlagCaution = 0x4000,
    kIrFlagCautionWaving = 0x8000,
    kIrFlagBlack = 0x10000,
    kIrFlagDisqualify = 0x20000,
    kIrFlagFurled = 0x80000,
    kIrFlagRepair = 0x100000,
    kIrAnyYellow = kIrFlagYellow | kIrFlagYellowWaving | kIrFlagCaution | kIrFlagCautionWaving,
};
static_assert(kIrAnyYellow == 0xC108);

} // namespace vt
