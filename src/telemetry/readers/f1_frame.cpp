#include "telemetry/readers/f1_frame.h"

#include "base/utf8.h"
#include "telemetry/reader_parts.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cstring>
#include <numbers>

namespace vt {

namespace {

constexpr float kErsFull = 4000000; // J
constexpr uint64_t kOffTrackMs = 1000;
constexpr size_t kParticipantsAt = kF1HeaderBytes + 1; // behind the count of cars
constexpr size_t kParticipantMin = 40, kParticipantMax = 128;

struct SessionName {
    uint8_t first, last;
    const char* name;
};
constexpr SessionName kSessions2023[] = {
    {1, 4, "Practice"}, {5, 9, "Qualifying"}, {10, 12, "Race"}, {13, 13, "Time Trial"}};
// From 2024 on the numbers of the races moved up for the sprint shoot-outs, 10 to 14.
constexpr SessionName kSessions2024[] = {
    {1, 4, "Practice"}, {5, 14, "Qualifying"}, {15, 17, "Race"}, {18, 18, "Time Trial"}};

/// The record of one car. False when the packet ends before it does.
template <class T>
bool readCar(ByteView packet, int car, T& out) {
    const size_t at = kF1HeaderBytes + static_cast<size_t>(car) * sizeof(T);
    if (!rangeInside(at, 1, sizeof(T), packet.size())) return false;
    std::memcpy(&out, packet.data() + at, sizeof(T));
    return true;
}

bool applyMotion(F1State& state, ByteView packet) {
    F1MotionCar car;
    if (!readCar(packet, state.playerCarIndex, car)) return false;
    state.gForceLateral = car.gForceLateral;
    state.gForceLongitudinal = car.gForceLongitudinal;
    return true;
}

bool applySession(F1State& state, ByteView packet) {
    if (!readCar(packet, 0, state.session)) return false;
    state.sessionSeen = true;
    return true;
}

F1Applied applyLapData(F1State& state, ByteView packet, int& stride) {
    // Behind the cars stand a few bytes more, so the division leaves a rest.
    stride = static_cast<int>((packet.size() - kF1HeaderBytes) / kF1Cars);
    if (stride != static_cast<int>(sizeof(F1LapCar))) return F1Applied::wrongStride;
    for (int i = 0; i < kF1Cars; ++i)
        readCar(packet, i, state.cars[static_cast<size_t>(i)].lap);
    state.lapDataSeen = true;
    return F1Applied::stored;
}

bool applyParticipants(F1State& state, ByteView packet) {
    if (packet.size() < kParticipantsAt) return false;
    const size_t stride = (packet.size() - kParticipantsAt) / kF1Cars;
    if (stride < kParticipantMin || stride > kParticipantMax) return false;
    for (size_t i = 0; i < kF1Cars; ++i) {
        const ByteView record = packet.subspan(kParticipantsAt + i * stride, stride);
        F1State::Car& car = state.cars[i];
        car.raceNumber = readAt<uint8_t>(record, offsetof(F1ParticipantHead, raceNumber));
        const auto* name = reinterpret_cast<const char*>(record.data()) + sizeof(F1ParticipantHead);
        const size_t room = std::min(kF1NameBytes, stride - sizeof(F1ParticipantHead));
        copyText(car.name, {name, strnlen(name, room)});
    }
    state.participantsSeen = true;
    return true;
}

bool applyTelemetry(F1State& state, ByteView packet) {
    if (!readCar(packet, state.playerCarIndex, state.telemetry)) return false;
    state.telemetrySeen = true;
    return true;
}

bool applyStatus(F1State& state, ByteView packet) {
    if (!readCar(packet, state.playerCarIndex, state.status)) return false;
    state.statusSeen = true;
    return true;
}

void fillDriving(SimFrame& frame, const F1State& state) {
    constexpr float pi = std::numbers::pi_v<float>;
    const F1TelemetryCar& t = state.telemetry;
    frame.throttle = finiteOr(t.throttle, 0);
    frame.brake = finiteOr(t.brake, 0);
    frame.clutch = static_cast<float>(t.clutch) / 100;
    frame.steerAngle = finiteOr(t.steering * pi, 0);
    frame.steerLock = pi;
    frame.gear = t.gear;
    frame.rpm = t.rpm;
    frame.speed = static_cast<float>(t.speed) / 3.6f;
    frame.drsOpen = t.drs != 0;
    frame.waterTemp = t.engineTemperature;
}

void fillStatus(SimFrame& frame, const F1StatusCar& s) {
    frame.maxRpm = s.maxRpm;
    frame.fuelLevel = finiteOr(s.fuelInTank, 0);
    frame.fuelCapacity = finiteOr(s.fuelCapacity, 0);
    frame.ersStore = clamp01(s.ersStore / kErsFull);
    frame.ersDeployed = clamp01(s.ersDeployed / kErsFull);
    frame.ersMode = s.ersMode;
    frame.drsAllowed = s.drsAllowed;
}

float rainOf(uint8_t weather) {
    switch (weather) {
    case 3:
        return 0.4f;
    case 4:
        return 0.7f;
    case 5:
        return 1.0f;
    default:
        return 0;
    }
}

void fillSession(SimFrame& frame, const F1State& state, int32_t playerLap) {
    const F1SessionHead& s = state.session;
    frame.airTemp = s.airTemperature;
    frame.trackTemp = s.trackTemperature;
    frame.precipitation = frame.wetness = rainOf(s.weather);
    frame.trackLength = s.trackLength;
    copyText(frame.sessionName, f1SessionName(state.format, s.sessionType));
    frame.timedSession = s.totalLaps < 1;
    if (frame.timedSession) {
        frame.timeRemain = s.sessionTimeLeft;
        frame.lapsRemain = -1;
    } else {
        frame.lapsRemain = playerLap < 1 ? s.totalLaps : std::max(s.totalLaps - playerLap + 1, 0);
    }
}

float lapSeconds(uint32_t milliseconds) {
    return static_cast<float>(milliseconds) / 1000;
}

void fillRows(SimFrame& frame, const F1State& state) {
    frame.cars.reserve(kF1Cars);
    const float trackLength = state.session.trackLength;
    for (int i = 0; i < kF1Cars; ++i) {
        const F1State::Car& car = state.cars[static_cast<size_t>(i)];
        if (car.lap.resultStatus == 0 || car.lap.position == 0) continue;
        CarRow& row = frame.cars.emplace_back();
        row.carIdx = i;
        std::memcpy(row.driverName, car.name, sizeof row.driverName);
        row.carNumberValue = car.raceNumber;
        row.lap = car.lap.currentLap;
        row.position = row.classPosition = car.lap.position;
        if (trackLength > 0) row.lapDistPct = clamp01(car.lap.lapDistance / trackLength);
        row.lastLapTime = lapSeconds(car.lap.lastLapMs);
        row.onPitRoad = car.lap.pitStatus > 0;
    }
}

} // namespace

bool f1Recognised(ByteView packet) {
    const auto format = readAt<uint16_t>(packet, offsetof(F1Header, packetFormat));
    return packet.size() >= kF1HeaderBytes && format >= kF1FormatMin && format <= kF1FormatMax;
}

F1Applied applyF1Packet(F1State& state, ByteView packet, int& stride) {
    const auto player = readAt<uint8_t>(packet, offsetof(F1Header, playerCarIndex));
    if (!f1Recognised(packet) || player >= kF1Cars) return F1Applied::dropped;
    state.format = readAt<uint16_t>(packet, offsetof(F1Header, packetFormat));
    state.playerCarIndex = player;
    const auto result = [](bool stored) { return stored ? F1Applied::stored : F1Applied::dropped; };
    switch (readAt<uint8_t>(packet, offsetof(F1Header, packetId))) {
    case kF1Motion:
        return result(applyMotion(state, packet));
    case kF1Session:
        return result(applySession(state, packet));
    case kF1LapData:
        return applyLapData(state, packet, stride);
    case kF1Participants:
        return result(applyParticipants(state, packet));
    case kF1CarTelemetry:
        return result(applyTelemetry(state, packet));
    case kF1CarStatus:
        return result(applyStatus(state, packet));
    default:
        return F1Applied::dropped;
    }
}

const char* f1SessionName(uint16_t format, uint8_t sessionType) {
    const auto find = [&](const auto& table) {
        for (const SessionName& entry : table)
            if (sessionType >= entry.first && sessionType <= entry.last) return entry.name;
        return "";
    };
    return format <= 2023 ? find(kSessions2023) : find(kSessions2024);
}

void fillF1Frame(SimFrame& frame, const F1State& state, uint64_t silentMs) {
    frame.simKind = kSimF1;
    frame.connected = 1;
    frame.playerCarIdx = state.playerCarIndex;
    frame.isOnTrack = state.telemetrySeen && silentMs < kOffTrackMs;
    if (state.telemetrySeen) fillDriving(frame, state);
    frame.latAccel = finiteOr(state.gForceLateral * kGravity, 0);
    frame.longAccel = finiteOr(state.gForceLongitudinal * kGravity, 0);
    if (state.statusSeen) fillStatus(frame, state.status);
    const F1LapCar* player = state.lapDataSeen && state.playerCarIndex >= 0
                                 ? &state.cars[static_cast<size_t>(state.playerCarIndex)].lap
                                 : nullptr;
    if (player) {
        frame.lap = player->currentLap;
        frame.lastLapTime = lapSeconds(player->lastLapMs);
        frame.currentLapTime = lapSeconds(player->currentLapMs);
    }
    if (state.sessionSeen) fillSession(frame, state, player ? player->currentLap : 0);
    if (state.lapDataSeen && state.participantsSeen) fillRows(frame, state);
}

} // namespace vt
