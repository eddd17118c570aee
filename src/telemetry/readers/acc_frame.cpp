#include "telemetry/readers/acc_frame.h"

#include <algorithm>
#include <limits>

namespace vt {

namespace {

constexpr int32_t kNoLapTimeMs = std::numeric_limits<int32_t>::max();

uint32_t flagsOf(const AccGraphics& graphics) {
    uint32_t flags = acFlagBits(graphics.flag, true);
    const bool sectorYellow =
        std::any_of(std::begin(graphics.sectorYellow), std::end(graphics.sectorYellow),
                    [](int32_t word) { return word != 0; });
    if (sectorYellow || graphics.globalYellow) flags |= kFlagYellow;
    if (graphics.globalWhite) flags |= kFlagWhite;
    if (graphics.globalGreen) flags |= kFlagGreen;
    if (graphics.globalChequered) flags |= kFlagChequered;
    return flags;
}

void fillWeather(SimFrame& out, const AccGraphics& graphics) {
    // Track status: 0 green, 1 fast, 2 optimum, 3 greasy, 4 damp, 5 wet, 6 flooded.
    constexpr float wetness[] = {0, 0, 0, 0.25f, 0.5f, 0.75f, 1.0f};
    if (graphics.trackStatus >= 0 && graphics.trackStatus <= 6)
        out.wetness = wetness[graphics.trackStatus];
    if (graphics.rain >= 1 && graphics.rain <= 5)
        out.precipitation = static_cast<float>(graphics.rain) * 0.2f;
}

} // namespace

bool fillAccFrame(SimFrame& out, const AcInput& input, const AccGraphics& graphics,
                  AccMemory& memory, const AccSnapshot& snapshot) {
    const AcPhysics& physics = input.physics;
    const AcSession& session = graphics.session;
    fillAcCommon(out, kSimAcc, input, session, graphics.inPitLane != 0, memory.common);
    out.isOnTrack = session.status == kAcLive;
    out.clutch = clamp01(1 - finiteOr(physics.clutch, 1)); // the sim's 1 is a pedal that is up
    out.maxRpm =
        static_cast<float>(physics.maxRpm > 0 ? physics.maxRpm : std::max(input.statics.maxRpm, 0));
    out.tcLevel = static_cast<float>(graphics.tcLevel);
    out.absLevel = static_cast<float>(graphics.absLevel);
    out.boost = finiteOr(physics.turboBoost, 0);
    if (const float most = finiteOr(input.statics.maxTurboBoost, 0); most > 0.001f)
        out.boostFrac = clamp01(out.boost / most);
    out.penalties = graphics.penalty >= 1 && graphics.penalty <= 64;
    out.sessionFlags = flagsOf(graphics);
    out.currentLapTime = acLapSeconds(session.currentLapMs, kNoLapTimeMs);
    out.lastLapTime = acLapSeconds(session.lastLapMs, kNoLapTimeMs);
    out.bestLapTime = acLapSeconds(session.bestLapMs, kNoLapTimeMs);
    fillWeather(out, graphics);
    fillAcAxles(out, physics.slipAngle);

    accLearn(physics, graphics, memory);
    out.playerCarIdx = graphics.playerCarId;
    const AccPlaces places = accPlaces(graphics, out.trackLength, out.lapDistPct, memory);
    const bool fromSnapshot = snapshot.registered && snapshot.carCount > 0;
    const char* playerName = memory.common.texts.driver;
    if (fromSnapshot)
        accRowsFromSnapshot(out, snapshot, graphics, places, playerName);
    else
        accRowsFromPage(out, graphics, places, playerName);
    return fromSnapshot;
}

} // namespace vt
