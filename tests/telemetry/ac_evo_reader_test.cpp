// AC EVO's reader on mappings: short, torn, left over, killed, and a sim in its menus; and the
// frame's rules that no drive shows.
#include "sim_player/ac_evo_pages.h"
#include "support/eventually.h"
#include "telemetry/readers/ac_evo_reader.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace vt {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

bool simRuns = true;
bool listPrograms(std::vector<std::string>& names) {
    names = {"init"};
    if (simRuns) names.push_back("AssettoCorsaEVO-Win64-Shipping.exe");
    return true;
}

AcEvoNames testNames() {
    const std::string base = "vt_test_acevo_" + std::to_string(getpid());
    return {base + "_p", base + "_g", base + "_s"};
}

template <class Page>
void put(SharedMapWriter& writer, const Page& page) {
    std::memcpy(writer.data(), &page, std::min(sizeof page, writer.size()));
}

/// The sim's side and ours, in one process.
struct Sim {
    AcEvoNames names = testNames();
    SharedMapWriter physicsMap, graphicsMap, staticMap;
    AcPhysics physics;
    AcEvoGraphics graphics;
    AcEvoStatic statics;
    Clock clock = manualClock();
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, listPrograms, steer, {0}, nullptr, {}};
    AcEvoReader reader{context, names};
    SimFrame frame;

    explicit Sim(const AcPageSizes& sizes = kAcEvoSizes) {
        simRuns = true;
        physics.packetId = 7;
        physics.gear = 3;
        physics.speedKmh = 180;
        graphics.status = kAcLive;
        graphics.lapPosition = 0.25f;
        std::strcpy(statics.track, "Imola");
        statics.trackLength = 4909;
        make(sizes);
    }
    void make(const AcPageSizes& sizes) {
        physicsMap.create(names.physics, sizes.physics);
        graphicsMap.create(names.graphics, sizes.graphics);
        if (sizes.statics > 0) staticMap.create(names.statics, sizes.statics);
        write();
    }
    void write() {
        put(physicsMap, physics);
        put(graphicsMap, graphics);
        if (staticMap.data()) put(staticMap, statics);
    }
    bool poll() {
        advance(clock, 1.0 / 30);
        return reader.poll(frame);
    }
    bool next() {
        physics.packetId += 1;
        write();
        return poll();
    }
    int pollsUntilGone(int limit = 400) {
        for (int i = 1; i <= limit; ++i) {
            poll();
            if (!reader.isConnected()) return i;
        }
        return -1;
    }
};

TEST(AcEvoReader, OpensOnlyWithTheProgramAndItsMappings) {
    Sim sim;
    simRuns = false;
    EXPECT_FALSE(sim.reader.open());
    simRuns = true;
    EXPECT_FALSE(sim.reader.open()); // the last scan is fresh
    advance(sim.clock, 4);
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.reader.isConnected());
    EXPECT_FALSE(sim.reader.waitForData(1000));
    sim.graphicsMap.close();
    EXPECT_FALSE(sim.reader.open());
    EXPECT_FALSE(sim.reader.isConnected());
    sim.frame.connected = 1;
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 0);
    sim.reader.close();
    sim.reader.close();
}

TEST(AcEvoReader, ASimInItsMenusGivesNoFrame) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    for (int i = 0; i < 300; ++i)
        EXPECT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
    ASSERT_TRUE(sim.next());
    EXPECT_EQ(sim.frame.connected, 1);
    EXPECT_EQ(sim.frame.gear, 2);
    EXPECT_STREQ(sim.frame.trackName, "Imola");
    EXPECT_EQ(sim.frame.sectorStarts.size(), 3u);
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 1);
}

TEST(AcEvoReader, LosesTheSimWhenItsProgramEnds) {
    Sim before;
    ASSERT_TRUE(before.reader.open());
    simRuns = false;
    advance(before.clock, 4); // the last scan is old
    EXPECT_EQ(before.pollsUntilGone(), 31);
    Sim driven;
    ASSERT_TRUE(driven.reader.open());
    ASSERT_TRUE(driven.next());
    simRuns = false;
    EXPECT_EQ(driven.pollsUntilGone(), 151);
    EXPECT_EQ(driven.frame.connected, 0);
}

TEST(AcEvoReader, TheClockStopsWithTheSim) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    sim.next();
    const double start = sim.frame.sessionTime;
    for (int i = 0; i < 30; ++i)
        sim.next();
    EXPECT_NEAR(sim.frame.sessionTime - start, 1, 1e-6);
    for (int i = 0; i < 90; ++i)
        sim.poll();
    sim.next();
    EXPECT_NEAR(sim.frame.sessionTime - start, 1 + 3.0 / 30, 1e-6); // two misses and a frame
    sim.graphics.status = 3;
    sim.next();
    sim.next();
    EXPECT_NEAR(sim.frame.sessionTime - start, 1 + 3.0 / 30, 1e-6);
}

TEST(AcEvoReader, ShortMappingsAreTakenAsFarAsTheyGo) {
    for (const AcPageSizes& sizes : {AcPageSizes{4, 4, 4}, AcPageSizes{34, 1250, 150},
                                     AcPageSizes{716, 4900, 0}, AcPageSizes{4096, 8192, 4096}}) {
        Sim sim(sizes);
        ASSERT_TRUE(sim.reader.open());
        ASSERT_TRUE(sim.next()) << sizes.physics;
        EXPECT_EQ(sim.frame.speed > 0, sizes.physics >= 32) << sizes.physics;
        EXPECT_EQ(sim.frame.lapDistPct > 0, sizes.graphics > 1244) << sizes.graphics;
        EXPECT_EQ(sim.frame.trackId != 0, sizes.statics > 0) << sizes.statics;
        EXPECT_EQ(sim.frame.trackLength > 1, sizes.statics >= 208) << sizes.statics;
    }
}

TEST(AcEvoReader, TheStaticPageMayComeLater) {
    Sim sim({716, 4900, 0});
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.next());
    EXPECT_EQ(sim.frame.trackId, 0);
    EXPECT_EQ(sim.frame.timedSession, 1);
    EXPECT_STREQ(sim.frame.sessionName, "");
    sim.staticMap.create(sim.names.statics, sizeof(AcEvoStatic));
    for (int i = 0; i < 31; ++i)
        sim.next();
    EXPECT_STREQ(sim.frame.trackName, "Imola");
    EXPECT_STREQ(sim.frame.sessionName, "TIME ATTACK");
}

TEST(AcEvoReader, LeftoversWithoutAWriterAreAbsent) {
    Sim sim;
    sim.physicsMap.close(true);
    sim.graphicsMap.close(true);
    sim.staticMap.close(true);
    EXPECT_FALSE(sim.reader.open());
    sim.make(kAcEvoSizes); // the sim starts again over them
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.next());
}

TEST(AcEvoReader, AKilledSimIsGoneAndComesBack) {
    Sim sim;
    sim.physicsMap.close();
    sim.graphicsMap.close();
    sim.staticMap.close();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) { // writes for ever
        sim.make(kAcEvoSizes);
        char go = 1;
        if (write(ready[1], &go, 1) != 1) _exit(1);
        for (;;) {
            sim.physics.packetId += 1;
            sim.write();
            usleep(500);
        }
    }
    char go = 0;
    ASSERT_EQ(read(ready[0], &go, 1), 1);
    close(ready[0]), close(ready[1]);
    ASSERT_TRUE(sim.reader.open());
    int frames = 0;
    EXPECT_TRUE(test::eventually([&] { return (frames += sim.poll()) == 20; }, 1));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_LE(sim.pollsUntilGone(), 17); // the program's list still has it
    EXPECT_FALSE(sim.reader.open());
    sim.make(kAcEvoSizes);
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.next());
}

TEST(AcEvoReader, RandomPagesGiveBoundedFrames) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    std::mt19937 random(3);
    const auto spoil = [&](auto& page) {
        auto* bytes = reinterpret_cast<uint8_t*>(&page);
        for (size_t i = 4; i < sizeof page; ++i)
            bytes[i] = static_cast<uint8_t>(random());
    };
    for (int i = 0; i < 3000; ++i) {
        spoil(sim.physics);
        spoil(sim.graphics);
        if (i % 2) spoil(sim.statics);
        sim.graphics.status = kAcLive;
        if (i % 3 == 0) sim.statics.trackLength = 4000;
        ASSERT_TRUE(sim.next());
        const SimFrame& f = sim.frame;
        ASSERT_TRUE(f.lapDistPct >= 0 && f.lapDistPct <= 1);
        ASSERT_TRUE(f.cars.size() >= 1 && f.cars.size() <= 60);
        ASSERT_LE(f.sectorStarts.size(), 16u);
        for (const float value : {f.speed, f.rpm, f.throttle, f.latAccel, f.fuelLevel, f.slipAngle,
                                  f.boost, f.worldX, f.yawRate, f.trackLength, f.pitLimitSpeed})
            ASSERT_TRUE(std::isfinite(value));
        for (const CarRow& row : f.cars)
            ASSERT_TRUE(row.lapDistPct >= 0 && row.lapDistPct <= 1 &&
                        std::isfinite(row.pathLateral));
        ASSERT_EQ(f.trackName[63], 0);
    }
}

/// The mapping alone.
struct Mapped {
    AcEvoPages pages;
    AcEvoMemory memory;
    SimFrame frame;
    double now = 10;
    Mapped() {
        pages.haveStatic = true;
        pages.graphics.status = kAcLive;
        pages.statics.trackLength = 4000;
    }
    const SimFrame& fill() {
        now += 0.03;
        fillAcEvoFrame(frame, pages, now, now, memory);
        return frame;
    }
};

TEST(AcEvoFrame, NamesOfTrackAndSession) {
    struct Case {
        const char *track, *layout, *name;
    };
    for (const Case& c : {Case{"Imola", "", "Imola"}, Case{"Imola GP", "GP", "Imola GP"},
                          Case{"Imola", "GP", "Imola GP"}, Case{"", "GP", " GP"}}) {
        Mapped m;
        player::setAcEvoText(m.pages.statics.track, c.track);
        player::setAcEvoText(m.pages.statics.layout, c.layout);
        EXPECT_STREQ(m.fill().trackName, c.name);
        EXPECT_EQ(m.frame.trackId, trackNameHash(c.name));
    }
    Mapped m;
    std::memset(m.pages.statics.track, 'T', 33); // no terminator
    std::memset(m.pages.statics.layout, '\xE9', 33);
    std::memset(m.pages.statics.sessionText, 'S', 49);
    m.pages.statics.session = 9;
    EXPECT_EQ(std::string(m.fill().trackName).substr(0, 36), std::string(33, 'T') + " é");
    EXPECT_EQ(std::string(m.frame.sessionName), std::string(23, 'S'));
    const char* const names[] = {"TIME ATTACK", "RACE", "HOT STINT", "CRUISE"};
    for (int i = 0; i < 4; ++i) {
        m.pages.statics.session = i;
        EXPECT_STREQ(m.fill().sessionName, names[i]);
    }
}

TEST(AcEvoFrame, AnotherTrackOrCarForgetsWhatWasLearned) {
    Mapped m;
    std::strcpy(m.pages.statics.track, "A");
    std::strcpy(m.pages.graphics.carModel, "x");
    m.pages.graphics.wheelDegrees = 270;
    m.pages.graphics.pitState = 1;
    m.pages.physics.speedKmh = 59;
    m.pages.graphics.abovePitLimit = -1;
    m.memory.line.known = true;
    m.fill();
    EXPECT_FALSE(m.memory.line.known);
    m.memory.line.known = true;
    EXPECT_NEAR(m.frame.pitLimitSpeed, 60 / 3.6, 1e-3);
    m.pages.graphics.abovePitLimit = -21; // once per track
    EXPECT_NEAR(m.fill().pitLimitSpeed, 60 / 3.6, 1e-3);
    EXPECT_NEAR(m.frame.steerLock, 4.712, 1e-3);
    m.pages.graphics.wheelDegrees = 0;
    EXPECT_NEAR(m.fill().steerLock, 4.712, 1e-3);
    std::strcpy(m.pages.graphics.carModel, "y");
    EXPECT_EQ(m.fill().steerLock, 0);
    std::strcpy(m.pages.statics.track, "B");
    EXPECT_NEAR(m.fill().pitLimitSpeed, 80 / 3.6, 1e-3);
    EXPECT_FALSE(m.memory.line.known);
}

TEST(AcEvoFrame, FlagsSurfaceAndValidity) {
    const std::pair<int, uint32_t> flags[] = {
        {0, 0},         {1, 0},           {2, kFlagGreen},     {3, 0},
        {4, kFlagBlue}, {5, kFlagYellow}, {8, kFlagChequered}, {-1, 0}};
    for (const auto& [flag, bits] : flags) {
        EXPECT_EQ(acEvoFlagBits(flag, 0, false), bits);
        EXPECT_EQ(acEvoFlagBits(0, flag, true), bits | kFlagWhite);
    }
    EXPECT_EQ(acEvoFlagBits(4, 5, false), kFlagBlue | kFlagYellow);

    Mapped m;
    for (const auto& [tyres, surface] : {std::pair{0, 3}, {2, 3}, {3, 0}, {4, 0}, {5, 3}}) {
        m.pages.physics.tyresOut = tyres;
        EXPECT_EQ(m.fill().trackSurface, surface) << tyres;
    }
    for (const auto& [state, onRoad] : {std::pair{1, 1}, {2, 1}, {3, 1}, {4, 0}, {-1, 0}}) {
        m.pages.graphics.pitState = state;
        EXPECT_EQ(m.fill().onPitRoad, onRoad) << state;
    }
    m.pages.graphics.pitState = 2;
    EXPECT_EQ(m.fill().trackSurface, 2);
    m.pages.graphics.inPitStall = 1;
    EXPECT_EQ(m.fill().trackSurface, 1);

    EXPECT_EQ(m.frame.lapValidity, -1);
    m.pages.graphics.lapValid = 1;
    EXPECT_EQ(m.fill().lapValidity, 1);
    m.pages.graphics.lapValid = 0;
    EXPECT_EQ(m.fill().lapValidity, 0);
}

/// A car at x 100 that looks along x, z to its right; slot 5 is its own.
struct Field : Mapped {
    Field() {
        for (int i = 0; i < 4; ++i) {
            pages.physics.contactPoint[i][0] = 100 + (i < 2 ? 1.35f : -1.35f);
            pages.physics.contactPoint[i][2] = i % 2 ? 0.8f : -0.8f;
        }
        place(5, 100.5f, 0);
        pages.graphics.lapPosition = 0.999f;
    }
    void place(int slot, float x, float z) {
        pages.graphics.carPosition[slot][0] = x;
        pages.graphics.carPosition[slot][2] = z;
    }
};

TEST(AcEvoRows, OthersOnlyOnceOneOfThemMoved) {
    Field f;
    EXPECT_EQ(f.fill().cars.size(), 1u);
    f.place(9, 120.5f, 3);
    f.place(11, 80.5f, -2);
    EXPECT_EQ(f.fill().cars.size(), 1u); // came, but did not move
    f.place(5, 100.6f, 0);               // nor does the player count
    EXPECT_EQ(f.fill().cars.size(), 1u);
    f.place(5, 100.5f, 0);
    f.place(9, 120.54f, 3);
    EXPECT_EQ(f.fill().cars.size(), 1u);
    EXPECT_EQ(f.frame.playerCarIdx, 0);
    f.place(9, 120.6f, 3);
    ASSERT_EQ(f.fill().cars.size(), 3u);
    EXPECT_EQ(f.frame.playerCarIdx, 5);
    EXPECT_EQ(f.frame.cars[0].carIdx, 5);
    const CarRow* ahead = findCar(f.frame, 9);
    const CarRow* behind = findCar(f.frame, 11);
    ASSERT_TRUE(ahead && behind);
    EXPECT_NEAR(ahead->lapDistPct, 0.999 + 20.1 / 4000 - 1, 1e-5); // over the line
    EXPECT_NEAR(ahead->pathLateral, 3, 1e-4);
    EXPECT_NEAR(behind->lapDistPct, 0.999 - 20.0 / 4000, 1e-5);
    EXPECT_NEAR(behind->pathLateral, -2, 1e-4);

    f.pages.graphics.activeCars = 10;
    EXPECT_EQ(f.fill().cars.size(), 2u); // slot 11 is behind the active ones
    f.pages.graphics.activeCars = 61;
    EXPECT_EQ(f.fill().cars.size(), 3u);
    f.pages.graphics.carPosition[9][1] = kNan;
    EXPECT_EQ(f.fill().cars.size(), 2u);
    f.place(5, 140, 0); // the player's own slot is lost
    EXPECT_EQ(f.fill().cars.size(), 1u);
    EXPECT_EQ(f.frame.playerCarIdx, 0);
}

TEST(AcEvoRows, APlayerAtSpeedKeepsHisSlot) {
    Field f;
    f.place(9, 112, 0);
    f.fill();
    f.place(9, 113, 0);
    ASSERT_EQ(f.fill().playerCarIdx, 5);
    f.pages.physics.speedKmh = 250;
    f.place(5, 94, 0); // six metres behind his tyres, the one in front is closer
    f.place(9, 101, 0);
    for (int i = 0; i < 14; ++i)
        EXPECT_EQ(f.fill().playerCarIdx, 5) << i;
    EXPECT_EQ(f.fill().playerCarIdx, 9); // it has been closer for too long
    f.place(9, 60, 0);
    f.place(5, 100, 0);
    EXPECT_EQ(f.fill().playerCarIdx, 5); // and cannot be he any longer
}

} // namespace
} // namespace vt
