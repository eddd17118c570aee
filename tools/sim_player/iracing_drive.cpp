#include "iracing_drive.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

namespace player {

namespace {

constexpr double kGreenAfter = 10; // s from a recorded grid to the start
constexpr double kTopSpeed = 75;   // m/s

bool timeKnown(double seconds) {
    return seconds > 5 && seconds < 3600;
}

/// Seconds a lap: what the car has driven; else what its class is expected to drive.
double lapTimeOf(const IrImage& image, const vt::IrSample& sample, int32_t car, double classTime) {
    double time = sample.element(sample.find("CarIdxBestLapTime"), car, 0);
    for (const vt::IrSession& session : image.text.sessions)
        if (!timeKnown(time)) time = static_cast<double>(session.results[car].fastest);
    if (!timeKnown(time)) time = sample.element(sample.find("CarIdxLastLapTime"), car, 0);
    if (!timeKnown(classTime)) return timeKnown(time) ? time : 90;
    // A lap behind the safety car or through the pits says nothing about the pace.
    return timeKnown(time) ? std::clamp(time, classTime * 0.95, classTime * 1.1)
                           : classTime * (1.0 + 0.0007 * car);
}

DriveCar makeCar(const IrImage& image, const vt::IrSample& s, int32_t car, int32_t classId) {
    DriveCar out;
    out.carIdx = car;
    out.classId = classId;
    const double classTime = driverNumber(image.rawText, car, "CarClassEstLapTime");
    out.lapTime = lapTimeOf(image, s, car, classTime);
    out.classLapTime = timeKnown(classTime) ? classTime : out.lapTime;
    const auto session = static_cast<size_t>(s.integer("SessionNum"));
    const bool known = session < image.text.sessions.size();
    const vt::IrResultTimes results =
        known ? image.text.sessions[session].results[car] : vt::IrResultTimes{};
    const auto driven = [&](const char* name, float result) {
        const double time = s.element(s.find(name), car, 0);
        return time > 0 ? time : static_cast<double>(result);
    };
    out.bestLap = driven("CarIdxBestLapTime", results.fastest);
    out.lastLap = driven("CarIdxLastLapTime", results.last);
    out.position = s.elementInt(s.find("CarIdxPosition"), car);
    out.classPosition = s.elementInt(s.find("CarIdxClassPosition"), car);
    out.gapToLeader = s.element(s.find("CarIdxF2Time"), car, 0);
    const double pct = s.element(s.find("CarIdxLapDistPct"), car, -1);
    out.inWorld = pct >= 0;
    out.lap = std::max(s.elementInt(s.find("CarIdxLap"), car), 0);
    out.phase = phaseAt(std::clamp(pct, 0.0, 0.999));
    out.onPitRoad = s.elementInt(s.find("CarIdxOnPitRoad"), car) != 0;
    return out;
}

/// A practice in which few were on the track when it was recorded: all cars are sent out, well
/// apart. In a race only the player is, since cars that are missing have retired.
void sendOut(DriveModel& model, int32_t player) {
    const auto driving = std::count_if(model.cars.begin(), model.cars.end(),
                                       [](const DriveCar& car) { return car.inWorld; });
    const bool all = !model.race && 2 * driving < static_cast<int64_t>(model.cars.size());
    for (size_t i = 0; i < model.cars.size(); ++i) {
        DriveCar& car = model.cars[i];
        if (car.inWorld || (!all && car.carIdx != player)) continue;
        car.inWorld = true;
        car.phase = static_cast<double>(i) / static_cast<double>(model.cars.size());
        car.lap = std::max(car.lap, 1);
    }
}

void putCar(const DriveCar& car, IrSampleWriter& out) {
    const int32_t i = car.carIdx;
    const auto orNone = [](double seconds) { return seconds > 0 ? seconds : -1; };
    out.put("CarIdxPosition", car.position, i);
    out.put("CarIdxClassPosition", car.classPosition, i);
    out.put("CarIdxF2Time", car.gapToLeader, i);
    out.put("CarIdxLastLapTime", orNone(car.lastLap), i);
    out.put("CarIdxBestLapTime", orNone(car.bestLap), i);
    if (!car.inWorld) return;
    out.put("CarIdxLap", car.lap, i);
    out.put("CarIdxLapCompleted", car.lap - 1, i);
    out.put("CarIdxLapDistPct", car.lapDistPct, i);
    out.put("CarIdxEstTime", car.estTime, i);
    out.put("CarIdxOnPitRoad", car.onPitRoad, i);
    out.put("CarIdxTrackSurface", car.stopLeft > 0 ? 1 : car.onPitRoad ? 2 : 3, i);
}

void putPlayersLap(const IrDrive& drive, const DriveCar& car, IrSampleWriter& out) {
    out.put("LapDistPct", car.lapDistPct);
    out.put("LapDist", car.lapDistPct * drive.model.trackLength);
    out.put("Lap", car.lap);
    out.put("LapCompleted", car.lap - 1);
    out.put("LapCurrentLapTime", car.currentLap);
    out.put("LapLastLapTime", car.lastLap);
    out.put("LapBestLapTime", car.bestLap);
    out.put("LapDeltaToBestLap", car.currentLap - car.phase * car.bestLap);
    out.put("LapDeltaToBestLap_OK", car.bestLap > 0);
    out.put("PlayerCarPosition", car.position);
    out.put("PlayerCarClassPosition", car.classPosition);
    out.put("PlayerTrackSurface", car.stopLeft > 0 ? 1 : car.onPitRoad ? 2 : 3);
    out.put("PlayerCarInPitStall", car.stopLeft > 0);
    out.put("OnPitRoad", car.onPitRoad);
    out.put("dcPitSpeedLimiterToggle", car.onPitRoad);
    out.put("IsOnTrack", 1);
    out.put("IsOnTrackCar", 1);
    out.put("IsInGarage", 0);
    out.put("IsReplayPlaying", 0);
}

void putPlayersControls(IrDrive& drive, const DriveCar& car, double dt, IrSampleWriter& out) {
    const double accel = dt > 0 ? std::clamp((car.speed - drive.lastSpeed) / dt, -12.0, 8.0) : 0;
    drive.lastSpeed = car.speed;
    const double bend = std::sin(44 * car.phase) * (car.onPitRoad ? 0.1 : 1);
    const double yaw = 0.35 * bend * std::min(car.speed / 20, 1.0);
    const double slide = 0.4 * std::sin(61 * car.phase) * bend;
    const double share = std::clamp(car.speed / kTopSpeed, 0.0, 0.999) * 6;
    const double gear = car.stopLeft > 0 ? 0 : 1 + std::floor(share);
    const double revs = 0.62 + 0.36 * (share - std::floor(share));
    out.put("Speed", car.speed);
    out.put("Gear", gear);
    out.put("RPM", car.stopLeft > 0 ? 1100 : drive.maxRpm * revs);
    out.put("Throttle", car.stopLeft > 0 ? 0 : std::clamp(0.35 + accel / 6, 0.0, 1.0));
    out.put("Brake", car.stopLeft > 0 ? 1 : std::clamp(-(accel + 1) / 8, 0.0, 1.0));
    out.put("Clutch", 1);
    out.put("SteeringWheelAngle", 0.9 * bend);
    out.put("YawRate", yaw);
    out.put("LatAccel", yaw * car.speed);
    out.put("LongAccel", accel);
    out.put("VelocityX", car.speed);
    out.put("VelocityY", car.speed > 5 ? slide : 0);
}

void putPlayersFuel(const IrDrive& drive, const DriveCar& car, IrSampleWriter& out) {
    // Three litres a lap, filled up when it runs out.
    const double used = drive.fuelCapacity - drive.startFuel + drive.model.time / car.lapTime * 3;
    const double level = drive.fuelCapacity - std::fmod(used, drive.fuelCapacity);
    out.put("FuelLevel", level);
    out.put("FuelLevelPct", level / drive.fuelCapacity);
}

int32_t spotterWord(const DriveModel& model, const DriveCar& me) {
    const double length = 6 / model.trackLength;
    for (const DriveCar& car : model.cars) {
        const double gap = car.lapDistPct - me.lapDistPct;
        if (&car != &me && car.inWorld && !car.onPitRoad &&
            std::abs(gap - std::round(gap)) < length)
            return car.carIdx % 2 ? 2 : 3; // on the left, on the right
    }
    return 1; // clear
}

/// Session time left; below 0 while the clock stands.
double timeLeft(const IrDrive& drive) {
    const double gone = drive.model.time;
    if (!drive.onGrid) return std::max(drive.startRemain - gone, 0.0);
    return gone < kGreenAfter ? -1 : std::max(drive.total - (gone - kGreenAfter), 0.0);
}

void putSession(const IrDrive& drive, IrSampleWriter& out) {
    const DriveModel& model = drive.model;
    out.put("SessionTime", drive.startTime + model.time);
    const bool unlimited = drive.startRemain >= 86400 || (drive.onGrid && !(drive.total > 0));
    const double left = timeLeft(drive);
    out.put("SessionTimeRemain", unlimited ? drive.startRemain : left);
    bool over = !unlimited && left == 0;
    if (drive.lapsTotal > 0) {
        int32_t leaderLap = 0;
        for (const DriveCar& car : model.cars)
            if (car.inWorld) leaderLap = std::max(leaderLap, car.lap);
        out.put("SessionLapsRemainEx", std::max(drive.lapsTotal - leaderLap + 1, 0));
        over = over || leaderLap > drive.lapsTotal;
    }
    if (over || drive.state >= 5) {
        out.put("SessionState", std::max(drive.state, 5));
        out.put("SessionFlags", drive.flags | vt::kIrFlagCheckered);
    } else if (drive.onGrid && model.time >= kGreenAfter) {
        const bool waving = model.time < kGreenAfter + 10;
        out.put("SessionState", 4);
        out.put("SessionFlags", waving ? drive.flags | vt::kIrFlagGreen : drive.flags);
    }
}

} // namespace

IrDrive startIrDrive(const IrImage& image) {
    IrDrive drive;
    const vt::IrSample sample{image.vars, image.sample};
    const int32_t session = sample.integer("SessionNum");
    drive.startTime = sample.number("SessionTime");
    drive.startRemain = sample.number("SessionTimeRemain");
    drive.startFuel = sample.number("FuelLevel");
    drive.fuelCapacity =
        std::max({static_cast<double>(image.text.fuelCapacity), drive.startFuel, 20.0});
    if (image.text.maxRpm > 0) drive.maxRpm = static_cast<double>(image.text.maxRpm);
    drive.state = sample.integer("SessionState");
    drive.flags = sample.bits("SessionFlags") & ~uint32_t{vt::kIrFlagCheckered};
    const int32_t laps = sample.integer("SessionLapsTotal");
    drive.lapsTotal = laps > 0 && laps < 32767 ? laps : 0;
    drive.player = image.text.playerCarIdx;
    drive.model.trackLength = std::max(static_cast<double>(image.text.trackLength), 500.0);
    drive.model.race = session >= 0 && static_cast<size_t>(session) < image.text.sessions.size() &&
                       image.text.sessions[static_cast<size_t>(session)].isRace == 1;
    drive.onGrid = drive.model.race && drive.state < 4;
    const double total = sample.number("SessionTimeTotal");
    drive.total = total < 86400 ? total : 0;
    // After the flag the cars park in any order: the result stays.
    drive.model.rank = drive.state < 5;

    std::map<std::string, int32_t> classes;
    for (const vt::IrDriver& driver : image.text.drivers) {
        if (!driver.present || driver.isPaceCar || driver.isSpectator) continue;
        const auto found =
            classes.try_emplace(driver.className, static_cast<int32_t>(classes.size())).first;
        drive.model.cars.push_back(makeCar(image, sample, driver.carIdx, found->second));
    }
    sendOut(drive.model, drive.player);
    startDrive(drive.model);
    return drive;
}

void stepIrDrive(IrDrive& drive, double dt, IrSampleWriter out) {
    stepDrive(drive.model, dt);
    putSession(drive, out);
    for (const DriveCar& car : drive.model.cars) {
        putCar(car, out);
        if (car.carIdx != drive.player) continue;
        putPlayersLap(drive, car, out);
        putPlayersControls(drive, car, dt, out);
        putPlayersFuel(drive, car, out);
        out.put("CarLeftRight", spotterWord(drive.model, car));
    }
}

} // namespace player
