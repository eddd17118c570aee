#include "race/spotter_calls.h"

#include "base/lap.h"
#include "telemetry/sim_capabilities.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr uint64_t kOnMs = 50, kOffMs = 150;      // a raw flag must hold
constexpr uint64_t kBetweenMs = 400;              // between two changes of state
constexpr uint64_t kPauseMs = 1500;               // a longer pause forgets who was there
constexpr float kSeenAlong = 14, kSeenAcross = 6; // m
constexpr float kStays = 0.5f;                    // m more for a car that is there already
constexpr uint32_t kGreenFlag = 0x4;

constexpr std::array<float, kSimCount> kOverlaps = {4.7f, 4.5f, 4.4f, 5.0f, 4.5f, 4.5f, 4.5f,
                                                    4.7f, 4.7f, 5.0f, 4.7f, 4.7f, 4.5f, 4.5f};

struct RawFlags {
    bool left = false, right = false, twoLeft = false, twoRight = false;
};

RawFlags bySim(int carLeftRight) {
    return {carLeftRight == 2 || carLeftRight == 4 || carLeftRight == 5,
            carLeftRight == 3 || carLeftRight == 4 || carLeftRight == 6, carLeftRight == 5,
            carLeftRight == 6};
}

RawFlags byDistance(const SimFrame& frame, const CarRow& player, bool leftOn, bool rightOn) {
    const float overlap = spotterOverlap(frame.simKind);
    float nearest[2] = {15, 15};
    int beside[2] = {0, 0};
    for (const CarRow& car : frame.cars) {
        if (!spotterCounts(player, car)) continue;
        const float across = car.pathLateral - player.pathLateral;
        const float along = std::abs(wayAlong(frame, player, car));
        if (!(std::abs(across) <= kSeenAcross) || !(along <= kSeenAlong)) continue;
        const int side = across < 0 ? 0 : 1;
        nearest[side] = std::min(nearest[side], along);
        if (along < overlap) ++beside[side];
    }
    return {overlap + (leftOn ? kStays : 0) > nearest[0],
            overlap + (rightOn ? kStays : 0) > nearest[1], beside[0] >= 2, beside[1] >= 2};
}

RawFlags rawFlags(const SpotterCalls& calls, const SimFrame* frame) {
    const CarRow* player = spotterPlayer(frame);
    if (!player) return {};
    if (frame->simKind == kSimIRacing) return bySim(frame->carLeftRight);
    if (!lateralKnown(*frame)) return {};
    return byDistance(*frame, *player, calls.flags[0].raw, calls.flags[1].raw);
}

void hold(HeldFlag& flag, bool raw, uint64_t nowMs) {
    if (raw != flag.raw) {
        flag.raw = raw;
        flag.sinceMs = nowMs;
    }
    if (flag.on != raw && nowMs - flag.sinceMs >= (raw ? kOnMs : kOffMs)) flag.on = raw;
}

void markStart(SpotterCalls& calls, const SimFrame* frame, uint64_t nowMs) {
    if (!frame) {
        calls.sessionNum = -1;
        calls.startMs = 0;
        return;
    }
    const bool other = frame->sessionNum != calls.sessionNum;
    if (!other && calls.startMs != 0 && calls.startTime <= frame->sessionTime) return;
    if (other || calls.startMs != 0) calls.startMs = 0;
    calls.sessionNum = frame->sessionNum;
    if (!frameIsRace(*frame) || (frame->racePhase != 2 && !(frame->sessionFlags & kGreenFlag)))
        return;
    calls.startMs = std::max<uint64_t>(nowMs, 1);
    calls.startTime = frame->sessionTime;
}

bool quiet(const SpotterCalls& calls, const SpotterRules& rules, const SimFrame* frame,
           uint64_t nowMs) {
    if (!frame) return true;
    if (rules.minKph > 0 && !(frame->speed * 3.6f >= rules.minKph)) return true;
    const CarRow* player = playerRow(*frame);
    if (rules.pitQuiet && (frame->onPitRoad || frame->inPitStall || (player && player->onPitRoad)))
        return true;
    if (rules.cautionQuiet && frame->cautionPhase > 0) return true;
    return rules.startQuietSec > 0 && calls.startMs != 0 &&
           static_cast<double>(nowMs - calls.startMs) <
               static_cast<double>(rules.startQuietSec) * 1000;
}

int targetOf(const SpotterCalls& calls) {
    const bool left = calls.flags[0].on, right = calls.flags[1].on;
    if (left && right) return kSpotterBoth;
    if (left) return calls.flags[2].on ? kSpotterTwoLeft : kSpotterLeft;
    if (right) return calls.flags[3].on ? kSpotterTwoRight : kSpotterRight;
    return kSpotterClear;
}

int phraseOf(int from, int to) {
    switch (to) {
    case kSpotterLeft:
        return from == kSpotterClear || from == kSpotterTwoLeft ? kSayCarLeft : kSayClearRight;
    case kSpotterRight:
        return from == kSpotterClear || from == kSpotterTwoRight ? kSayCarRight : kSayClearLeft;
    case kSpotterBoth:
        return kSayThreeWide;
    // With two cars to the right one's own is the left one of three.
    case kSpotterTwoRight:
        return kSayThreeWideLeft;
    case kSpotterTwoLeft:
        return kSayThreeWideRight;
    default:
        return kSayClear;
    }
}

int reminderOf(int state) {
    if (state == kSpotterLeft || state == kSpotterTwoLeft) return kSayStillLeft;
    return state == kSpotterBoth ? kSayStillThere : kSayStillRight;
}

} // namespace

float spotterOverlap(int simKind) {
    return simKind >= 0 && simKind < kSimCount ? kOverlaps[static_cast<size_t>(simKind)] : 4.7f;
}

float wayAlong(const SimFrame& frame, const CarRow& player, const CarRow& car) {
    return wrapHalfLap(car.lapDistPct - player.lapDistPct) * frame.trackLength;
}

const CarRow* spotterPlayer(const SimFrame* frame) {
    if (!frame || !frame->connected || !(frame->trackLength > 1)) return nullptr;
    return simOffers(frame->simKind, kOffersCarPlaces) ? playerRow(*frame) : nullptr;
}

bool spotterCounts(const CarRow& player, const CarRow& car) {
    return car.carIdx != player.carIdx && car.lapDistPct >= 0 && !car.onPitRoad;
}

bool lateralKnown(const SimFrame& frame) {
    return std::any_of(frame.cars.begin(), frame.cars.end(),
                       [](const CarRow& row) { return row.pathLateral != 0; });
}

int spotterCallsTick(SpotterCalls& calls, const SpotterRules& rules, const SimFrame* frame,
                     bool voiceReady, uint64_t nowMs) {
    if (frame && !frame->connected) frame = nullptr;
    markStart(calls, frame, nowMs);
    const RawFlags raw = rawFlags(calls, frame);
    const bool values[] = {raw.left, raw.right, raw.twoLeft, raw.twoRight};
    for (size_t i = 0; i < calls.flags.size(); ++i)
        hold(calls.flags[i], values[i], nowMs);
    const bool silent = quiet(calls, rules, frame, nowMs);
    if (!voiceReady) return -1;
    if (calls.passMs != 0 && nowMs - calls.passMs > kPauseMs) calls.state = kSpotterClear;
    calls.passMs = std::max<uint64_t>(nowMs, 1);
    if (silent) {
        calls.state = kSpotterClear;
        return -1;
    }
    const int target = targetOf(calls);
    if (target != calls.state) {
        if (calls.everChanged && nowMs - calls.changedMs < kBetweenMs) return -1;
        const int phrase = phraseOf(calls.state, target);
        calls.state = target;
        calls.changedMs = nowMs;
        calls.everChanged = true;
        return phrase;
    }
    if (target == kSpotterClear || rules.repeatMs == 0 || nowMs - calls.changedMs < rules.repeatMs)
        return -1;
    calls.changedMs = nowMs;
    return reminderOf(target);
}

} // namespace vt
