#include "app/enrich.h"
#include "app/frame_guard.h"
#include "app/sim_pump.h"
#include "base/log.h"
#include "support/eventually.h"
#include "support/scripted_race.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <limits>
#include <mutex>
#include <sstream>
#include <thread>

namespace vt {
namespace {

// ---- what readers deliver -----------------------------------------------------------------------

/// The fields as the header declares them.
int declared(const std::string& header, const std::string& record) {
    const size_t begin = header.find("struct " + record + " {");
    const std::string body = header.substr(begin, header.find("\n};", begin) - begin);
    int count = 0;
    for (const char* type : {"\n    float ", "\n    double "})
        for (size_t at = body.find(type); at != std::string::npos; at = body.find(type, at + 1))
            ++count;
    return count;
}

TEST(FrameGuard, LooksAtEveryNumberOfTheFrame) {
    std::ifstream file(VT_SOURCE_DIR "/src/telemetry/sim_frame.h");
    ASSERT_TRUE(file);
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_EQ(guardedFrameFields(), declared(text.str(), "SimFrame"));
    EXPECT_EQ(guardedRowFields(), declared(text.str(), "CarRow"));
}

const float kBadFloats[] = {std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(), 3e38f, -3e38f};

TEST(FrameGuard, BadNumbersReadAsMissing) {
    for (const float bad : kBadFloats) {
        SimFrame frame;
        frame.waterTemp = frame.fuelLevel = frame.tyreWear[2] = bad;
        frame.timeRemain = static_cast<double>(bad);
        frame.timeTotal = static_cast<double>(bad);
        frame.sectorStarts = {0, bad};
        frame.cars.resize(1);
        frame.cars[0].lapDistPct = frame.cars[0].lastLapTime = frame.cars[0].fuelFraction = bad;
        makeFinite(frame);
        EXPECT_EQ(frame.waterTemp, -1000);
        EXPECT_EQ(frame.fuelLevel, 0);
        EXPECT_EQ(frame.tyreWear[2], -1);
        EXPECT_EQ(frame.timeRemain, -1);
        EXPECT_EQ(frame.timeTotal, -1);
        EXPECT_TRUE(frame.sectorStarts.empty());
        EXPECT_EQ(frame.cars[0].lapDistPct, -1);
        EXPECT_EQ(frame.cars[0].lastLapTime, 0);
        EXPECT_EQ(frame.cars[0].fuelFraction, -1);
    }
}

void expectFinite(const SimFrame& frame, const std::string& what) {
    const double own[] = {frame.lapDistPct,      frame.sessionTime,    frame.sectorDeltaBest,
                          frame.sectorDeltaLast, frame.optimalLapTime, frame.liveDeltaBest,
                          frame.liveDeltaLast,   frame.lapsEstimate,   frame.timeRemain};
    for (const double value : own)
        ASSERT_TRUE(std::isfinite(value)) << what;
    for (const CarRow& row : frame.cars) {
        const double cells[] = {row.gapToPlayer, row.gapToLeader, row.lapEstimate,
                                row.lapDistPct,  row.estTime,     row.lastLapTime};
        for (const double value : cells)
            ASSERT_TRUE(std::isfinite(value)) << what;
    }
}

TEST(Enrich, HostileReadersYieldFiniteNumbers) {
    // A race in which every third tick spoils some fields, for a sim with rings, one that is ranked
    // and one that numbers its sectors.
    const float extremes[] = {kBadFloats[0], kBadFloats[1], kBadFloats[2], 3e38f, -3e38f,
                              1e12f,         -1e12f,        1e-30f,        -5,    17};
    const int indexes[] = {-1,     std::numeric_limits<int>::min(), 511, 512,
                           100000, std::numeric_limits<int>::max()};
    for (const int32_t kind : {kSimIRacing, kSimLmu, kSimRFactor2, kSimAc}) {
        EnrichState state;
        uint32_t random = 12345;
        const auto next = [&](size_t count) {
            random = random * 1664525u + 1013904223u;
            return static_cast<size_t>(random >> 8) % count;
        };
        SimFrame frame;
        for (int step = 0; step < 2400; ++step) {
            raceAt(frame, kind, 20, 3, step * 0.4);
            if (step % 3 == 0) {
                const float bad = extremes[next(std::size(extremes))];
                CarRow& row = frame.cars[next(frame.cars.size())];
                switch (next(9)) {
                case 0:
                    row.lapDistPct = bad;
                    break;
                case 1:
                    row.estTime = bad;
                    break;
                case 2:
                    row.lastLapTime = row.bestLapTime = bad;
                    break;
                case 3:
                    row.carIdx = indexes[next(std::size(indexes))];
                    break;
                case 4:
                    row.lap = indexes[next(std::size(indexes))];
                    break;
                case 5:
                    frame.lapDistPct = bad;
                    break;
                case 6:
                    frame.sessionTime = static_cast<double>(bad);
                    break;
                case 7:
                    frame.timeRemain = static_cast<double>(bad);
                    break;
                case 8:
                    frame.lastLapTime = bad;
                    frame.currentSector = indexes[next(std::size(indexes))];
                    frame.playerCarIdx = indexes[next(std::size(indexes))];
                    frame.sectorStarts[1] = bad;
                    break;
                }
            }
            admitFrame(state, frame);
            enrichFrame(state, frame, 100 + step * 0.4, enrichOffers(kind));
            expectFinite(frame, "kind " + std::to_string(kind) + " step " + std::to_string(step));
            if (HasFatalFailure()) return;
        }
    }
}

TEST(Enrich, APositionLostForATickStartsNothingAnew) {
    EnrichState state;
    SimFrame frame;
    const auto at = [&](double t, bool lost) {
        raceAt(frame, kSimIRacing, 4, 1, t);
        if (lost) {
            frame.lapDistPct = kBadFloats[0];
            frame.sessionTime = static_cast<double>(kBadFloats[1]);
        }
        admitFrame(state, frame);
        enrichFrame(state, frame, 100 + t, enrichOffers(kSimIRacing));
    };
    for (double t = 0; t < 240; t += 0.05)
        at(t, false);
    ASSERT_EQ(frame.liveDeltaBestOk, 1);
    ASSERT_EQ(frame.sectorDeltaBestOk, 1);
    const int measured = frame.cars[0].gapFromRings;
    at(240, true);
    EXPECT_EQ(frame.liveDeltaBestOk, 1);
    EXPECT_EQ(frame.sectorDeltaBestOk, 1);
    EXPECT_EQ(frame.cars[0].gapFromRings, measured);
    at(240.05, false);
    EXPECT_EQ(frame.liveDeltaBestOk, 1);
    EXPECT_EQ(frame.sectorDeltaBestOk, 1);
}

TEST(Enrich, GapsOfTheSimsWithoutRingsComeFromTheEstimate) {
    for (const int32_t kind : {kSimIRacing, kSimLmu, kSimAms2}) {
        EnrichState state;
        SimFrame frame;
        for (double t = 0; t < 120; t += 0.1) {
            raceAt(frame, kind, 3, 1, t);
            frame.cars[0].lapEstimate = 55; // a reader that did not leave it alone
            admitFrame(state, frame);
            enrichFrame(state, frame, 10 + t, enrichOffers(kind));
        }
        EXPECT_EQ(frame.cars[0].gapFromRings, kind != kSimAms2);
        EXPECT_NEAR(frame.cars[0].lapEstimate, kind == kSimAms2 ? 0 : 90, 0.1);
        EXPECT_NEAR(frame.cars[0].gapToPlayer, raceLapTime(0) * (raceWay(0, 120) - raceWay(1, 120)),
                    0.5);
    }
}

TEST(Pump, FamilyTest) {
    const struct {
        int32_t kind, running;
        int gameId;
        bool may;
    } cases[] = {
        {kSimAcc, kSimAcc, -1, true}, {kSimAc, kSimAcc, 4, false},   {kSimAcRally, -1, 5, true},
        {kSimAcc, -1, 1, true},       {kSimAc, -1, 4, true},         {kSimAc, -1, 5, false},
        {kSimAc, -1, -1, false},      {kSimAcEvo, kSimAc, -1, true}, {kSimIRacing, -1, -1, true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(familyMayOpen(c.kind, c.running, c.gameId), c.may) << c.kind << " " << c.running;
    EXPECT_TRUE(familyStolen(kSimAc, kSimAcc));
    EXPECT_FALSE(familyStolen(kSimAc, kSimAc));
    EXPECT_FALSE(familyStolen(kSimAc, kSimNone)) << "nothing is known: it stays";
    EXPECT_FALSE(familyStolen(kSimAcEvo, kSimAc)) << "pages of its own";
}

// ---- the thread ---------------------------------------------------------------------------------

struct RunningPump {
    TripleBuffer buffer;
    PumpWords words;
    ProcessScan scan;
    Clock clock;
    SimPump pump{.buffer = buffer, .words = words, .scan = scan, .clock = clock};
    std::thread thread;

    RunningPump() {
        setLogSink([](void*, std::string_view) {}, nullptr);
    }
    ~RunningPump() {
        stop();
        setLogSink(nullptr, nullptr);
    }
    ScriptedReader* add(SimKind kind, bool available) {
        auto reader = std::make_unique<ScriptedReader>(kind);
        reader->available = available;
        reader->onPoll = [kind, t = 0.0](SimFrame& out) mutable {
            raceAt(out, kind, 24, 2, t += 0.05);
            return true;
        };
        ScriptedReader* made = reader.get();
        pump.readers.push_back(std::move(reader));
        return made;
    }
    void start() {
        thread = std::thread([this] { simPumpMain(pump); });
    }
    void stop() {
        if (!thread.joinable()) return;
        words.pumpStop = 1;
        wakePump(pump);
        thread.join();
    }
    /// Reads until `wanted` holds.
    bool until(const std::function<bool(const SimFrame&)>& wanted) {
        return test::eventually([&] { return wanted(*frameRead(buffer)); });
    }
};

double secondsOf(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

TEST(PumpThread, FindsTheFirstSimLosesItAndFindsTheNext) {
    RunningPump run;
    ScriptedReader* first = run.add(kSimAms2, false);
    ScriptedReader* second = run.add(kSimRFactor2, true);
    ScriptedReader* third = run.add(kSimRaceRoom, true);
    std::vector<int> connected, lost; // pump's thread; read after the stop
    run.pump.hooks.simConnected = [&](int32_t kind) { connected.push_back(kind); };
    run.pump.hooks.simDisconnected = [&](int32_t kind) { lost.push_back(kind); };
    run.start();
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.connected && f.simKind == 12; }));
    EXPECT_EQ(run.words.connectedSim, kSimRFactor2);
    EXPECT_EQ(third->opens, 0);

    second->available = false;
    // Nothing from before the loss stays in use: an empty frame of the kind comes first.
    ASSERT_TRUE(run.until([](const SimFrame& f) { return !f.connected; }));
    first->available = true;
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.connected && f.simKind == 2; }));
    EXPECT_EQ(second->closes, 1);
    run.stop();
    EXPECT_EQ(connected, (std::vector<int>{12, 2}));
    EXPECT_EQ(lost, (std::vector<int>{12}));
    EXPECT_TRUE(run.pump.readers.empty());
    EXPECT_EQ(run.words.connectedSim, kSimNone);
}

TEST(PumpThread, AStalledSimKeepsItsLastFrame) {
    RunningPump run;
    std::atomic<bool> stalled{false};
    std::atomic<int> inVain{0};
    ScriptedReader* reader = run.add(kSimAms2, true);
    reader->onPoll = [&](SimFrame& out) {
        if (stalled) return ++inVain < 0;
        raceAt(out, kSimAms2, 5, 0, 1);
        return true;
    };
    run.start();
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.connected; }));
    stalled = true;
    ASSERT_TRUE(test::eventually([&] { return inVain >= 2; })); // the frame before is published
    frameRead(run.buffer);
    const uint32_t taken = run.buffer.readCount;
    ASSERT_TRUE(test::eventually([&] { return inVain >= 6; }));
    EXPECT_EQ(frameRead(run.buffer)->connected, 1);
    EXPECT_EQ(run.buffer.readCount, taken);
    EXPECT_EQ(reader->closes, 0);
}

TEST(PumpThread, DemoComesAndGoesAtOnceAndTheReaderIsKept) {
    RunningPump run;
    ScriptedReader* reader = run.add(kSimAms2, false);
    run.start();
    const auto demo = [&](bool on) {
        run.words.demoOn = on;
        wakePump(run.pump);
        return run.until([&](const SimFrame& f) { return f.connected == on; });
    };
    double toDemo = 1e9;
    for (int i = 0; i < 20 && toDemo >= 0.8; ++i) {
        ASSERT_TRUE(demo(false));
        const int opens = reader->opens;
        ASSERT_TRUE(run.until([&](const SimFrame&) { return reader->opens > opens; }));
        // The pump now sleeps out its second between two searches.
        toDemo = std::min(toDemo, secondsOf([&] { EXPECT_TRUE(demo(true)); }));
    }
    EXPECT_LT(toDemo, 0.8);
    reader->available = true;
    run.words.demoOn = 0;
    wakePump(run.pump);
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.connected && f.simKind == kSimAms2; }));
    run.words.demoOn = 1;
    wakePump(run.pump);
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.simKind == kSimIRacing; }));
    const int polls = reader->polls;
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_EQ(reader->polls, polls);
    run.words.demoOn = 0;
    wakePump(run.pump);
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.simKind == kSimAms2; }));
    EXPECT_EQ(reader->closes, 0);
}

TEST(PumpThread, StopsAtOnceInTheMiddleOfASearch) {
    double toStop = 1e9;
    for (int i = 0; i < 20 && toStop >= 0.8; ++i) {
        RunningPump run;
        ScriptedReader* reader = run.add(kSimAms2, false);
        run.start();
        ASSERT_TRUE(run.until([&](const SimFrame&) { return reader->opens > 0; }));
        toStop = std::min(toStop, secondsOf([&] { run.stop(); }));
    }
    EXPECT_LT(toStop, 0.8);
}

TEST(PumpThread, ASignalSetsThePace) {
    RunningPump run;
    ScriptedReader* reader = run.add(kSimLmu, true);
    reader->onWait = [](int) {
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
        return true;
    };
    run.start();
    ASSERT_TRUE(run.until([](const SimFrame& f) { return f.connected; }));
    EXPECT_TRUE(test::eventually([&] {
        const int before = reader->polls;
        const double seconds =
            secondsOf([] { std::this_thread::sleep_for(std::chrono::milliseconds(400)); });
        return (reader->polls - before) / seconds > 75; // its own pace would give 30
    }));
}

TEST(PumpThread, F1WithoutItsFeedIsToldWhileItRuns) {
    for (const bool forwarded : {false, true}) {
        RunningPump run;
        run.scan.f1Running = 1;
        run.scan.siblingRunning = 1;
        run.pump.hooks.siblingGameId = [&] { return forwarded ? 9 : 4; };
        ScriptedReader* reader = run.add(kSimF1, false);
        run.start();
        ASSERT_TRUE(run.until([&](const SimFrame&) { return reader->opens > 0; }));
        EXPECT_EQ(run.words.f1WithoutFeed, forwarded ? 0u : 1u);
        reader->available = true;
        wakePump(run.pump);
        ASSERT_TRUE(run.until([](const SimFrame& f) { return f.connected; }));
        EXPECT_EQ(run.words.f1WithoutFeed, 0u);
    }
}

TEST(PumpThread, TheReaderOfTheFrameNeverSeesHalfOfOne) {
    RunningPump run;
    ScriptedReader* reader = run.add(kSimLmu, true);
    reader->onWait = [](int) { return true; }; // as fast as it goes
    run.start();
    double last = -1;
    int taken = 0;
    const auto start = std::chrono::steady_clock::now();
    const auto ran = [&](int milliseconds) {
        return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(milliseconds);
    };
    while (!ran(500) || (taken <= 10 && !ran(test::kPatienceMs))) {
        const SimFrame* frame = frameRead(run.buffer);
        if (!frame->connected) continue;
        ASSERT_EQ(frame->cars.size(), 24u);
        ASSERT_GE(frame->sessionTime, last);
        for (const CarRow& row : frame->cars) {
            const double way = raceWay(row.carIdx, frame->sessionTime);
            ASSERT_NEAR(row.lapDistPct, way - std::floor(way), 1e-4);
        }
        taken += frame->sessionTime > last;
        last = frame->sessionTime;
    }
    EXPECT_GT(taken, 10);
}

} // namespace
} // namespace vt
