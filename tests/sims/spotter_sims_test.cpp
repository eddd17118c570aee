// The spotter's calls behind every simulator's own words, held against where the cars really were.
// All simulators play at once, each in a process of its own. VT_SPOTTER_SPEED=1 runs the script of
// 40 s at its own pace and prints when each call came.
#include "race/spotter_calls.h"
#include "sim_run.h"
#include "telemetry/sim_capabilities.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace vt::test {
namespace {

constexpr double kStartQuiet = 10; // s of the script: by then the start's silence is over
constexpr double kBeside = 4.5;    // m along the road

/// Who was where in one sample.
struct Truth {
    double moment = 0, time = 0, curvature = 0; // s, s of the script, 1/m
    bool inPits = false;
    int left = 0, right = 0; // cars beside, on the road

    bool same(const Truth& other) const {
        return inPits == other.inPits && (inPits || (left == other.left && right == other.right));
    }
};

std::vector<Truth> readTruth(const std::string& path) {
    std::vector<Truth> out;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        Truth now;
        if (!(words >> now.moment >> now.time >> now.inPits >> now.curvature)) continue;
        double ahead = 0, right = 0;
        for (bool inPits = false; words >> ahead >> right >> inPits;)
            if (!inPits && std::abs(ahead) < kBeside) ++(right < 0 ? now.left : now.right);
        out.push_back(now);
    }
    return out;
}

/// The samples with which a situation began that lasted, after the start.
std::vector<Truth> changesOf(const std::vector<Truth>& truth) {
    std::vector<Truth> out;
    Truth known;
    for (size_t i = 0; i < truth.size(); ++i) {
        if (truth[i].time < kStartQuiet || truth[i].same(known)) continue;
        size_t end = i;
        while (end < truth.size() && truth[end].same(truth[i]))
            ++end;
        if (truth[end - 1].time - truth[i].time < 0.3) continue;
        known = truth[i];
        out.push_back(known);
    }
    return out;
}

struct Call {
    double moment = 0; // s
    int phrase = 0;
};

/// What the script's situations call for, in their order. Coming into the pits with nobody beside
/// is no call; leaving them beside a car is.
struct Expected {
    const char* what;
    int phrase;
};
constexpr Expected kScript[] = {
    {"left", kSayCarLeft},
    {"fell back", kSayClear},
    {"right", kSayCarRight},
    {"one on each side", kSayThreeWide},
    {"right one drove off", kSayClearRight},
    {"two left", kSayThreeWideRight},
    {"one left", kSayCarLeft},
    {"drove off", kSayClear},
    {"right", kSayCarRight},
    {"two right", kSayThreeWideLeft},
    {"one right", kSayCarRight},
    {"fell back", kSayClear},
    {"in the pits", -1},
    {"out of them, beside a car", kSayCarRight},
    {"fell back", kSayClear},
};

struct Played {
    SimKind kind;
    const char* command;
    bool offers;    // tells where other cars are
    bool otherPits; // and whether they are in the pit lane
    std::vector<std::string> options{};
    std::unique_ptr<ChildProcess> player{};
    SpotterCalls calls{};
    std::vector<Call> said{};
    bool open = false, offered = false;
    int frames = 0, lateral = 0;

    std::string truthPath() const {
        return testing::TempDir() + "spotter_" + command + std::to_string(getpid()) + ".txt";
    }
};

class Playing {
public:
    Playing(std::vector<Played>& sims, double speed) : sims_(sims), speed_(speed) {
        const std::string rate = std::to_string(speed), hz = std::to_string(60 * speed);
        for (Played& sim : sims_) {
            std::vector<std::string> words = {builtTool("sim_player"),
                                              sim.command,
                                              "--circuit",
                                              "oval",
                                              "--skip",
                                              "50",
                                              "--cars",
                                              "4",
                                              "--minutes",
                                              "10",
                                              "--speed",
                                              rate,
                                              "--hz",
                                              hz,
                                              "--alongside",
                                              sim.truthPath()};
            words.insert(words.end(), sim.options.begin(), sim.options.end());
            sim.player = std::make_unique<ChildProcess>(words);
        }
    }
    void run(double seconds) {
        const double end = clockSeconds(set_.clock) + seconds / speed_;
        for (int turn = 0; clockSeconds(set_.clock) < end; ++turn) {
            if (turn % 20 == 0) set_.rescan();
            for (Played& sim : sims_)
                tick(sim);
            pause(std::max(2, static_cast<int>(33 / speed_)));
        }
        for (Played& sim : sims_) {
            set_.readers[static_cast<size_t>(sim.kind)]->close();
            sim.player->signal(SIGTERM);
            EXPECT_EQ(sim.player->waitForExit(kPatienceMs), 0) << sim.player->output();
        }
    }

private:
    void tick(Played& sim) {
        SimReader& reader = *set_.readers[static_cast<size_t>(sim.kind)];
        sim.open = sim.open || reader.open();
        if (!sim.open) return;
        resetKeepingCapacity(frame_);
        if (!reader.poll(frame_)) return;
        const double now = clockSeconds(set_.clock);
        ++sim.frames;
        sim.offered = sim.offered || simOffers(sim.kind, kOffersCarPlaces);
        sim.lateral += lateralKnown(frame_);
        const SpotterRules rules{.repeatMs = 0};
        const int phrase = spotterCallsTick(sim.calls, rules, &frame_, true,
                                            static_cast<uint64_t>(now * speed_ * 1000));
        if (phrase >= 0) sim.said.push_back({now, phrase});
    }

    std::vector<Played>& sims_;
    double speed_;
    ReaderSet set_;
    SimFrame frame_;
};

double speedWanted() {
    const char* text = std::getenv("VT_SPOTTER_SPEED");
    return text && std::atof(text) > 0 ? std::atof(text) : 4;
}

/// What is wrong with the calls, line by line.
std::string faultsOf(const Played& sim, double speed) {
    const std::vector<Truth> truth = readTruth(sim.truthPath());
    std::vector<Truth> changes = changesOf(truth);
    if (changes.size() != std::size(kScript)) return "the script itself\n";
    std::string faults;
    if (speed <= 1) std::printf("%-10s %5d frames\n", sim.command, sim.frames);
    size_t next = 0;
    for (size_t i = 0; i < std::size(kScript); ++i) {
        const Expected& expected = kScript[i];
        if (expected.phrase < 0) continue;
        if (next >= sim.said.size()) return faults + "not called: " + expected.what + "\n";
        const Call& call = sim.said[next++];
        const double late = (call.moment - changes[i].moment) * speed * 1000;
        // A car that stays within half a metre more is still there; a sim's own word has its rule.
        if (call.phrase != expected.phrase || late <= -60 || late >= 900)
            faults += std::string(expected.what) + ": " + std::to_string(call.phrase) + " after " +
                      std::to_string(late) + " ms\n";
        if (speed <= 1)
            std::printf("  %-28s %5.0f ms%s\n", expected.what, late,
                        std::abs(changes[i].curvature) > 0.002 ? "  in a corner" : "");
    }
    std::string more;
    for (; next < sim.said.size(); ++next)
        more += std::to_string(sim.said[next].phrase) + " ";
    if (sim.otherPits && !more.empty()) faults += "said though nobody was beside: " + more + "\n";
    return faults;
}

std::string faultsAt(double speed) {
    std::vector<Played> sims;
    sims.push_back({kSimIRacing, "iracing", true, true});
    sims.push_back({kSimLmu, "lmu", true, true});
    sims.push_back({kSimAms2, "ams2", true, true});
    sims.push_back({kSimAcEvo, "acevo", true, false});
    sims.push_back({kSimRFactor2, "rf2", true, true});
    // These do not say that they tell where other cars are.
    sims.push_back({kSimAcc, "acc", false, false});
    sims.push_back({kSimF1, "f1", false, false});
    sims.push_back({kSimRaceRoom, "raceroom", false, false});
    Playing(sims, speed).run(40);
    std::string faults;
    for (const Played& sim : sims) {
        std::string own;
        if (sim.frames <= 100) own += std::to_string(sim.frames) + " frames\n";
        if (sim.offered != sim.offers) own += "tells where other cars are, or does not\n";
        if (sim.offers) own += faultsOf(sim, speed);
        if (!sim.offers && !sim.said.empty()) own += "a call without knowing\n";
        if (!own.empty()) faults += std::string(sim.command) + ": " + own;
        std::remove(sim.truthPath().c_str());
    }
    return faults;
}

TEST(SpotterBehindEverySim, CallsWhoWasThereAndNobodyElse) {
    // Nine programs in a hurry may be too much for a busy machine; then they take their time.
    double speed = speedWanted();
    std::string faults = faultsAt(speed);
    for (int slower = 0; slower < 3 && !faults.empty(); ++slower) {
        std::printf("at %g times its pace:\n%s", speed, faults.c_str());
        faults = faultsAt(speed /= 2);
    }
    EXPECT_EQ(faults, "");
}

} // namespace
} // namespace vt::test
