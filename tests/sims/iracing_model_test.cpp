// iRacing from the driver model, in shared memory and as a telemetry file: the program's own
// readers find the cars, the laps and the places that were driven.
#include "sim_run.h"
#include "telemetry/ibt/ibt_file.h"
#include "telemetry/readers/iracing_session_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>
#include <unistd.h>

namespace vt::test {
namespace {

/// Times of the finished laps.
std::vector<double> truthTimes(const std::string& path) {
    std::ifstream in(path);
    const auto truth = nlohmann::json::parse(in, nullptr, false);
    std::vector<double> out;
    if (!truth.is_object()) return out;
    for (const auto& lap : truth["laps"])
        out.push_back(lap["time"].get<double>());
    return out;
}

struct FileLaps {
    std::vector<double> times; // as LapLastLapTime told them
    std::vector<int32_t> late; // records from the line until then
    double courseError = 0;    // rad, largest difference of the globe's course and the car's
};

FileLaps readLaps(IbtFile& file) {
    FileLaps out;
    double told = 0, lat = 0, lon = 0;
    int32_t lap = 0, crossed = 0;
    for (int32_t i = 0; i < file.header().sampleCount; ++i) {
        const IrSample s = file.sample(i);
        if (s.integer("Lap") != lap) crossed = i;
        lap = s.integer("Lap");
        const double last = s.number("LapLastLapTime");
        if (last != told) {
            out.times.push_back(last);
            out.late.push_back(i - crossed);
        }
        told = last;
        const double north = s.number("Lat") - lat;
        const double east = (s.number("Lon") - lon) * std::cos(s.number("Lat") * 0.0174532925);
        lat += north;
        lon = s.number("Lon");
        if (i == 0 || s.number("Speed") < 20) continue;
        const double body = std::atan2(-s.number("VelocityY"), s.number("VelocityX"));
        const double error =
            std::remainder(std::atan2(east, north) - s.number("YawNorth") - body, 6.283185307);
        out.courseError = std::max(out.courseError, std::abs(error));
    }
    return out;
}

TEST(IRacingModel, ATelemetryFileHoldsTheLapsThatWereDriven) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vt_ibt_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string path = folder / "drive.ibt", truth = folder / "truth.json";
    ChildProcess player({builtTool("sim_player"), "ibt", "--circuit", "oval", "--session",
                         "practice", "--laps", "5", "--pit-every", "3", "--out", path, "--truth",
                         truth, "--end", "2026-08-05T14:00:00Z", "--extra", "late=7"});
    EXPECT_EQ(player.waitForExit(4 * kPatienceMs), 0) << player.output();
    IbtFile file;
    ASSERT_TRUE(file.open(path)) << player.output();
    const std::vector<double> driven = truthTimes(truth);
    ASSERT_EQ(driven.size(), 5u);
    EXPECT_EQ(file.header().modifiedNs, 1785938400000000000);
    EXPECT_EQ(file.header().sessionLapCount, 6);
    IrSessionText text;
    parseSessionText(text, file.header().sessionText);
    EXPECT_STREQ(text.trackName, "oval");
    EXPECT_GT(text.trackId, 0);
    EXPECT_EQ(text.sectorStarts.size(), 3u);
    EXPECT_NE(text.setupHash, 0);
    const FileLaps laps = readLaps(file);
    ASSERT_EQ(laps.times.size(), driven.size());
    for (size_t i = 0; i < driven.size(); ++i) {
        EXPECT_NEAR(laps.times[i], driven[i], 2e-5);
        EXPECT_EQ(laps.late[i], 7);
    }
    EXPECT_LT(laps.courseError, 0.05);
    std::filesystem::remove_all(folder);
}

TEST(IRacingModel, TheReaderFindsEveryCarInItsPlace) {
    ChildProcess player({builtTool("sim_player"), "iracing", "--circuit", "oval", "--cars", "20",
                         "--classes", "2", "--skip", "90", "--seconds", "200"});
    ReaderSet set;
    SimReader& reader = *set.readers[kSimIRacing];
    SimFrame frame;
    EXPECT_TRUE(eventually([&] { return reader.open() && reader.poll(frame); }, 20));
    ASSERT_EQ(frame.cars.size(), 20u) << player.output(); // and no pace car
    EXPECT_EQ(frame.isRace, 1);
    std::sort(frame.cars.begin(), frame.cars.end(),
              [](const CarRow& a, const CarRow& b) { return a.position < b.position; });
    std::set<std::string> names;
    for (size_t i = 0; i < frame.cars.size(); ++i) {
        const CarRow& row = frame.cars[i];
        names.insert(row.driverName);
        EXPECT_EQ(row.position, static_cast<int32_t>(i) + 1);
        if (i == 0) continue;
        const CarRow& ahead = frame.cars[i - 1];
        const double way = static_cast<double>(row.lapDistPct) + row.lap;
        EXPECT_LE(way, static_cast<double>(ahead.lapDistPct) + ahead.lap + 1e-4);
        EXPECT_GE(row.gapToLeader, ahead.gapToLeader - 0.05f);
    }
    EXPECT_EQ(names.size(), 20u);
    reader.close();
}

} // namespace
} // namespace vt::test
