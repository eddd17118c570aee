#include "telemetry/readers/acc_broadcast_messages.h"

#include "base/utf8.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

template <class T>
void put(AccMessage& message, T value) {
    std::memcpy(message.bytes + message.size, &value, sizeof value);
    message.size += sizeof value;
}

void putText(AccMessage& message, std::string_view text) {
    put(message, static_cast<uint16_t>(text.size()));
    std::memcpy(message.bytes + message.size, text.data(), text.size());
    message.size += text.size();
}

float takeFloat(AccCursor& from) {
    const auto value = from.take<float>();
    return std::isfinite(value) ? value : 0;
}

struct DriverNames {
    std::string_view first, last, shortName;
};
DriverNames takeDriver(AccCursor& from) {
    DriverNames names;
    names.first = from.text();
    names.last = from.text();
    names.shortName = from.text();
    from.skip(sizeof(uint8_t) + sizeof(uint16_t)); // category, nationality
    return names;
}

} // namespace

AccMessage accRegisterMessage(std::string_view connectionPassword,
                              std::string_view commandPassword) {
    AccMessage message;
    constexpr size_t fixed = 2 + sizeof(int32_t) + 3 * sizeof(uint16_t) + sizeof kAccDisplayName;
    if (fixed + connectionPassword.size() + commandPassword.size() > sizeof message.bytes)
        return message;
    put(message, static_cast<uint8_t>(kAccRegister));
    put(message, kAccProtocolVersion);
    putText(message, kAccDisplayName);
    putText(message, connectionPassword);
    put(message, kAccUpdateIntervalMs);
    putText(message, commandPassword);
    return message;
}

AccMessage accPlainMessage(AccSent type, int32_t connectionId) {
    AccMessage message;
    put(message, static_cast<uint8_t>(type));
    put(message, connectionId);
    return message;
}

void AccCursor::skip(size_t count) {
    ok = ok && rangeInside(at, 1, count, bytes.size());
    if (ok) at += count;
}

std::string_view AccCursor::text() {
    const size_t length = take<uint16_t>();
    const size_t start = at;
    skip(length);
    if (!ok || length == 0) return {};
    return {reinterpret_cast<const char*>(bytes.data()) + start, length};
}

int32_t AccCursor::lapMs() {
    const auto ms = take<int32_t>();
    skip(2 * sizeof(uint16_t)); // car, driver
    skip(take<uint8_t>() * sizeof(int32_t));
    skip(4); // invalid, valid for best, out lap, in lap
    return ms == kAccNoLapMs || ms < 0 ? -1 : ms;
}

bool accParseRegistration(ByteView bytes, AccRegistration& out) {
    AccCursor from{bytes};
    out.connectionId = from.take<int32_t>();
    out.success = from.take<uint8_t>();
    out.readOnly = from.take<uint8_t>();
    out.error = from.text();
    return from.ok;
}

bool accParseRealtime(ByteView bytes, AccRealtime& out) {
    AccCursor from{bytes};
    out.eventIndex = from.take<uint16_t>();
    out.sessionIndex = from.take<uint16_t>();
    out.sessionType = from.take<uint8_t>();
    out.sessionPhase = from.take<uint8_t>();
    out.sessionTime = takeFloat(from);
    out.sessionEndTime = takeFloat(from);
    out.focusedCar = from.take<int32_t>();
    for (int i = 0; i < 3; ++i)
        from.text(); // camera set, camera, page of the head-up display
    out.replay = from.take<uint8_t>();
    if (out.replay) from.skip(2 * sizeof(float)); // replay's session time and time left
    out.timeOfDay = takeFloat(from);
    out.ambientTemp = from.take<uint8_t>();
    out.trackTemp = from.take<uint8_t>();
    out.clouds = from.take<uint8_t>();
    out.rain = from.take<uint8_t>();
    out.wetness = from.take<uint8_t>();
    out.bestLapMs = from.lapMs();
    return from.ok;
}

bool accParseCarUpdate(ByteView bytes, AccCar& out) {
    AccCursor from{bytes};
    out.carIndex = from.take<uint16_t>();
    out.driverIndex = from.take<uint16_t>();
    out.driverCount = from.take<uint8_t>();
    out.gear = from.take<uint8_t>();
    out.worldX = takeFloat(from);
    out.worldY = takeFloat(from);
    out.yaw = takeFloat(from);
    out.location = from.take<uint8_t>();
    out.kmh = from.take<uint16_t>();
    out.position = from.take<uint16_t>();
    out.cupPosition = from.take<uint16_t>();
    out.trackPosition = from.take<uint16_t>();
    out.splinePosition = takeFloat(from);
    out.laps = from.take<uint16_t>();
    out.deltaMs = from.take<int32_t>();
    out.bestLapMs = from.lapMs();
    out.lastLapMs = from.lapMs();
    out.currentLapMs = from.lapMs();
    return from.ok;
}

bool accParseEntryList(ByteView bytes, AccEntryIndices& out) {
    AccCursor from{bytes};
    from.take<int32_t>(); // connection
    const int count = from.take<uint16_t>();
    if (!rangeInside(from.at, static_cast<uint64_t>(count), sizeof(uint16_t), bytes.size()))
        return false;
    out.count = 0;
    for (int i = 0; i < count && out.count < kAccMaxCars; ++i) {
        const int32_t index = from.take<uint16_t>();
        const int32_t* end = out.carIndex + out.count;
        if (std::find(out.carIndex, out.carIndex + out.count, index) == end)
            out.carIndex[out.count++] = index;
    }
    return from.ok;
}

bool accParseTrack(ByteView bytes, AccTrack& out) {
    AccCursor from{bytes};
    from.take<int32_t>(); // connection
    out.name = from.text();
    out.id = from.take<int32_t>();
    out.meters = from.take<int32_t>();
    return from.ok;
}

bool accParseEntryCar(ByteView bytes, AccCar& out) {
    AccCursor from{bytes};
    out.carIndex = from.take<uint16_t>();
    out.carModel = from.take<uint8_t>();
    from.text(); // team
    out.raceNumber = from.take<int32_t>();
    out.cupCategory = from.take<uint8_t>();
    out.currentDriver = from.take<uint8_t>();
    from.skip(sizeof(uint16_t)); // nationality
    const int drivers = from.take<uint8_t>();
    DriverNames current;
    for (int i = 0; i < drivers && from.ok; ++i) {
        const DriverNames names = takeDriver(from);
        if (i == out.currentDriver) current = names;
    }
    if (!from.ok) return false;
    copyText(out.firstName, current.first);
    copyText(out.surname, current.last);
    copyText(out.shortName, current.shortName);
    return true;
}

} // namespace vt
