// A car drives a stage of the driver model again and again; the learned road is measured in metres.
#include "driver_model/driver_model.h"
#include "perf/road_survey.h"
#include "platform/file.h"
#include "spread.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace vt {
namespace {

struct StageLearned {
    Spread driven, centre; // m, the learned line against the mean of all runs, and the middle
    float share = 0;       // of bins with a point
    int laps = 0;
};

/// One run from end to end, each with another driver's day; what rally sims tell and no more.
void runStage(RoadSurvey& survey, const model::Circuit& stage, uint32_t seed,
              std::vector<double>& lateralSum, std::vector<int>& lateralCount) {
    model::Settings settings;
    settings.session = model::SessionKind::practice;
    settings.seed = seed;
    model::Race race = model::startRace(settings, stage);
    SimFrame frame;
    for (int tick = 0; tick < 60 * 60 * 20; ++tick) {
        model::stepRace(race, 1.0 / 60);
        const model::Car& car = model::player(race);
        if (car.pct > 0.999 || car.lap > 0) break;
        model::fillFrame(race, frame);
        frame.simKind = kSimDirtRally2;
        frame.trackId = 77;
        frame.worldOk = 1;
        frame.trackSurface = -1;
        frame.pathLateralOk = 0;
        frame.trackEdgeOk = 0;
        frame.lapValidity = -1;
        roadSurveyTick(survey, frame);
        const auto bin = static_cast<size_t>(car.pct * static_cast<double>(lateralSum.size()));
        lateralSum[bin] += car.lateral;
        ++lateralCount[bin];
    }
    roadSurveyRestart(survey); // the stage is left: folded
}

StageLearned measure(const RoadMap& map, const model::Circuit& stage,
                     const std::vector<double>& lateralSum, const std::vector<int>& lateralCount) {
    StageLearned out;
    out.laps = map.laps;
    std::vector<float> driven, centre;
    const auto bins = map.bins.size();
    size_t points = 0;
    for (size_t i = 0; i < bins; ++i) {
        const RoadBin& bin = map.bins[i];
        if (bin.count == 0 || lateralCount[i] == 0) continue;
        ++points;
        const double s = (static_cast<double>(i) + 0.5) / static_cast<double>(bins) * stage.length;
        const model::CircuitPoint at = model::circuitAt(stage, s);
        const double across = (static_cast<double>(bin.x) - at.x) * std::sin(at.heading) -
                              (static_cast<double>(bin.y) - at.y) * std::cos(at.heading);
        centre.push_back(static_cast<float>(across));
        driven.push_back(static_cast<float>(across - lateralSum[i] / lateralCount[i]));
    }
    out.share = static_cast<float>(points) / static_cast<float>(std::max<size_t>(bins, 1));
    out.driven = spreadOf(driven);
    out.centre = spreadOf(centre);
    return out;
}

/// Writes its table into the documentation when asked: VT_WRITE_DOCS=1.
TEST(StageLearning, FiveRunsInMetres) {
    const model::Circuit stage = model::builtInCircuit("stage");
    const auto bins = static_cast<size_t>(roadBinCount(static_cast<float>(stage.length)));
    std::vector<double> lateralSum(bins, 0);
    std::vector<int> lateralCount(bins, 0);
    const std::string folder =
        std::filesystem::temp_directory_path() / ("vt_stage_" + std::to_string(getpid()));
    RoadSurvey survey;
    survey.baseDir = folder;
    std::string rows;
    for (uint32_t run = 1; run <= 5; ++run) {
        runStage(survey, stage, run, lateralSum, lateralCount);
        RoadMap map;
        ASSERT_TRUE(roadMapLoad(map, folder, kSimDirtRally2, 77)) << "run " << run;
        ASSERT_EQ(map.bins.size(), bins);
        const StageLearned learned = measure(map, stage, lateralSum, lateralCount);
        EXPECT_EQ(learned.laps, static_cast<int>(run));
        EXPECT_GT(learned.share, 0.97f);
        EXPECT_LT(learned.driven.p95, 0.5f);
        char text[160];
        std::snprintf(
            text, sizeof text, "| %u | %.2f / %.2f | %.2f / %.2f |\n", run,
            static_cast<double>(learned.driven.median), static_cast<double>(learned.driven.p95),
            static_cast<double>(learned.centre.median), static_cast<double>(learned.centre.p95));
        std::printf("%s", text);
        rows += text;
    }
    std::filesystem::remove_all(folder);
    if (!std::getenv("VT_WRITE_DOCS")) return;
    const std::string path = VT_SOURCE_DIR "/docs/tracks.md";
    std::string text;
    ASSERT_TRUE(readFile(path, text));
    const size_t from = text.find("<!-- learned stage: begin -->"),
                 to = text.find("<!-- learned stage: end -->");
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos);
    const size_t first = text.find('\n', text.find("|---", from)) + 1;
    ASSERT_TRUE(writeFileAtomic(path, text.replace(first, to - first, rows)));
}

} // namespace
} // namespace vt
