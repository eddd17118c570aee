#include "telemetry/readers/acc_broadcast_state.h"

#include "base/utf8.h"
#include "telemetry/coach_log.h"

#include <algorithm>

namespace vt {

namespace {

constexpr uint64_t kRegisterEveryMs = 2000;
constexpr uint64_t kRequestEveryMs = 5000;
constexpr uint64_t kSilenceMs = 3000;
// A wanted entry list is asked for at once, but a storm of unknown cars is no storm of requests.
constexpr uint64_t kRequestPauseMs = 250;
constexpr uint64_t kLogPauseMs = 1000;

bool due(uint64_t last, uint64_t now, uint64_t every) {
    return last == 0 || now - last >= every;
}

/// What happens seldom is told; a port that is shouted at tells no more than that.
bool mayLog(AccBroadcastState& state, uint64_t nowMs) {
    if (!due(state.logMs, nowMs, kLogPauseMs)) return false;
    state.logMs = nowMs;
    return true;
}

void publish(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out) {
    state.working.publishedMs = nowMs;
    out.publish(state.working);
}

void sendRegister(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out) {
    state.registerMs = nowMs;
    state.unanswered = std::min(state.unanswered + 1, 1000);
    out.send(accRegisterMessage(state.config.connectionPassword, state.config.commandPassword));
}

void sendEntryListRequest(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out) {
    state.wantEntryList = false;
    state.entryListMs = nowMs;
    if (state.working.connectionId >= 0)
        out.send(accPlainMessage(kAccEntryListRequest, state.working.connectionId));
}

void sendTrackDataRequest(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out) {
    state.trackDataMs = nowMs;
    if (state.working.connectionId >= 0)
        out.send(accPlainMessage(kAccTrackDataRequest, state.working.connectionId));
}

void forgetTrack(AccSnapshot& working) {
    working.trackKnown = 0;
    working.trackName[0] = '\0';
    working.trackId = 0;
    working.trackMeters = 0;
}

void loseSim(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out) {
    AccSnapshot& working = state.working;
    working.registered = 0;
    working.connectionId = -1;
    working.haveRealtime = 0;
    working.carCount = 0;
    working.trackKnown = 0;
    working.state = kAccTimedOut;
    if (mayLog(state, nowMs))
        coachLog("acc broadcast: silent for %d s", static_cast<int>(kSilenceMs / 1000));
    publish(state, nowMs, out);
}

AccCar* findOrAdd(AccSnapshot& working, int32_t carIndex, bool& added) {
    added = false;
    for (int32_t i = 0; i < working.carCount; ++i)
        if (working.cars[i].carIndex == carIndex) return &working.cars[i];
    if (working.carCount >= kAccMaxCars) return nullptr;
    added = true;
    AccCar& car = working.cars[working.carCount++];
    car = {};
    car.carIndex = carIndex;
    return &car;
}

void takeRegistration(AccBroadcastState& state, ByteView bytes, uint64_t nowMs,
                      const AccBroadcastOut& out) {
    AccRegistration result;
    if (state.unanswered == 0 || !accParseRegistration(bytes, result)) return;
    state.unanswered -= 1;
    AccSnapshot& working = state.working;
    const int32_t before = working.state;
    copyText(working.error, result.error);
    if (result.success > 0) {
        working.connectionId = result.connectionId;
        working.registered = 1;
        working.state = kAccRegistered;
        state.wantEntryList = true;
        state.wantTrackData = true;
        sendEntryListRequest(state, nowMs, out);
        sendTrackDataRequest(state, nowMs, out);
        if (before != kAccRegistered && mayLog(state, nowMs))
            coachLog("acc broadcast: registered on port %d", state.config.port);
    } else {
        working.connectionId = -1;
        working.registered = 0;
        working.state = kAccRejected;
        if (before != kAccRejected && mayLog(state, nowMs))
            coachLog("acc broadcast: rejected: %s", working.error);
    }
    publish(state, nowMs, out);
}

void takeRealtime(AccBroadcastState& state, ByteView bytes, uint64_t nowMs,
                  const AccBroadcastOut& out) {
    AccRealtime update;
    if (!accParseRealtime(bytes, update)) return;
    // The sim sends this first, then a message per car: now the round before is complete.
    publish(state, nowMs, out);
    AccSnapshot& working = state.working;
    const bool otherSession = working.haveRealtime && (update.eventIndex != working.eventIndex ||
                                                       update.sessionIndex != working.sessionIndex);
    if (otherSession) {
        working.carCount = 0;
        forgetTrack(working);
        state.wantEntryList = true;
        state.wantTrackData = true;
    }
    working.haveRealtime = 1;
    working.eventIndex = update.eventIndex;
    working.sessionIndex = update.sessionIndex;
    working.sessionType = update.sessionType;
    working.sessionPhase = update.sessionPhase;
    working.sessionTime = update.sessionTime;
    working.sessionEndTime = update.sessionEndTime;
    working.focusedCar = update.focusedCar;
    working.replay = update.replay;
    working.timeOfDay = update.timeOfDay;
    working.ambientTemp = update.ambientTemp;
    working.trackTemp = update.trackTemp;
    working.clouds = update.clouds;
    working.rain = update.rain;
    working.wetness = update.wetness;
    working.bestLapMs = update.bestLapMs;
}

void takeCarUpdate(AccBroadcastState& state, ByteView bytes, uint64_t nowMs) {
    AccCar update;
    if (!accParseCarUpdate(bytes, update)) return;
    bool added = false;
    AccCar* car = findOrAdd(state.working, update.carIndex, added);
    if (added) state.wantEntryList = true;
    if (!car) return;
    car->realtimeKnown = 1;
    car->driverIndex = update.driverIndex;
    car->driverCount = update.driverCount;
    car->gear = update.gear;
    car->worldX = update.worldX;
    car->worldY = update.worldY;
    car->yaw = update.yaw;
    car->location = update.location;
    car->kmh = update.kmh;
    car->position = update.position;
    car->cupPosition = update.cupPosition;
    car->trackPosition = update.trackPosition;
    car->splinePosition = update.splinePosition;
    car->laps = update.laps;
    car->deltaMs = update.deltaMs;
    car->bestLapMs = update.bestLapMs;
    car->lastLapMs = update.lastLapMs;
    car->currentLapMs = update.currentLapMs;
    car->updatedMs = nowMs;
}

void takeEntryList(AccSnapshot& working, ByteView bytes) {
    AccEntryIndices list;
    if (!accParseEntryList(bytes, list)) return;
    AccCar before[kAccMaxCars];
    const int32_t beforeCount = working.carCount;
    std::copy_n(working.cars, beforeCount, before);
    working.carCount = list.count;
    for (int32_t i = 0; i < list.count; ++i) {
        AccCar* end = before + beforeCount;
        const AccCar* known = std::find_if(
            before, end, [&](const AccCar& car) { return car.carIndex == list.carIndex[i]; });
        working.cars[i] = known != end ? *known : AccCar{};
        working.cars[i].carIndex = list.carIndex[i];
    }
}

void takeTrack(AccBroadcastState& state, ByteView bytes, uint64_t nowMs,
               const AccBroadcastOut& out) {
    AccTrack track;
    if (!accParseTrack(bytes, track)) return;
    AccSnapshot& working = state.working;
    copyText(working.trackName, track.name);
    working.trackId = track.id;
    working.trackMeters = track.meters;
    working.trackKnown = track.meters > 0;
    state.wantTrackData = false;
    publish(state, nowMs, out);
}

void takeEntryCar(AccSnapshot& working, ByteView bytes) {
    AccCar entry;
    if (!accParseEntryCar(bytes, entry)) return;
    bool added = false;
    AccCar* car = findOrAdd(working, entry.carIndex, added);
    if (!car) return;
    car->entryKnown = 1;
    car->carModel = entry.carModel;
    car->raceNumber = entry.raceNumber;
    car->cupCategory = entry.cupCategory;
    car->currentDriver = entry.currentDriver;
    copyText(car->firstName, entry.firstName);
    copyText(car->surname, entry.surname);
    copyText(car->shortName, entry.shortName);
}

} // namespace

void accBroadcastDue(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out) {
    AccSnapshot& working = state.working;
    if (working.registered && nowMs - state.lastPacketMs > kSilenceMs) loseSim(state, nowMs, out);
    if (!working.registered) {
        if (due(state.registerMs, nowMs, kRegisterEveryMs)) sendRegister(state, nowMs, out);
        return;
    }
    const uint64_t entryPause = state.wantEntryList ? kRequestPauseMs : kRequestEveryMs;
    if (due(state.entryListMs, nowMs, entryPause)) sendEntryListRequest(state, nowMs, out);
    if ((state.wantTrackData || working.trackMeters <= 0) &&
        due(state.trackDataMs, nowMs, kRequestEveryMs))
        sendTrackDataRequest(state, nowMs, out);
}

void accBroadcastReceive(AccBroadcastState& state, ByteView bytes, uint64_t nowMs,
                         const AccBroadcastOut& out) {
    state.lastPacketMs = nowMs;
    if (bytes.empty()) return;
    const ByteView body = bytes.subspan(1);
    switch (bytes[0]) {
    case kAccRegistrationResult:
        takeRegistration(state, body, nowMs, out);
        break;
    case kAccRealtimeUpdate:
        takeRealtime(state, body, nowMs, out);
        break;
    case kAccRealtimeCarUpdate:
        takeCarUpdate(state, body, nowMs);
        break;
    case kAccEntryList:
        takeEntryList(state.working, body);
        break;
    case kAccTrackData:
        takeTrack(state, body, nowMs, out);
        break;
    case kAccEntryListCar:
        takeEntryCar(state.working, body);
        break;
    default:
        break;
    }
}

} // namespace vt
