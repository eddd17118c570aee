// The capture player and the reader together: a race that moves comes out as it was driven.
#include "support/eventually.h"
#include "telemetry/readers/iracing_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <map>
#include <sys/wait.h>
#include <unistd.h>

namespace vt {
namespace {

const std::filesystem::path kCaptures = VT_SOURCE_DIR "/../shared/realdata/iracing";

std::filesystem::path playerProgram() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return self.parent_path().parent_path() / "tools" / "sim_player";
}

class PlayedCapture : public testing::Test {
protected:
    const std::string suffix_ = "_test" + std::to_string(getpid());
    const Clock clock_;
    const IRacingWants wants_;
    IRacingReader reader_{clock_, wants_, {kIrMapName + suffix_, kIrEventName + suffix_}};
    SimFrame frame_;
    pid_t player_ = -1;

    void TearDown() override {
        stop(SIGTERM);
        for (const char* name : {kIrMapName, kIrEventName})
            unlink(("/dev/shm/" + std::string(sharedObjectName(name)) + suffix_).c_str());
    }

    /// False, and the test is to be skipped, where the program or the capture is missing.
    bool play(const char* capture, std::vector<std::string> options) {
        const std::string program = playerProgram(), file = kCaptures / capture;
        if (access(program.c_str(), X_OK) != 0 || access(file.c_str(), R_OK) != 0) return false;
        std::vector<std::string> words = {program, "iracing", file, "--suffix", suffix_};
        words.insert(words.end(), options.begin(), options.end());
        player_ = fork();
        if (player_ == 0) {
            std::vector<char*> argv;
            for (std::string& word : words)
                argv.push_back(word.data());
            argv.push_back(nullptr);
            if (!freopen("/dev/null", "w", stdout)) _exit(126);
            execv(argv[0], argv.data());
            _exit(127);
        }
        return player_ > 0;
    }

    void stop(int signal) {
        if (player_ <= 0) return;
        kill(player_, signal);
        waitpid(player_, nullptr, 0);
        player_ = -1;
    }

    bool connect() {
        return test::eventually([&] { return reader_.open() && reader_.poll(frame_); });
    }

    /// What a killed sim left behind may be seen until the next one has cleared it.
    bool connect(size_t cars) {
        return test::eventually(
            [&] { return reader_.open() && reader_.poll(frame_) && frame_.cars.size() == cars; });
    }

    /// Calls `look` with each new frame for so many milliseconds, and on until it was `enough`.
    int watch(int milliseconds, const auto& enough, const auto& look) {
        int frames = 0;
        const uint64_t start = clockMs(clock_), least = static_cast<uint64_t>(milliseconds);
        const auto ran = [&] { return clockMs(clock_) - start; };
        while ((ran() < least || (!enough(frames) && ran() < test::kPatienceMs)) &&
               !HasFatalFailure()) {
            reader_.waitForData(20);
            if (!reader_.poll(frame_)) continue;
            frames += 1;
            look(frame_);
        }
        return frames;
    }
};

constexpr const char* kMissing = "sim_player or the capture is not there";

double distanceOf(const CarRow& row) {
    return row.lap + static_cast<double>(row.lapDistPct);
}

/// Positions count from 1 without gaps, follow the distance driven, and so do the gaps.
void expectRanked(const SimFrame& frame) {
    std::vector<const CarRow*> order;
    for (const CarRow& row : frame.cars)
        if (row.lapDistPct >= 0) order.push_back(&row);
    std::sort(order.begin(), order.end(),
              [](const CarRow* a, const CarRow* b) { return a->position < b->position; });
    std::map<std::string, int32_t> inClass;
    for (size_t i = 0; i < order.size(); ++i) {
        ASSERT_EQ(order[i]->position, static_cast<int32_t>(i) + 1);
        ASSERT_EQ(order[i]->classPosition, ++inClass[order[i]->carClass]);
        ASSERT_GE(order[i]->gapToLeader, 0);
        if (i > 0) {
            ASSERT_LE(distanceOf(*order[i]), distanceOf(*order[i - 1]) + 1e-6);
        }
    }
}

TEST_F(PlayedCapture, ADrivenRaceIsConsistent) {
    if (!play("le_mans_race_38.irsdk", {"--drive", "--speed", "200", "--hz", "100"}))
        GTEST_SKIP() << kMissing;
    ASSERT_TRUE(connect());
    const double clockSum = frame_.sessionTime + frame_.timeRemain;
    const size_t cars = frame_.cars.size();
    std::map<int32_t, double> driven;
    std::map<int32_t, int> laps, visits;
    std::map<int32_t, uint8_t> wasInPit;
    double time = frame_.sessionTime;
    const auto sum = [](const std::map<int32_t, int>& counts) {
        int all = 0;
        for (const auto& [car, count] : counts)
            all += count;
        return all;
    };
    const auto enough = [&](int seen) { return seen > 50 && sum(laps) > 30 && sum(visits) > 3; };
    const int frames = watch(4000, enough, [&](const SimFrame& f) {
        ASSERT_EQ(f.cars.size(), cars);
        ASSERT_GT(f.sessionTime, time);
        time = f.sessionTime;
        ASSERT_NEAR(f.sessionTime + f.timeRemain, std::max(clockSum, f.sessionTime), 0.001);
        expectRanked(f);
        for (const CarRow& row : f.cars) {
            if (row.lapDistPct < 0) continue;
            ASSERT_LT(row.lapDistPct, 1);
            const double gone = distanceOf(row);
            ASSERT_GE(gone, driven[row.carIdx] - 1e-6) << row.carIdx;
            laps[row.carIdx] +=
                driven[row.carIdx] > 0 && std::floor(gone) > std::floor(driven[row.carIdx]);
            driven[row.carIdx] = gone;
            visits[row.carIdx] += row.onPitRoad && !wasInPit[row.carIdx];
            wasInPit[row.carIdx] = row.onPitRoad;
            if (laps[row.carIdx] == 0) continue;
            ASSERT_TRUE(row.lastLapTime > 190 && row.lastLapTime < 400) << row.lastLapTime;
            ASSERT_LE(row.bestLapTime, row.lastLapTime);
        }
        const CarRow* me = playerRow(f);
        ASSERT_NE(me, nullptr);
        ASSERT_FLOAT_EQ(f.lapDistPct, me->lapDistPct);
        ASSERT_EQ(f.lap, me->lap);
        ASSERT_TRUE(f.speed >= 0 && f.speed < 110) << f.speed;
    });
    EXPECT_GT(frames, 50);
    EXPECT_GT(sum(laps), 30);
    EXPECT_GT(sum(visits), 3);
    EXPECT_EQ(reader_.counters().textParses, 1u);
    EXPECT_EQ(reader_.counters().restarts, 0u);
}

TEST_F(PlayedCapture, CarsOfACaptureWithoutSamplesAreSentOut) {
    if (!play("nordschleife_practice_54.irsdk", {"--drive"})) GTEST_SKIP() << kMissing;
    ASSERT_TRUE(connect());
    EXPECT_EQ(frame_.cars.size(), 54u);
    for (const CarRow& row : frame_.cars)
        EXPECT_GE(row.lapDistPct, 0);
    EXPECT_EQ(frame_.isOnTrack, 1);
}

TEST_F(PlayedCapture, TornSamplesAreNeverSeen) {
    if (!play("oulton_practice_62.irsdk", {"--drive", "--tear", "--hz", "500"}))
        GTEST_SKIP() << kMissing;
    ASSERT_TRUE(connect());
    const int frames = watch(
        1500, [](int seen) { return seen > 50; },
        [&](const SimFrame& f) {
            ASSERT_EQ(f.cars.size(), 62u);
            ASSERT_TRUE(f.sessionTime > 1400 && f.sessionTime < 1600) << f.sessionTime;
            std::map<int32_t, float> bestByPlace;
            for (const CarRow& row : f.cars)
                ASSERT_TRUE(row.position == 0 ||
                            bestByPlace.emplace(row.position, row.bestLapTime).second);
            for (float before = 0; const auto& [place, best] : bestByPlace) {
                ASSERT_LE(before, best) << place;
                before = best;
            }
            for (const CarRow& row : f.cars)
                ASSERT_TRUE(row.lapDistPct >= 0 && row.lapDistPct < 1 && row.lap < 100)
                    << row.carIdx << " " << row.lapDistPct << " " << row.lap;
        });
    EXPECT_GT(frames, 50);
}

TEST_F(PlayedCapture, HostileAndShortImages) {
    for (const char* length : {"1", "111", "112", "50000", "100000", "140000"}) {
        if (!play("oulton_practice_62.irsdk", {"--short", length})) GTEST_SKIP() << kMissing;
        EXPECT_FALSE(
            test::eventually([&] { return reader_.open() && reader_.poll(frame_); }, 2, 100) &&
            frame_.cars.size() != 62);
        stop(SIGTERM);
    }
    ASSERT_TRUE(play("oulton_practice_62.irsdk", {"--hostile", "7", "--hz", "1000"}));
    int frames = 0;
    const uint64_t start = clockMs(clock_);
    for (uint64_t ran = 0; ran < 1000 || (frames == 0 && ran < test::kPatienceMs);
         ran = clockMs(clock_) - start) {
        if (!reader_.isConnected()) reader_.open();
        frames += reader_.poll(frame_);
        for (const CarRow& row : frame_.cars)
            ASSERT_TRUE(row.carIdx >= 0 && row.carIdx < 64 && std::isfinite(row.lapDistPct));
    }
    EXPECT_GT(frames, 0);
}

TEST_F(PlayedCapture, EndsCleanlyOrByForce) {
    if (!play("lime_rock_race_13.irsdk", {})) GTEST_SKIP() << kMissing;
    ASSERT_TRUE(connect());
    stop(SIGTERM);
    EXPECT_FALSE(reader_.isConnected()); // its status word says so, at once
    EXPECT_FALSE(reader_.open());
    ASSERT_TRUE(play("vir_race_41_chequered.irsdk", {}));
    ASSERT_TRUE(connect());
    EXPECT_EQ(frame_.cars.size(), 40u);
    stop(SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !reader_.isConnected(); }));
    EXPECT_FALSE(reader_.open());
    ASSERT_TRUE(play("interlagos_grid_42.irsdk", {}));
    EXPECT_TRUE(connect(41));
}

} // namespace
} // namespace vt
