// The session text of a race of the driver model, as iRacing writes it.
#include "iracing_model.h"
#include "wire_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace player {

namespace {

using model::SessionKind;

struct KindWords {
    const char *type, *name;
};
constexpr KindWords kKinds[] = {
    {"Practice", "PRACTICE"}, {"Open Qualify", "QUALIFY"}, {"Race", "RACE"}};

__attribute__((format(printf, 2, 3))) void add(std::string& out, const char* form, ...) {
    char line[512];
    va_list values;
    va_start(values, form);
    const int length = std::vsnprintf(line, sizeof line, form, values);
    va_end(values);
    out.append(line, static_cast<size_t>(std::clamp(length, 0, static_cast<int>(sizeof line) - 1)));
}

std::string dateOf(time_t moment) {
    tm parts{};
    gmtime_r(&moment, &parts);
    char out[32];
    std::strftime(out, sizeof out, "%Y-%m-%d", &parts);
    return out;
}

void addWeekend(std::string& out, const model::Race& race, time_t start, const std::string& file) {
    const model::Circuit& c = race.circuit;
    const IrPlace place = irPlaceOf(c);
    const std::string date = dateOf(start);
    out += "---\nWeekendInfo:\n";
    add(out, " TrackName: %s\n TrackID: %d\n", c.name.c_str(), irTrackId(c));
    add(out, " TrackLength: %.2f km\n TrackLengthOfficial: %.2f km\n", c.length / 1000,
        c.length / 1000);
    add(out, " TrackDisplayName: %s\n TrackDisplayShortName: %s\n", c.name.c_str(), c.name.c_str());
    out += " TrackConfigName: Grand Prix\n TrackCity: Nowhere\n TrackCountry: None\n";
    add(out, " TrackAltitude: 180.00 m\n TrackLatitude: %.6f m\n TrackLongitude: %.6f m\n",
        place.latitude, place.longitude);
    add(out, " TrackNorthOffset: 1.5708 rad\n TrackNumTurns: %zu\n", race.corners.size());
    add(out, " TrackPitSpeedLimit: %.2f kph\n", c.pitLimit * 3.6);
    out += " TrackType: road course\n TrackDirection: neutral\n TrackWeatherType: Static\n";
    add(out, " TrackSurfaceTemp: %.2f C\n TrackAirTemp: %.2f C\n", race.settings.trackTemp,
        race.settings.airTemp);
    add(out, " TrackPrecipitation: %.0f %%\n", 100 * race.settings.rain);
    out += " SeriesID: 0\n SeasonID: 0\n SessionID: 0\n SubSessionID: 0\n LeagueID: 0\n"
           " Official: 0\n RaceWeek: 0\n";
    add(out, " EventType: %s\n", kKinds[static_cast<size_t>(race.settings.session)].type);
    add(out, " Category: Road\n SimMode: full\n TeamRacing: 0\n NumCarClasses: %zu\n",
        race.classes.size());
    add(out, " NumCarTypes: %zu\n", race.classes.size());
    out += " BuildType: Release\n BuildTarget: Members\n BuildVersion: 2026.06.10.01\n"
           " WeekendOptions:\n  CourseCautions: full\n";
    add(out, "  NumStarters: %zu\n  StandingStart: %d\n", race.cars.size(),
        !race.settings.rollingStart);
    add(out, "  TimeOfDay: 12:00 pm\n  Date: %s\n", date.c_str());
    out += "  Unofficial: 1\n  IsFixedSetup: 0\n  IncidentLimit: unlimited\n"
           "  FastRepairsLimit: unlimited\n TelemetryOptions:\n";
    add(out, "  TelemetryDiskFile: \"%s\"\n\n", file.c_str());
}

void addSession(std::string& out, int number, const IrSessionLine& session) {
    const KindWords& words = kKinds[static_cast<size_t>(session.kind)];
    add(out, " - SessionNum: %d\n", number);
    if (session.laps > 0)
        add(out, "   SessionLaps: %d\n   SessionTime: unlimited\n", session.laps);
    else
        add(out, "   SessionLaps: unlimited\n   SessionTime: %.4f sec\n", session.minutes * 60);
    add(out, "   SessionNumLapsToAvg: 0\n   SessionType: %s\n", words.type);
    add(out, "   SessionTrackRubberState: moderate usage\n   SessionName: %s\n", words.name);
    out += "   SessionSubType: \n   SessionSkipped: 0\n   SessionRunGroupsUsed: 0\n"
           "   ResultsPositions:\n";
    const IrSessionLine::Result* best = nullptr;
    int position = 0;
    for (const IrSessionLine::Result& r : session.results) {
        add(out, "   - Position: %d\n     ClassPosition: %d\n     CarIdx: %d\n     Lap: %d\n",
            ++position, r.classPosition, r.carIdx, r.laps);
        add(out, "     Time: %.4f\n     FastestLap: %d\n     FastestTime: %.4f\n", r.time,
            r.fastestLap, r.fastest);
        add(out, "     LastTime: %.4f\n     LapsLed: 0\n     LapsComplete: %d\n", r.last, r.laps);
        add(out, "     JokerLapsComplete: 0\n     LapsDriven: %d\n     Incidents: %d\n", r.laps,
            r.incidents);
        out += "     ReasonOutId: 0\n     ReasonOutStr: Running\n";
        if (r.fastest > 0 && (!best || r.fastest < best->fastest)) best = &r;
    }
    add(out,
        "   ResultsFastestLap:\n   - CarIdx: %d\n     FastestLap: %d\n     FastestTime: %.4f\n",
        best ? best->carIdx : 255, best ? best->fastestLap : 0, best ? best->fastest : -1);
    out += "   ResultsAverageLapTime: -1\n   ResultsNumCautionFlags: 0\n"
           "   ResultsNumCautionLaps: 0\n   ResultsNumLeadChanges: 0\n"
           "   ResultsLapsComplete: -1\n   ResultsOfficial: 0\n";
}

void addDriver(std::string& out, const model::Race& race, const model::Car& car) {
    const model::CarClass& kind = model::classOf(race, car);
    const std::string name = car.firstName + " " + car.lastName;
    add(out, " - CarIdx: %d\n   UserName: %s\n   UserID: %d\n   TeamID: 0\n   TeamName: %s\n",
        car.index, name.c_str(), 100000 + car.index, car.team.c_str());
    add(out, "   CarNumber: \"%d\"\n   CarNumberRaw: %d\n   CarPath: %s\n", car.number, car.number,
        kind.modelKey.c_str());
    add(out, "   CarClassID: %d\n   CarID: %d\n", 4000 + car.classIndex, 100 + car.classIndex);
    out += "   CarIsPaceCar: 0\n   CarIsAI: 0\n   CarIsElectric: 0\n";
    add(out, "   CarScreenName: %s\n   CarScreenNameShort: %s\n   CarClassShortName: %s\n",
        kind.model.c_str(), kind.model.c_str(), kind.name.c_str());
    out += "   CarClassMaxFuelPct: 1.000 %\n   CarClassWeightPenalty: 0.000 kg\n"
           "   CarClassPowerAdjust: 0.000 %\n";
    add(out, "   CarClassEstLapTime: %.4f\n   IRating: %d\n   LicString: %s\n",
        race.lapTimes[static_cast<size_t>(car.classIndex)], car.skill,
        car.skill > 3000 ? "A 3.20" : "B 2.41");
    add(out, "   IsSpectator: 0\n   CurDriverIncidentCount: %d\n   TeamIncidentCount: %d\n",
        car.incidents, car.incidents);
}

void addDrivers(std::string& out, const model::Race& race) {
    const auto cars = std::min<size_t>(race.cars.size(), kIrModelCars);
    const bool paceCar = race.cars.size() > 1;
    const model::Car& me = model::player(race);
    const model::CarClass& kind = model::classOf(race, me);
    add(out, "DriverInfo:\n DriverCarIdx: %d\n DriverUserID: 100000\n PaceCarIdx: %d\n", me.index,
        paceCar ? static_cast<int>(cars) : -1);
    add(out, " DriverCarIdleRPM: %.3f\n DriverCarRedLine: %.3f\n", kind.idleRpm, kind.maxRpm);
    out += " DriverCarEngCylinderCount: 8\n DriverCarFuelKgPerLtr: 0.750\n";
    add(out, " DriverCarFuelMaxLtr: %.3f\n DriverCarMaxFuelPct: 1.000\n", kind.fuelCapacity);
    add(out, " DriverCarGearNumForward: %d\n DriverCarSLFirstRPM: %.3f\n", kind.gears,
        0.85 * kind.maxRpm);
    add(out, " DriverCarSLShiftRPM: %.3f\n DriverCarSLLastRPM: %.3f\n", 0.95 * kind.maxRpm,
        kind.maxRpm);
    add(out, " DriverCarSLBlinkRPM: %.3f\n DriverPitTrkPct: %.6f\n", 0.98 * kind.maxRpm,
        me.stallPct);
    add(out, " DriverCarEstLapTime: %.4f\n DriverSetupName: model.sto\n",
        race.lapTimes[static_cast<size_t>(me.classIndex)]);
    add(out, " DriverIncidentCount: %d\n Drivers:\n", me.incidents);
    for (size_t i = 0; i < cars; ++i)
        addDriver(out, race, race.cars[i]);
    if (paceCar)
        add(out,
            " - CarIdx: %zu\n   UserName: Pace Car\n   CarNumber: \"0\"\n   CarNumberRaw: 0\n"
            "   CarPath: safety pacecar\n   CarClassID: 11\n   CarIsPaceCar: 1\n"
            "   CarScreenName: Pace Car\n   CarClassShortName: \n   IRating: 0\n"
            "   LicString: R 0.01\n   IsSpectator: 0\n",
            cars);
}

void addSetup(std::string& out, const model::Race& race) {
    out += "\nCarSetup:\n UpdateCount: 1\n TiresAero:\n";
    for (const char* wheel : {"LeftFront", "LeftRear", "RightFront", "RightRear"})
        add(out,
            "  %sTire:\n   StartingPressure: 160.0 kPa\n   TreadRemaining: 100%%, 100%%, 100%%\n",
            wheel);
    out += "  AeroPackage:\n   RearWingAngle: 6\n Chassis:\n  FrontEnd:\n"
           "   BrakePressureBias: 54.5%\n   ArbBlades: 3\n  Rear:\n";
    add(out, "   FuelLevel: %.1f L\n", race.settings.startFuel);
    out += "   RideHeight: 74.0 mm\n   Camber: -2.0 deg\n  InCarDials:\n   AbsSetting: 3 (ABS)\n"
           "   TractionControlSetting: 4 (TC)\n\n...\n";
}

} // namespace

IrSessionLine irSessionLine(const model::Race& race) {
    IrSessionLine out{race.settings.session, race.settings.laps, race.settings.minutes, {}};
    const bool isRace = race.settings.session == SessionKind::race;
    for (const int index : race.order) {
        const model::Car& car = race.cars[static_cast<size_t>(index)];
        if (index >= kIrModelCars || car.lap < 1) continue;
        IrSessionLine::Result r;
        r.carIdx = index;
        r.classPosition = car.classPosition - 1; // counted from 0 here
        r.laps = car.lap;
        r.incidents = car.incidents;
        if (car.lastLap > 0) r.last = car.lastLap;
        if (car.bestLap > 0) r.fastest = car.bestLap;
        for (const model::LapRecord& lap : race.laps)
            if (lap.car == index && lap.time == car.bestLap) r.fastestLap = lap.lap + 1;
        r.time = isRace ? car.gapToLeader : r.fastest;
        out.results.push_back(r);
    }
    return out;
}

std::string irSessionText(const model::Race& race, const std::vector<IrSessionLine>& sessions,
                          time_t start, const std::string& file) {
    std::string out;
    addWeekend(out, race, start, file);
    out += "SessionInfo:\n Sessions:\n";
    for (size_t i = 0; i < sessions.size(); ++i)
        addSession(out, static_cast<int>(i), sessions[i]);
    out += "\n";
    addDrivers(out, race);
    out += "\nSplitTimeInfo:\n Sectors:\n";
    for (int i = 0; i < 3; ++i)
        add(out, " - SectorNum: %d\n   SectorStartPct: %.6f\n", i, race.circuit.sectorStarts[i]);
    addSetup(out, race);
    return windows1252(out);
}

} // namespace player
