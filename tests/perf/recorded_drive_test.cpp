// What the recorder makes of a drive, held against the drive itself.
#include "base/log.h"
#include "driver_model/driver_model.h"
#include "perf/session_tracker.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace vt {
namespace {

constexpr double kStep = 1.0 / 60;

/// Laps with a stop and an off, through frames and samples, and the truth beside them.
struct ModelDrive {
    model::Race race;
    SessionTracker tracker;
    std::vector<std::vector<model::Car>> ways; // per finished lap, a car a tick

    explicit ModelDrive(const model::Settings& how)
        : race(model::startRace(how, model::builtInCircuit("club"))) {}
    void run(int laps) {
        SimFrame frame;
        std::vector<model::Car> way;
        int lap = -1;
        for (int i = 0; i < 60 * 1200 && model::player(race).lap < laps; ++i) {
            model::stepRace(race, kStep);
            const model::Car& car = model::player(race);
            model::fillFrame(race, frame);
            frame.simKind = kSimLmu;
            frame.yawNorth = static_cast<float>(M_PI / 2 - car.heading); // clockwise from north
            trackerTick(tracker, perfSampleOf(frame, false, 0));
            if (car.lap != lap && lap >= 0) ways.push_back(std::move(way));
            if (car.lap != lap) way.clear();
            lap = car.lap;
            way.push_back(car);
        }
    }
};

TEST(RecordedDrive, TellsTheRaceThatWasDriven) {
    model::Settings how;
    how.laps = 30;
    how.pitEvery = 3;
    how.faults = {{.kind = model::FaultKind::offTrack, .lap = 5, .at = 0.55, .amount = 3}};
    ModelDrive drive(how);
    drive.run(8);
    std::vector<model::LapRecord> truth;
    for (const model::LapRecord& lap : drive.race.laps)
        if (lap.lap >= 0) truth.push_back(lap);
    const StintData stint = drive.tracker.take();
    ASSERT_EQ(stint.laps.size(), truth.size());
    ASSERT_GE(truth.size(), 8u);
    ASSERT_EQ(stint.trace.laps.size(), truth.size());
    int ins = 0, outs = 0, invalid = 0;
    float best = 1e9f;
    for (size_t i = 0; i < truth.size(); ++i) {
        const LapRecord& lap = stint.laps[i];
        EXPECT_NEAR(lap.lapTime, truth[i].time, 0.001) << i;
        ASSERT_EQ(lap.sectorCount, 3);
        for (int s = 0; s < 3; ++s)
            EXPECT_NEAR(lap.sectorSec[s], truth[i].sectors[s], 0.035) << i << " sector " << s;
        EXPECT_EQ(lap.inLap, truth[i].inLap) << i;
        EXPECT_EQ(lap.outLap, truth[i].outLap) << i;
        EXPECT_EQ(lap.invalid == 0, truth[i].valid) << i;
        if (lap.outLap) {
            EXPECT_EQ(lap.tyreLaps, 0);
        }
        if (lap.invalid == 0) best = std::min(best, lap.lapTime);
        ins += lap.inLap;
        outs += lap.outLap;
        invalid += lap.invalid != 0;
        const LapTrace& trace = stint.trace.laps[i];
        EXPECT_TRUE(trace.valid) << i;
        EXPECT_EQ(trace.lapTime, lap.lapTime);
        EXPECT_NEAR(trace.elapsed[stint.trace.binCount / 2 * 2 - 10], lap.lapTime, 1.0) << i;
        EXPECT_NEAR(trace.fuelStart - lap.fuelStartL, 0, 1e-6);
    }
    EXPECT_GE(ins, 2);
    EXPECT_GE(outs, 2);
    EXPECT_EQ(invalid, 1);
    EXPECT_EQ(stint.summary.bestLapTime, best);
    ASSERT_TRUE(stint.hasBestTrace);
    EXPECT_NEAR(stint.bestTrace[199].lapTimeSec, best, 0.6);

    // The reckoned way of a lap without a stop lies on the true one.
    EXPECT_EQ(stint.trace.originLat, kDeadReckonedOrigin);
    const LapTrace& lap = stint.trace.laps[1];
    const auto& way = drive.ways[1];
    ASSERT_FALSE(stint.laps[1].inLap || stint.laps[1].outLap);
    double worst = 0;
    for (const model::Car& car : way) {
        const auto bin = static_cast<size_t>(std::min(car.pct, 0.999) * stint.trace.binCount);
        const double dx = lap.x[bin] - (car.x - way[0].x), dy = lap.y[bin] - (car.y - way[0].y);
        worst = std::max(worst, std::hypot(dx, dy));
        EXPECT_NEAR(lap.speed[bin], car.speed, 1.0);
    }
    RecordProperty("worstMetres", std::to_string(worst));
    EXPECT_LT(worst, 5); // m; 1.2 of them between two ticks at 70 m/s

    const TrackEventGrid& events = stint.trace.events;
    size_t offs = 0, backs = 0;
    for (size_t i = 0; i < events.binCount; ++i) {
        offs += events.offEnter[i];
        backs += events.offExit[i];
    }
    EXPECT_EQ(offs, 1u);
    EXPECT_EQ(backs, 1u);
    const model::Circuit& circuit = drive.race.circuit;
    EXPECT_NEAR(events.conesEnter, circuit.pitEntry * events.binCount, 4);
    EXPECT_NEAR(events.conesExit, circuit.pitExit * events.binCount, 4);

    ASSERT_GE(stint.corners.size(), 3u);
    for (const CornerRecord& corner : stint.corners) {
        EXPECT_LT(corner.entryPct, corner.exitPct);
        EXPECT_LE(corner.minSpeed, corner.avgSpeed);
        EXPECT_LE(corner.avgSpeed, corner.maxSpeed);
        EXPECT_GT(corner.peakLatG, 0.4f);
    }
    EXPECT_EQ(drive.tracker.lapCount(), 0);
}

/// A car that goes round 1000 m at an even pace; what is asked for is changed on the way.
struct EvenDrive {
    SessionTracker tracker;
    double time = 100, lapTime = 20, pct = 0;
    int lap = 1;
    PerfSample base;
    /// Sees each sample before the tracker; false keeps it back.
    std::function<bool(PerfSample&)> change = [](PerfSample&) { return true; };

    EvenDrive() {
        base.isOnTrack = true;
        base.trackSurface = 3;
        base.trackLength = 1000;
        base.speed = 50;
        base.incidents = 0;
    }
    void step() {
        time += kStep;
        pct += kStep / lapTime;
        if (pct >= 1) {
            pct -= 1;
            ++lap;
        }
        PerfSample s = base;
        s.sessionTime = time;
        s.lapPct = static_cast<float>(pct);
        s.lap = lap;
        if (change(s)) trackerTick(tracker, s);
    }
    /// To the first tick of that lap, and `seconds` on.
    void untilLap(int wanted, double seconds = 0) {
        while (lap < wanted)
            step();
        for (double end = time + seconds; time < end;)
            step();
    }
};

TEST(RecordedDrive, TheSimsOwnLapTimeCountsWhenItComesInTimeAndFits) {
    struct Case {
        const char* name;
        double after; // s after the lap's end
        float off;    // s from what was measured
        bool taken;
    };
    const Case cases[] = {{"with the line", 0, 0.3f, true},
                          {"a little before the counter", -0.9, 0.3f, true},
                          {"long before: of another lap", -1.1, 0.3f, false},
                          {"soon after", 0.9, 0.3f, true},
                          {"late", 1.1, -0.3f, true},
                          {"much later, still waited for", 15, 0.3f, true},
                          {"too far off", 0, 0.6f, false},
                          {"too far off, late", 1.1, -0.6f, false}};
    for (const Case& c : cases) {
        EvenDrive drive;
        const double end = 100 + 2 * drive.lapTime; // of the second lap
        drive.change = [&](PerfSample& s) {
            if (s.lap > 1) s.lastLapTime = 20.01f; // the first lap has its time
            if (s.sessionTime > end + c.after + 1e-6 && s.sessionTime > 130)
                s.lastLapTime = 20 + c.off;
            return true;
        };
        drive.untilLap(3, 16);
        ASSERT_EQ(drive.tracker.lapCount(), 2) << c.name;
        const float expected = c.taken ? 20 + c.off : 20;
        EXPECT_NEAR(drive.tracker.laps()[1].lapTime, expected, 0.02) << c.name;
        EXPECT_EQ(drive.tracker.traces()[1].lapTime, drive.tracker.laps()[1].lapTime) << c.name;
        EXPECT_NEAR(drive.tracker.summary().bestLapTime, std::min(expected, 20.0f), 0.02) << c.name;
    }
    // A time that comes with the next line belongs to the lap that it fits.
    EvenDrive drive;
    drive.change = [&](PerfSample& s) {
        if (s.lap >= 2) drive.lapTime = 20.4;
        if (s.lap >= 3) s.lastLapTime = 20.45f;
        return true;
    };
    drive.untilLap(3, 2);
    EXPECT_NEAR(drive.tracker.laps()[0].lapTime, 20, 0.02);
    EXPECT_EQ(drive.tracker.laps()[1].lapTime, 20.45f);
}

TEST(RecordedDrive, LapsThatWereNotDrivenWholeAreNoLaps) {
    struct Case {
        const char* name;
        double lapTime;
        std::function<bool(EvenDrive&, PerfSample&)> change;
        int laps; // of three
        uint32_t resets;
    };
    const auto second = [](const PerfSample& s, float from, float to) {
        return s.lap == 2 && s.lapPct > from && s.lapPct < to;
    };
    const auto once = [](bool now, bool& done) { return now && !done && (done = true); };
    bool done = false;
    const Case cases[] = {
        {"whole", 20, [](EvenDrive&, PerfSample&) { return true; }, 3, 0},
        {"5 s are too short", 4.97, [](EvenDrive&, PerfSample&) { return true; }, 0, 0},
        {"a little more is not", 5.1, [](EvenDrive&, PerfSample&) { return true; }, 3, 0},
        {"20 of 200 bins missing", 20,
         [&](EvenDrive&, PerfSample& s) { return !second(s, 0.298f, 0.402f); }, 3, 0},
        {"21 missing", 20, [&](EvenDrive&, PerfSample& s) { return !second(s, 0.298f, 0.407f); }, 2,
         0},
        {"a leap on the track", 20,
         [&](EvenDrive& drive, PerfSample& s) {
             if (once(second(s, 0.3f, 1), done)) s.lapPct = static_cast<float>(drive.pct += 0.3);
             return true;
         },
         2, 1},
        {"two laps at once", 20,
         [&](EvenDrive& drive, PerfSample& s) {
             if (once(second(s, 0.3f, 1), done)) s.lap = drive.lap += 2;
             return true;
         },
         1, 1},
        {"the reader says so, between two times", 20,
         [&](EvenDrive& drive, PerfSample& s) {
             if (!once(second(s, 0.3f, 1), done)) return true;
             s.resetFlag = true;
             s.sessionTime = drive.time - kStep;
             return true;
         },
         2, 1},
    };
    for (const Case& c : cases) {
        done = false;
        EvenDrive drive;
        drive.lapTime = c.lapTime;
        drive.change = [&](PerfSample& s) { return c.change(drive, s); };
        drive.untilLap(4, 2);
        EXPECT_EQ(drive.tracker.lapCount(), c.laps) << c.name;
        EXPECT_EQ(drive.tracker.traces().size(), static_cast<size_t>(c.laps)) << c.name;
        EXPECT_EQ(drive.tracker.resets(), c.resets) << c.name;
    }
}

TEST(RecordedDrive, TracesFillGapsLoseDriftAndNeverRunBackInTime) {
    std::string logged;
    setLogSink([](void* to, std::string_view line) { *static_cast<std::string*>(to) += line; },
               &logged);
    EvenDrive drive;
    drive.base.lateralOk = true;
    drive.change = [&](PerfSample& s) {
        s.lateralM = 5 + 4 * s.lapPct + std::sin(6.2831853f * s.lapPct); // an offset that runs away
        s.trackLength = s.lap == 1 ? 0.0f : 1000.9f;                     // learned late
        if (s.lap == 3 && s.lapPct < 0.002f) s.lap = 2; // the counter follows the place
        if (s.lap == 3 && s.lapPct > 0.5f && s.lapPct < 0.503f) s.lapPct -= 0.1f; // spins back
        return !(s.lap == 4 && s.lapPct > 0.2f && s.lapPct < 0.24f);              // 40 bins, 0.8 s
    };
    drive.untilLap(5, 1);
    setLogSink(nullptr, nullptr);
    const StintData stint = drive.tracker.take();
    ASSERT_EQ(stint.laps.size(), 4u);
    ASSERT_EQ(stint.trace.binCount, 1000u);
    EXPECT_TRUE(stint.trace.laps[0].have.empty()) << "driven before the length was known";
    EXPECT_EQ(stint.trace.originLat, 0);
    for (size_t i = 1; i < 4; ++i) {
        const LapTrace& lap = stint.trace.laps[i];
        ASSERT_TRUE(lap.valid && lap.hasLateral) << i;
        EXPECT_NEAR(lap.elapsed[250], 5, 0.1) << i;
        EXPECT_NEAR(lap.elapsed[750], 15, 0.1) << i;
        float last = 0, sum = 0, count = 0;
        for (size_t bin = 0; bin < 1000; ++bin) {
            if (!lap.have[bin]) continue;
            EXPECT_GE(lap.elapsed[bin], last);
            last = lap.elapsed[bin];
            sum += lap.lateral[bin];
            ++count;
        }
        EXPECT_NEAR(sum / count, 0, 0.001) << i;
        EXPECT_NEAR(lap.lateral[250], 1, 0.05) << i;
        EXPECT_NEAR(lap.lateral[750], -1, 0.05) << i;
    }
    EXPECT_EQ(stint.trace.laps[3].have[220], 1);
    EXPECT_NEAR(stint.trace.laps[3].elapsed[220], 4.4, 0.03);
    EXPECT_NE(logged.find("elapsed channel went backwards"), std::string::npos);
}

TEST(RecordedDrive, TimeBehindACarIsCountedWhileItStaysClose) {
    EvenDrive drive;
    drive.change = [](PerfSample& s) {
        const float p = s.lapPct;
        s.trafficGap = p < 0.2f   ? 1.2f                  // not close yet
                       : p < 0.5f ? 0.8f                  // held up
                       : p < 0.6f ? 0.8f + (p - 0.5f) * 5 // it drives away, 0.25 s a second
                       : p < 0.7f ? 1.3f                  // held up: still close
                       : p < 0.8f ? 1.5f                  // no longer
                                  : -1.0f;
        s.noGapData = s.lap == 3 && p > 0.5f && p < 0.51f;
        return true;
    };
    drive.untilLap(4);
    EXPECT_NEAR(drive.tracker.laps()[1].trafficSec, 8, 0.1);
    EXPECT_NEAR(drive.tracker.laps()[1].trafficWorstPct, 0.2, 0.01);
    EXPECT_EQ(drive.tracker.laps()[2].trafficSec, -1);
    EXPECT_EQ(drive.tracker.laps()[2].trafficWorstPct, -1);
}

} // namespace
} // namespace vt
