// From frames to the store: what a drive leaves there, and what it must not.
#include "driver_model/driver_model.h"
#include "perf/session_watch.h"
#include "support/perf_samples.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vt {
namespace {

constexpr double kStep = 1.0 / 60;

/// A drive through the ring, as pump and tick do it: the pump at 60 Hz, the tick every third time.
struct Drive {
    test::ScratchFolder folder;
    PerfStore store;
    PerfRing ring;
    std::unique_ptr<SessionSaver> saver;
    SessionWatch watch;
    model::Race race;
    SimFrame frame;
    WatchSettings settings{.nowUnix = 1'790'000'000};
    int32_t simKind = kSimLmu;
    int ticks = 0;

    explicit Drive(const char* name, const model::Settings& how)
        : folder(name), store(folder.text()),
          saver(std::make_unique<SessionSaver>(store)), watch{.ring = ring, .saver = *saver},
          race(model::startRace(how, model::builtInCircuit("oval"))) {}

    void show(bool onTrack) {
        model::fillFrame(race, frame);
        frame.simKind = simKind;
        frame.isOnTrack = onTrack ? 1 : 0;
        std::strcpy(frame.carName, "Falcon GT3");
        perfPushSample(ring, frame, false, 0);
        if (ticks++ % 3 == 0 || !onTrack) trackerDrain(watch, frame, settings);
    }
    void untilLap(int lap) {
        for (int i = 0; i < 60 * 600 && model::player(race).lap < lap; ++i) {
            model::stepRace(race, kStep);
            show(true);
        }
        for (int i = 0; i < 90; ++i) { // the time of the last lap may come late
            model::stepRace(race, kStep);
            show(true);
        }
    }
    void leave() {
        for (int i = 0; i < 5; ++i)
            show(false);
    }
    /// Waits for the disk.
    std::vector<SessionRecord> stored() {
        saver = nullptr;
        saver = std::make_unique<SessionSaver>(store);
        return store.loadSessions(simKind, "Falcon GT3", frame.trackName);
    }
};

model::Settings alone(int laps) {
    model::Settings how;
    how.laps = laps;
    how.session = model::SessionKind::race;
    return how;
}

TEST(SessionWatch, AStintIsStoredWhenTheCarLeavesTheTrack) {
    Drive drive("vt_watch", alone(20));
    drive.untilLap(4);
    EXPECT_EQ(drive.store.loadSessions(kSimLmu, "Falcon GT3", drive.frame.trackName).size(), 0u)
        << "nothing is written while driving";
    drive.leave();
    const auto sessions = drive.stored();
    ASSERT_EQ(sessions.size(), 1u);
    const SessionRecord& session = sessions[0];
    size_t own = 0;
    for (const model::LapRecord& lap : drive.race.laps) {
        if (lap.car != 0 || lap.lap < 0) continue;
        if (own >= session.laps.size()) break;
        EXPECT_NEAR(session.laps[own].lapTime, lap.time, 0.02) << own;
        ++own;
    }
    EXPECT_GE(own, 3u);
    EXPECT_EQ(session.laps.size(), own);
    TraceFile trace;
    ASSERT_TRUE(traceRead(drive.store.tracePath(session), trace));
    EXPECT_EQ(trace.laps.size(), session.laps.size());
    EXPECT_TRUE(trace.laps.back().valid);
    CommitResult result;
    EXPECT_FALSE(drive.saver->take(result)) << "results of the first saver went with it";
}

TEST(SessionWatch, MadeUpAndUnwantedDrivesAreNot) {
    Drive demo("vt_watch_demo", alone(20));
    demo.settings.synthetic = true;
    demo.untilLap(2);
    demo.leave();
    EXPECT_TRUE(demo.stored().empty());

    Drive off("vt_watch_off", alone(20));
    off.settings.loggingEnabled = false;
    off.untilLap(1);
    off.settings.loggingEnabled = true; // too late for this stint
    off.untilLap(2);
    off.leave();
    EXPECT_TRUE(off.stored().empty());

    Drive other("vt_watch_other", alone(20));
    other.simKind = kSimAms2;
    other.untilLap(2);
    other.leave();
    EXPECT_TRUE(other.stored().empty());
}

TEST(SessionWatch, AnotherSessionOrTheEndOfTheProgramLosesNothing) {
    Drive drive("vt_watch_next", alone(30));
    drive.untilLap(2);
    std::strcpy(drive.frame.sessionName, "");
    SimFrame next = drive.frame;
    std::strcpy(next.sessionName, "Qualify");
    next.simKind = kSimLmu;
    trackerDrain(drive.watch, next, drive.settings);
    EXPECT_EQ(drive.watch.tracker.lapCount(), 0);
    drive.untilLap(5); // under the first name again: a stint of its own
    drive.settings.nowUnix += 300;
    finishWatch(drive.watch, drive.settings);
    const auto sessions = drive.stored();
    ASSERT_EQ(sessions.size(), 2u);
    EXPECT_GE(sessions[0].laps.size(), 1u);
    EXPECT_GE(sessions[1].laps.size(), 1u);
}

} // namespace
} // namespace vt
