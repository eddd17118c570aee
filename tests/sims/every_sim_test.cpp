// Each simulator's transport, filled by the driver model in a process of its own, through the
// reader that the program uses: what the support table promises arrives. VT_WRITE_DOCS=1 writes the
// table of what each reader fills.
#include "overlay/frame/sim_support.h"
#include "platform/file.h"
#include "sim_run.h"
#include "support/frame_probes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>

namespace vt::test {
namespace {

/// Which fields of frame and rows have held something since the start.
struct Seen {
    bool frame[std::size(kFrameProbes)] = {};
    bool player[std::size(kRowProbes)] = {};
    bool others[std::size(kRowProbes)] = {};

    void add(const SimFrame& now) {
        for (size_t i = 0; i < std::size(kFrameProbes); ++i)
            frame[i] = frame[i] || kFrameProbes[i].filled(now);
        for (const CarRow& row : now.cars) {
            bool* marks = row.carIdx == now.playerCarIdx ? player : others;
            for (size_t i = 0; i < std::size(kRowProbes); ++i)
                marks[i] = marks[i] || kRowProbes[i].filled(row);
        }
    }
    bool has(const char* name) const {
        for (size_t i = 0; i < std::size(kFrameProbes); ++i)
            if (std::strcmp(kFrameProbes[i].name, name) == 0) return frame[i];
        ADD_FAILURE() << "no field " << name;
        return false;
    }
    bool row(const char* name, bool ofOthers) const {
        for (size_t i = 0; i < std::size(kRowProbes); ++i)
            if (std::strcmp(kRowProbes[i].name, name) == 0) return ofOthers ? others[i] : player[i];
        ADD_FAILURE() << "no row field " << name;
        return false;
    }
    bool other(const char* name) const { return row(name, true); }
    bool own(const char* name) const { return has(name) || row(name, false); }
};

struct Promise {
    uint32_t bit;
    const char* name;
    bool (*kept)(const Seen&);
};

// The garage, the ratings, other cars' compounds and pit times, gained places and the sim's own
// deltas are not in the driver model's world.
const Promise kPromises[] = {
    {kOffersCars, "other cars",
     [](const Seen& s) { return s.other("driverName") && s.other("position"); }},
    {kOffersCarPlaces, "places of other cars",
     [](const Seen& s) { return s.other("pathLateral") && s.other("lapDistPct"); }},
    {kOffersGaps, "gaps", [](const Seen& s) { return s.other("lapDistPct"); }},
    {kOffersLaps, "laps", [](const Seen& s) { return s.own("lap") && s.own("lastLapTime"); }},
    {kOffersSession, "session",
     [](const Seen& s) { return s.has("timeRemain") || s.has("lapsRemain"); }},
    {kOffersFlags, "flags", [](const Seen& s) { return s.has("sessionFlags"); }},
    {kOffersLapTimes, "lap times", [](const Seen& s) { return s.has("lastLapTime"); }},
    {kOffersSectors, "sectors",
     [](const Seen& s) { return s.has("currentSector") || s.row("lastSectorTime", false); }},
    {kOffersLapPosition, "lap position", [](const Seen& s) { return s.has("lapDistPct"); }},
    {kOffersWetness, "wetness", [](const Seen& s) { return s.has("wetness"); }},
    {kOffersRain, "rain", [](const Seen& s) { return s.has("precipitation"); }},
    {kOffersTemperatures, "temperatures",
     [](const Seen& s) { return s.has("airTemp") && s.has("trackTemp"); }},
    {kOffersGForces, "forces",
     [](const Seen& s) { return s.has("latAccel") && s.has("longAccel"); }},
    {kOffersEngine, "engine", [](const Seen& s) { return s.has("waterTemp"); }},
    {kOffersBrakeBias, "brake bias", [](const Seen& s) { return s.has("brakeBias"); }},
    {kOffersBasics, "basics", [](const Seen& s) { return s.has("throttle") && s.has("speed"); }},
    {kOffersFuel, "fuel", [](const Seen& s) { return s.has("fuelLevel"); }},
    {kOffersTank, "tank", [](const Seen& s) { return s.has("fuelCapacity"); }},
    {kOffersCarPits, "pits of other cars", [](const Seen& s) { return s.other("onPitRoad"); }},
    {kOffersPitLimit, "pit limit", [](const Seen& s) { return s.has("pitLimitSpeed"); }},
    {kOffersDriverAids, "aids", [](const Seen& s) { return s.has("tcLevel"); }},
    {kOffersRunningLap, "running lap", [](const Seen& s) { return s.has("currentLapTime"); }},
    {kOffersStage, "stage", [](const Seen& s) { return s.has("trackId") || s.has("trackName"); }},
    {kOffersSlip, "slip", [](const Seen& s) { return s.has("slipAngle"); }},
    {kOffersWorld, "world", [](const Seen& s) { return s.has("worldOk"); }},
};

// The table counts a pit limit for ACC, which no page of it holds, and pits of other cars
// only where it counts other cars.
bool promised(SimKind kind, uint32_t bit) {
    if (kind == kSimAcc && bit == kOffersPitLimit) return false;
    return simOffers(kind, bit == kOffersCarPits ? bit | kOffersCars : bit);
}

std::string broken(const SimUnderTest& sim, const Seen& seen) {
    std::string names;
    for (const Promise& promise : kPromises)
        if (promised(sim.kind, promise.bit) && !promise.kept(seen))
            names += std::string(names.empty() ? "" : ", ") + promise.name;
    return names;
}

/// Plays until every promise is kept, or for `seconds`. False when the reader did not open.
bool watch(const SimUnderTest& sim, double seconds, bool toTheEnd, Seen& seen, SimFrame& frame) {
    ChildProcess player(playerWords(sim, {"--speed", "3", "--seconds", "280", "--rain", "0.5"}));
    ReaderSet set;
    SimReader& reader = *set.readers[static_cast<size_t>(sim.kind)];
    set.steer.steerRotationDeg = 540;
    const auto open = [&] {
        set.rescan();
        return reader.open();
    };
    if (!eventually(open, 50)) {
        ADD_FAILURE() << player.output();
        return false;
    }
    const double end = clockSeconds(set.clock) + seconds;
    int frames = 0, lost = 0;
    SimFrame polled;
    while (clockSeconds(set.clock) < end) {
        // A busy machine may hold up a sim for so long that it counts as gone.
        if (!reader.isConnected() && (++lost > 3 || !eventually(open, 50))) break;
        resetKeepingCapacity(polled);
        if (reader.poll(polled)) {
            frame = polled;
            seen.add(frame);
            if (!toTheEnd && ++frames % 15 == 0 && broken(sim, seen).empty()) break;
        }
        pause(33);
    }
    EXPECT_TRUE(reader.isConnected()) << player.output();
    reader.close();
    return true;
}

class EverySim : public testing::TestWithParam<int> {};

TEST_P(EverySim, GivesWhatTheSupportTablePromises) {
    const SimUnderTest& sim = simsUnderTest()[static_cast<size_t>(GetParam())];
    if (!canPlay(sim)) GTEST_SKIP() << "no capture of " << sim.command;
    Seen seen;
    SimFrame frame;
    // A recording holds what it holds.
    ASSERT_TRUE(watch(sim, sim.kind == kSimIRacing ? 2 : 120, false, seen, frame));
    EXPECT_EQ(frame.simKind, sim.kind);
    EXPECT_EQ(frame.connected, 1);
    if (sim.kind != kSimIRacing) {
        EXPECT_EQ(broken(sim, seen), "");
    }
    EXPECT_TRUE(std::isfinite(frame.speed) && frame.speed < 120) << frame.speed;
    if (simOffers(sim.kind, kOffersCars) && sim.kind != kSimIRacing) {
        EXPECT_EQ(frame.cars.size(), 20u);
        EXPECT_NE(playerRow(frame), nullptr);
    }
}

std::string simName(const testing::TestParamInfo<int>& sim) {
    return simsUnderTest()[static_cast<size_t>(sim.param)].command;
}
INSTANTIATE_TEST_SUITE_P(Sims, EverySim, testing::Range(0, kSimCount), simName);

std::string cell(bool player, bool others) {
    return player ? others ? "all" : "own" : others ? "others" : "";
}

TEST(ReaderTable, IsWritten) {
    const char* wanted = std::getenv("VT_WRITE_DOCS");
    if (!wanted || !*wanted) GTEST_SKIP() << "VT_WRITE_DOCS=1 writes docs/readers.md";
    std::vector<Seen> seen(kSimCount);
    std::string head = "|", line = "|---|";
    for (const SimUnderTest& sim : simsUnderTest()) {
        SimFrame frame;
        ASSERT_TRUE(canPlay(sim) &&
                    watch(sim, 16, true, seen[static_cast<size_t>(sim.kind)], frame));
        head += std::string(" ") + simShortName(sim.kind) + " |";
        line += "---|";
    }
    std::string text =
        "# What each reader fills\n\nMade by `test_sims` (VT_WRITE_DOCS=1): most of "
        "a minute of a race, or of a stage, through each\nsim's own transport. A field counts "
        "when it held anything but its default. iRacing's column is of one\n"
        "recording. Fields that the pump adds are not among them.\n\n## The frame\n\n";
    text += "| Field " + head + "\n" + line + "\n";
    for (size_t i = 0; i < std::size(kFrameProbes); ++i) {
        text += std::string("| `") + kFrameProbes[i].name + "` |";
        for (const Seen& s : seen)
            text += s.frame[i] ? " yes |" : "  |";
        text += "\n";
    }
    text += "\n## The rows\n\n\"all\": the player's row and the others'; \"own\": the player's "
            "alone.\n\n| Field " +
            head + "\n" + line + "\n";
    for (size_t i = 0; i < std::size(kRowProbes); ++i) {
        text += std::string("| `") + kRowProbes[i].name + "` |";
        for (const Seen& s : seen)
            text += " " + cell(s.player[i], s.others[i]) + " |";
        text += "\n";
    }
    EXPECT_TRUE(writeFileAtomic(VT_SOURCE_DIR "/docs/readers.md", text));
}

} // namespace
} // namespace vt::test
