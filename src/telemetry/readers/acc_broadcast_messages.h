// The messages of ACC's broadcasting port, protocol 4: little-endian, unaligned, strings as a u16
// length and UTF-8 bytes. Pure.
#pragma once
#include "base/bytes.h"
#include "telemetry/readers/acc_snapshot.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vt {

inline constexpr uint8_t kAccProtocolVersion = 4;
inline constexpr char kAccDisplayName[] = "Vantorel";
inline constexpr int32_t kAccUpdateIntervalMs = 100;
inline constexpr int32_t kAccNoLapMs = 0x7FFFFFFF;

enum AccSent : uint8_t {
    kAccRegister = 1,
    kAccUnregister = 9,
    kAccEntryListRequest = 10,
    kAccTrackDataRequest = 11,
};
enum AccReceived : uint8_t {
    kAccRegistrationResult = 1,
    kAccRealtimeUpdate = 2,
    kAccRealtimeCarUpdate = 3,
    kAccEntryList = 4,
    kAccTrackData = 5,
    kAccEntryListCar = 6,
    kAccBroadcastingEvent = 7,
};

/// A message on its way out. What does not fit is an empty message.
struct AccMessage {
    uint8_t bytes[512];
    size_t size = 0;
};
AccMessage accRegisterMessage(std::string_view connectionPassword,
                              std::string_view commandPassword);
/// One of the three messages that hold nothing but the connection's id.
AccMessage accPlainMessage(AccSent type, int32_t connectionId);

/// Reads a message from its front. Once something did not lie inside, all further reads give
/// nothing and `ok` stays false.
struct AccCursor {
    ByteView bytes;
    size_t at = 0;
    bool ok = true;

    template <class T>
    T take() {
        if (!ok || !rangeInside(at, 1, sizeof(T), bytes.size())) {
            ok = false;
            return T{};
        }
        const T value = readAt<T>(bytes, at);
        at += sizeof(T);
        return value;
    }
    void skip(size_t count);
    std::string_view text();
    /// A lap's time in ms, -1 for none; its splits and flags are passed over.
    int32_t lapMs();
};

// One function per message: false, and `out` half filled, when the message is too short. `bytes`
// are without the type.

struct AccRegistration {
    int32_t connectionId = -1;
    uint8_t success = 0;
    uint8_t readOnly = 0;
    std::string_view error;
};
bool accParseRegistration(ByteView bytes, AccRegistration& out);

struct AccRealtime {
    int32_t eventIndex = -1, sessionIndex = -1, sessionType = -1, sessionPhase = -1;
    float sessionTime = 0, sessionEndTime = 0;
    int32_t focusedCar = kAccNoCar;
    uint8_t replay = 0;
    float timeOfDay = 0;
    int32_t ambientTemp = 0, trackTemp = 0, clouds = 0, rain = 0, wetness = 0;
    int32_t bestLapMs = -1;
};
bool accParseRealtime(ByteView bytes, AccRealtime& out);

/// Fills the fields of the car updates and `carIndex`.
bool accParseCarUpdate(ByteView bytes, AccCar& out);

struct AccEntryIndices {
    int32_t carIndex[kAccMaxCars];
    int32_t count = 0; // without repetitions, and no more than there is room for
};
bool accParseEntryList(ByteView bytes, AccEntryIndices& out);

struct AccTrack {
    std::string_view name;
    int32_t id = 0;
    int32_t meters = 0;
};
bool accParseTrack(ByteView bytes, AccTrack& out);

/// Fills the fields of the entry list and `carIndex`.
bool accParseEntryCar(ByteView bytes, AccCar& out);

} // namespace vt
