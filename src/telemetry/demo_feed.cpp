#include "telemetry/demo_feed.h"

#include "base/format.h"
#include "base/utf8.h"
#include "telemetry/demo_track.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vt {

namespace {

constexpr double kLapSeconds = 26;     // of demo time
constexpr double kReferenceLap = 91.6; // what the lap times look like
constexpr double kTrackMetres = 3000;
constexpr double kRaceSeconds = 2700;
constexpr double kStallPct = 0.04;
constexpr double kGravity = 9.80665;
constexpr double kMaxRpm = 8600;
constexpr int kPlayer = 5;
constexpr int kBesideCar = 0;
constexpr int kHunter = 8;
constexpr int kCarAhead = 4;
constexpr int kCarBehind = 9;

struct Driver {
    const char* name;
    int number;
    int rating;
    const char* licence;
    const char* carClass;
    const char* brand;
    double gapBase; // s
    double phase;   // of a lap
    int compound;
};

constexpr Driver kRoster[] = {
    {"Random Callsign", 88, 5300, "A 4.90", "GT3", "Lamborghini", 9.0, 0.85, 0},
    {"Harbour Lights", 56, 5000, "A 4.30", "GT3", "Toyota", 7.5, 0.88, 1},
    {"Brassknuckle", 13, 2800, "B 2.90", "GT4", "Aston", 5.0, 0.80, 3},
    {"Super GT", 3, 5100, "A 4.99", "GT3", "Porsche", 2.4, 0.70, 2},
    {"Copperleaf", 5, 4800, "A 4.20", "GT3", "BMW", 0.8, 0.62, 1},
    {"Morgan Vale", 28, 5823, "A 4.77", "GT3", "Mercedes-AMG", 0.0, 0.50, 0},
    {"Tomas Ferreira", 21, 5600, "A 4.50", "GT3", "McLaren", -1.2, 0.30, 1},
    {"Jonty Marsh", 7, 4200, "A 3.99", "GT3", "Ferrari", -3.1, 0.20, 0},
    {"Cal Renner", 44, 3100, "B 3.20", "GT4", "Audi", -6.5, 0.10, 2},
    {"Rolf Bonner", 99, 2600, "C 3.80", "GT4", "Chevrolet", -8.0, 0.15, 4},
    {"Ostrand", 17, 3900, "A 3.10", "GT3", "Nissan", -9.5, 0.35, 0},
};
constexpr int kCars = static_cast<int>(std::size(kRoster));

struct PitPattern {
    int car;
    int lapMod7;
};
constexpr PitPattern kPitPatterns[] = {{4, 3}, {6, 6}};

struct BesideRange {
    double from, to; // lap fractions
    int carLeftRight;
};
constexpr BesideRange kBeside[] = {{0.16, 0.30, 2}, {0.46, 0.60, 3}, {0.72, 0.80, 4}};

struct Corner {
    double place, width; // lap fractions
};
constexpr Corner kCorners[] = {{0.14, 0.045}, {0.40, 0.055}, {0.63, 0.04}, {0.86, 0.05}};

struct SlipKnot {
    double seconds, degrees;
};
constexpr SlipKnot kSlipKnots[] = {
    {0, 0},      {0.55, 20}, {1.6, 31},    {2.6, 27},   {3.6, 36},   {4.2, 30},   {4.35, -26},
    {5.4, -33},  {6.6, -28}, {7.8, -34},   {8.0, -27},  {8.15, 29},  {9.4, 38},   {10.3, 46},
    {11.2, 37},  {12.1, 31}, {12.25, -24}, {13.4, -33}, {14.6, -29}, {15.6, -35}, {15.9, -28},
    {16.05, 27}, {17.1, 33}, {18.1, 29},   {18.8, 24},  {19.6, 4},   {20, 0},     {26, 0}};

struct LapState {
    int lap = 0;         // laps completed
    double fraction = 0; // of the running one
    double corner = 0, steer = 0, brake = 0, throttle = 0;
    double kph = 0, rpm = 0;
    int gear = 0;
    double pit = -1;        // progress of the pit visit 0..1; -1 = none
    double boxDistance = 0; // metres before the box; negative behind it
    bool onPitRoad = false, inStall = false, limiter = false;
    int carLeftRight = 1;
    double besideOffset = 0.85; // of the car beside the player, plus half a lap
};

double unit(double x) {
    return std::clamp(x, 0.0, 1.0);
}
bool within(double x, double from, double to) {
    return x >= from && x < to;
}
double wrapped(double x) {
    return x - std::floor(x);
}
double smoothstep(double x) {
    const double u = unit(x);
    return u * u * (3 - 2 * u);
}
double bell(double d, double width) {
    return std::exp(-d * d / (2 * width * width));
}

/// 0..1 through a pit visit, or -1. Every third lap: from 0.3 laps before the end of the cycle to
/// 0.3 laps into the next one.
double pitProgress(double t) {
    const double w = std::fmod(t, 3 * kLapSeconds) / kLapSeconds;
    if (w >= 2.7) return (w - 2.7) / 0.6;
    return w < 0.3 ? (w + 0.3) / 0.6 : -1;
}

double pitKph(double pp) {
    if (pp < 0.12) return 200 - pp / 0.12 * 142;
    if (pp < 0.40) return 58;
    if (pp < 0.46) return 58 * (0.46 - pp) / 0.06;
    if (pp < 0.62) return 0;
    if (pp < 0.68) return 58 * (pp - 0.62) / 0.06;
    if (pp < 0.90) return 58;
    return 58 + (pp - 0.9) / 0.1 * 117;
}

void drive(LapState& s) {
    const double p = s.fraction;
    double sign = 1;
    for (const Corner& corner : kCorners) {
        double d = p - corner.place;
        d -= std::round(d);
        const double weight = bell(d, corner.width);
        s.corner += weight;
        s.steer += sign * weight * 3.2;
        sign = -sign;
        if (d < 0.8 * corner.width) s.brake += bell(d + 1.5 * corner.width, 0.6 * corner.width);
    }
    s.corner = unit(s.corner);
    s.brake = unit(0.95 * s.brake);
    s.throttle = unit(1 - 1.1 * s.corner - s.brake);
    s.kph = 235 - 150 * s.corner;
    s.gear = std::clamp(1 + static_cast<int>(s.kph / 42), 1, 6);
    s.rpm = unit((s.kph - (s.gear - 1) * 42) / 42) * 5300 + 3000;
}

void drivePits(LapState& s, double t) {
    const double pp = s.pit;
    s.corner = s.steer = 0;
    s.kph = pitKph(pp);
    s.onPitRoad = within(pp, 0.08, 0.94);
    s.inStall = within(pp, 0.46, 0.62);
    s.limiter = within(pp, 0.05, 0.92);
    if (pp < 0.46)
        s.boxDistance = (0.46 - pp) * 400 / 0.46;
    else
        s.boxDistance = pp < 0.62 ? 0 : (pp - 0.62) * -260 / 0.38;

    const bool moving = s.kph > 1;
    if (pp < 0.12)
        s.brake = 0.7;
    else if (within(pp, 0.40, 0.46))
        s.brake = 0.5;
    else
        s.brake = s.inStall ? 0.4 : 0;
    s.throttle = moving && pp >= 0.12 ? 0.18 : 0;
    s.gear = 0;
    if (!s.inStall && moving) s.gear = s.kph > 90 ? 3 : 2;
    s.rpm = moving ? std::sin(30 * t) * 150 + 3900 : 1100;
}

LapState demoLap(double t) {
    LapState s;
    s.lap = static_cast<int>(t / kLapSeconds);
    s.fraction = std::fmod(t, kLapSeconds) / kLapSeconds;
    s.pit = pitProgress(t);
    if (s.pit >= 0) {
        drivePits(s, t);
        return s;
    }
    drive(s);
    for (const BesideRange& range : kBeside) {
        if (!within(s.fraction, range.from, range.to)) continue;
        const double along = (s.fraction - range.from) / (range.to - range.from);
        s.carLeftRight = range.carLeftRight;
        s.besideOffset = (14 - along * 28) / kTrackMetres + 0.5;
    }
    return s;
}

double slipAt(double t) {
    t = std::max(t, 0.0);
    const double s = std::fmod(t, kLapSeconds);
    size_t next = 1;
    while (next + 1 < std::size(kSlipKnots) && s >= kSlipKnots[next].seconds)
        ++next;
    const SlipKnot a = kSlipKnots[next - 1], b = kSlipKnots[next];
    const double along = smoothstep((s - a.seconds) / (b.seconds - a.seconds));
    double slip = a.degrees + (b.degrees - a.degrees) * along;
    slip *= 0.94 + 0.03 * std::fmod(std::floor(t / kLapSeconds), 5.0);
    if (within(s, 0.8, 19.0) && std::abs(slip) < 6) slip = std::copysign(6, slip);

    const double pp = pitProgress(t);
    if (pp < 0) return slip;
    if (pp < 0.03) return slip * smoothstep(1 - pp / 0.03);
    return pp > 0.97 ? slip * smoothstep((pp - 0.97) / 0.03) : 0;
}

double playerLap(int lap) {
    const double base = std::sin(lap) * 0.5 + kReferenceLap;
    if (lap < 1) return base;
    if (lap % 3 == 2) return base + 9.5;      // the in-lap
    return lap % 3 == 0 ? base + 12.5 : base; // the out-lap
}

double burn(int lap) {
    return std::sin(1.3 * lap + 1) * 0.3 + 2.3;
}

double fuelLeft(const LapState& s) {
    constexpr double capacity = 60;
    const int sinceRefill = s.lap % 18;
    double used = burn(sinceRefill) * s.fraction;
    for (int i = 0; i < sinceRefill; ++i)
        used += burn(i);
    return capacity - used;
}

uint32_t flagsAt(const LapState& s, double remaining) {
    if (remaining <= 3) return kFlagChequered;
    const bool yellow = s.lap % 5 == 3 && within(s.fraction, 0.2, 0.6);
    uint32_t flags = yellow ? kFlagYellow : kFlagGreen;
    if (remaining <= kReferenceLap) flags |= kFlagWhite;
    return flags;
}

float f32(double x) {
    return static_cast<float>(x);
}

/// A lap fraction as a float that stays below 1: the conversion may round up to it.
float lapFraction(double x) {
    const float f = f32(wrapped(x));
    return f < 1 ? f : 0;
}

void fillCar(SimFrame& out, const LapState& s, double t) {
    out.throttle = f32(s.throttle);
    out.brake = f32(s.brake);
    out.steerAngle = f32(s.steer);
    out.gear = s.gear;
    out.rpm = f32(s.rpm);
    out.maxRpm = f32(kMaxRpm);
    out.speed = f32(s.kph / 3.6);
    out.shiftFirstRpm = 7000;
    out.shiftRpm = 7900;
    out.shiftBlinkRpm = 8250;
    const double boost = unit(std::sin(9 * t) * 0.05 + s.throttle * 0.92);
    out.boostFrac = f32(boost);
    out.boost = f32(boost * 1.45 + 0.25);
    out.slipAngle = f32(slipAt(t));
    out.slipSource = 2;
    out.slipRate = f32(std::clamp((slipAt(t + 0.05) - slipAt(t - 0.05)) / 0.1, -400.0, 400.0));
    out.dynamicsOk = 1;
    out.dynamicsSpeed = out.speed;
    out.dynamicsFromYaw = 1;
    out.waterTemp = f32(std::sin(0.05 * t) * 1.2 + s.throttle * 5 + 89);
    out.oilTemp = f32(std::sin(0.04 * t) * 1.2 + s.rpm / kMaxRpm * 6 + 104);
    out.oilPressure = f32(s.rpm / kMaxRpm * 1.1 + 3.7);
    out.batteryVolts = f32(std::sin(0.3 * t) * 0.2 + 13.7);
    out.brakeBias = 54.5f;
    out.tcLevel = 4;
    out.absLevel = 2;
    out.engineWarnings = within(s.fraction, 0.47, 0.53) ? 1 : 0;
    out.latAccel = f32(s.corner * (s.steer < 0 ? -1 : 1) * 1.3 * kGravity);
    out.longAccel = f32((s.throttle * 0.8 - s.brake * 1.5) * kGravity);

    constexpr float temp[] = {82, 88, 76, 79}, wear[] = {0.94f, 0.89f, 0.96f, 0.93f};
    constexpr float pressure[] = {165, 168, 158, 160};
    std::copy(std::begin(temp), std::end(temp), out.tyreTemp);
    std::copy(std::begin(wear), std::end(wear), out.tyreWear);
    std::copy(std::begin(pressure), std::end(pressure), out.tyrePressure);
    out.tyreDataLevel = 1;
    out.fuelCapacity = 60;
    out.fuelLevel = f32(fuelLeft(s));
}

void fillDeltas(SimFrame& out, double t) {
    const double a = 0.2 * t;
    out.deltaBest = f32(std::sin(a) * 0.22 - 0.18);
    out.deltaOptimal = f32(std::sin(a + 0.6) * 0.16 + 0.12);
    out.deltaSessionBest = f32(std::sin(a + 1.2) * 0.18 - 0.3);
    out.deltaLast = f32(std::sin(a + 1.8) * 0.24 - 0.05);
    out.liveDeltaBest = f32(std::sin(a + 0.3) * 0.2 - 0.22);
    out.liveDeltaLast = f32(std::sin(a + 2.1) * 0.18 + 0.08);
    out.sectorDeltaBest = f32(std::sin(0.22 * t) * 0.35);
    out.sectorDeltaLast = f32(std::sin(0.22 * t + 1) * 0.25);
    out.deltaBestOk = out.deltaOptimalOk = out.deltaSessionBestOk = out.deltaLastOk = 1;
    out.liveDeltaBestOk = out.liveDeltaLastOk = 1;
    out.sectorDeltaBestOk = out.sectorDeltaLastOk = 1;
}

int radioAt(double t) {
    const double s = std::fmod(t, 12);
    if (s < 2) return 7;
    if (s < 4) return 3;
    return s < 6 ? kPlayer : -1;
}

void fillWorld(SimFrame& out) {
    const std::vector<DemoTrackPoint>& track = demoTrack();
    const double at = static_cast<double>(out.lapDistPct) * kDemoTrackBins;
    const size_t bin = static_cast<size_t>(at) % track.size();
    const DemoTrackPoint& point = track[bin];
    const auto beyond = static_cast<float>(at - std::floor(at));
    out.worldX = point.x + point.forwardX * beyond;
    out.worldY = point.y + point.forwardY * beyond;
    out.forwardX = point.forwardX;
    out.forwardY = point.forwardY;
    out.rightX = point.forwardY;
    out.rightY = -point.forwardX;
    out.worldOk = 1;
}

void fillSession(SimFrame& out, const LapState& s, double t) {
    const double remaining = kRaceSeconds - std::fmod(t, kRaceSeconds);
    out.lapDistPct =
        lapFraction(s.pit >= 0 ? kStallPct - s.boxDistance / kTrackMetres : s.fraction);
    fillWorld(out);
    out.sessionTime = t;
    for (float start : {0.0f, 0.35f, 0.7f})
        out.sectorStarts.push_back(start);
    out.airTemp = f32(std::sin(0.02 * t) * 0.5 + 21.5);
    out.trackTemp = f32(std::sin(0.015 * t) * 0.8 + 31);
    out.wetnessLevel = 1;
    out.sessionState = 4;
    out.incidents = std::min(2 + s.lap / 9, 8);
    out.incidentLimit = 17;
    out.timedSession = 1;
    out.timeRemain = remaining;
    out.timeTotal = kRaceSeconds;
    out.sessionFlags = flagsAt(s, remaining);
    copyText(out.trackName, "Winton National");
    copyText(out.sessionName, "Race");
    copyText(out.carName, "Mercedes-AMG GT3");
    out.carLeftRight = s.carLeftRight;
    out.trackLength = f32(kTrackMetres);
    out.trackId = 1;
    out.trackTurns = 12;
    out.onPitRoad = s.onPitRoad;
    out.inPitStall = s.inStall;
    out.pitLimiterOn = s.limiter;
    out.pitLimitSpeed = 16.666667f;
    out.pitStallPct = f32(kStallPct);
    out.lap = s.lap + 1;
    out.lastLapTime = f32(playerLap(s.lap - 1));
    out.currentLapTime = f32((t / kLapSeconds - s.lap) * kLapSeconds);
    out.fuelLapsLeft = -1;
    out.positionsGained = 3 - s.lap % 5;
    out.positionsGainedOk = 1;
    out.radioCarIdx = radioAt(t);
}

bool pitsOnLap(int car, int lap) {
    return std::any_of(std::begin(kPitPatterns), std::end(kPitPatterns),
                       [&](const PitPattern& p) { return p.car == car && lap % 7 == p.lapMod7; });
}

double gapAt(int k, const LapState& s, double t) {
    if (k == kPlayer) return 0;
    const double base = kRoster[k].gapBase;
    if (k != kHunter) return base + std::sin(k + 0.13 * t) * 0.7;
    const double w = (s.lap % 6 + s.fraction) / 6;
    return base + (2.2 - base) * 2 * (w < 0.5 ? w : 1 - w);
}

double placeAt(int k, const LapState& s, double t, double player, double gap, bool pitNow) {
    const bool playerInPits = s.pit >= 0;
    switch (k) {
    case kPlayer:
        return player;
    case kBesideCar:
        return player + s.besideOffset - 0.5;
    case kHunter:
        return player + gap * 44 / kTrackMetres;
    case kCarAhead:
        if (pitNow) break;
        return player + (playerInPits ? 0.4 : (std::sin(0.5 * t) * 3 + 18) / kTrackMetres);
    case kCarBehind:
        return player + (playerInPits ? 0.45 : (std::sin(0.4 * t + 1) * 3 - 20) / kTrackMetres);
    default:
        break;
    }
    return kRoster[k].phase - 0.5 + s.fraction;
}

void fillSectors(CarRow& row, int k, const LapState& s) {
    const double u = wrapped(kRoster[k].phase + s.fraction);
    const int index = u < 0.35 ? 2 : u < 0.7 ? 0 : 1;
    const double reference = (index == 2 ? 0.3 : 0.35) * kReferenceLap;
    const auto time = [&](int lap) {
        return f32(std::sin(1.9 * k + 1.3 * lap + index) * 0.35 + reference + 0.05);
    };
    row.lastSectorIdx = index;
    row.lastSectorTime = time(s.lap);
    row.prevSectorTime = time(s.lap - 1);
    row.bestSectorTime = f32(reference - 0.25);
}

void fillLapTimes(CarRow& row, int k, const LapState& s) {
    const bool pitted = pitsOnLap(k, s.lap - 1);
    row.bestLapTime = f32(90.4 + (k & 3) * 0.3);
    row.lastLapTime =
        f32(k == kPlayer ? playerLap(s.lap - 1) : kReferenceLap + k % 5 * 0.35 + (pitted ? 22 : 0));
    if (k != kCarAhead) return;
    row.bestLapTime = 90.15f;
    if (s.lap % 4 == 1 && !pitted) row.lastLapTime = row.bestLapTime;
}

CarRow demoRow(int k, const SimFrame& frame, const LapState& s, double t) {
    const Driver& driver = kRoster[k];
    const bool pitNow = pitsOnLap(k, s.lap) && within(s.fraction, 0.10, 0.45);
    const double gap = gapAt(k, s, t);
    CarRow row;
    row.carIdx = k;
    copyText(row.driverName, driver.name);
    copyText(row.carClass, driver.carClass);
    copyText(row.licence, driver.licence);
    copyText(row.carBrand, driver.brand);
    row.position = k + 1;
    row.irating = driver.rating;
    row.carNumberValue = driver.number;
    formatText(row.carNumber, sizeof row.carNumber, "%d", driver.number);
    row.tyreCompound = driver.compound;
    row.lap = s.lap - (k == kHunter || k == kCarBehind ? 1 : 0);
    if (k == kPlayer) {
        row.onPitRoad = frame.onPitRoad;
        row.trackSurface = frame.inPitStall ? 1 : frame.onPitRoad ? 2 : 3;
    } else {
        row.onPitRoad = pitNow;
        row.trackSurface = pitNow ? 1 : 3;
    }
    fillLapTimes(row, k, s);
    fillSectors(row, k, s);
    row.gapToPlayer = f32(gap);
    row.estTime = f32(gap + 45);
    row.lapDistPct = lapFraction(placeAt(k, s, t, frame.lapDistPct, gap, pitNow));
    return row;
}

/// Places and gaps to the leader within each class, in the order of the rows.
void rankClasses(std::vector<CarRow>& cars, double t) {
    for (size_t i = 0; i < cars.size(); ++i) {
        int before = 0;
        double gap = 0;
        const std::string_view carClass = cars[i].carClass;
        for (size_t j = 0; j <= i; ++j) {
            if (carClass != cars[j].carClass) continue;
            if (before > 0) gap += std::abs(std::sin(1.7 * static_cast<double>(j))) * 0.9 + 1.4;
            ++before;
        }
        const auto k = static_cast<double>(i);
        cars[i].classPosition = before;
        cars[i].gapToLeader = before > 1 ? f32(std::sin(k + 0.11 * t) * 0.4 + gap) : 0;
    }
}

} // namespace

void demoFrameAt(SimFrame& out, double t) {
    constexpr double longest = 1e9; // keeps the lap count inside an int
    t = t > 0 ? std::min(t, longest) : 0;
    const LapState s = demoLap(t);
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimIRacing;
    out.isOnTrack = 1;
    fillCar(out, s, t);
    fillDeltas(out, t);
    fillSession(out, s, t);
    out.cars.reserve(kCars);
    for (int k = 0; k < kCars; ++k)
        out.cars.push_back(demoRow(k, out, s, t));
    rankClasses(out.cars, t);
    out.playerCarIdx = kPlayer;
    out.bestLapTime = out.cars[kPlayer].bestLapTime;
    out.optimalLapTime = f32(out.bestLapTime - 0.35);
    out.optimalLapTimeOk = 1;
}

void demoFrame(SimFrame& out, double seconds) {
    static const double start =
        std::trunc(seconds * 1000); // the race begins with the process's first call
    demoFrameAt(out, (std::trunc(seconds * 1000) - start) / 1000);
}

} // namespace vt
