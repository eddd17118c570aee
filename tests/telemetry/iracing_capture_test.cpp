// Real images of the sim's memory, and what their makers say is in them.
#include "platform/shared_map.h"
#include "support/iracing_image.h"
#include "telemetry/readers/iracing_reader.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace vt {
namespace {

using nlohmann::json;

std::filesystem::path captureFolder() {
    return VT_SOURCE_DIR "/../shared/realdata/iracing";
}

std::vector<uint8_t> readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

const json* driverOf(const json& expected, int32_t carIdx) {
    for (const json& driver : expected["drivers"])
        if (driver["CarIdx"] == carIdx) return &driver;
    return nullptr;
}

bool drives(const json& driver) {
    return driver["CarIsPaceCar"] == 0 && driver["IsSpectator"] == 0;
}

std::string textOf(const json& value) {
    return value.is_string() ? value.get<std::string>() : "";
}

template <class Identity>
void expectIdentity(const Identity& car, const char* name, const char* carClass, const char* number,
                    const char* brand, const json& driver) {
    EXPECT_EQ(name, textOf(driver["UserName"]));
    EXPECT_EQ(carClass, textOf(driver["CarClassShortName"]));
    EXPECT_EQ(number, textOf(driver["CarNumber"]));
    EXPECT_EQ(car.irating, driver["IRating"].get<int>());
    EXPECT_EQ(std::string(car.licence), textOf(driver["LicString"]));
    const std::string screenName = textOf(driver["CarScreenName"]);
    EXPECT_EQ(brand, screenName.substr(0, screenName.find(' ')).substr(0, 23));
}

void expectRow(const CarRow& row, const json& expected) {
    SCOPED_TRACE("car " + std::to_string(row.carIdx));
    const json* driver = driverOf(expected, row.carIdx);
    ASSERT_NE(driver, nullptr);
    EXPECT_TRUE(drives(*driver));
    expectIdentity(row, row.driverName, row.carClass, row.carNumber, row.carBrand, *driver);
    EXPECT_EQ(row.carNumberValue, std::stoi(textOf((*driver)["CarNumber"])));

    const auto i = static_cast<size_t>(row.carIdx);
    const json& cars = expected["cars"];
    EXPECT_EQ(row.lap, cars["CarIdxLap"][i].get<int>());
    EXPECT_FLOAT_EQ(row.lapDistPct, cars["CarIdxLapDistPct"][i].get<float>());
    EXPECT_EQ(row.trackSurface, cars["CarIdxTrackSurface"][i].get<int>());
    EXPECT_EQ(row.onPitRoad != 0, cars["CarIdxOnPitRoad"][i].get<bool>());
    EXPECT_EQ(row.position, cars["CarIdxPosition"][i].get<int>());
    EXPECT_EQ(row.classPosition, cars["CarIdxClassPosition"][i].get<int>());
    EXPECT_FLOAT_EQ(row.gapToLeader, cars["CarIdxF2Time"][i].get<float>());
    EXPECT_FLOAT_EQ(row.estTime, cars["CarIdxEstTime"][i].get<float>());
    const auto last = cars["CarIdxLastLapTime"][i].get<float>();
    const auto best = cars["CarIdxBestLapTime"][i].get<float>();
    // Where the array has no time the results table of the text may have one.
    EXPECT_FLOAT_EQ(row.lastLapTime, last > 0 ? last : std::max(row.lastLapTime, 0.0f));
    EXPECT_FLOAT_EQ(row.bestLapTime, best > 0 ? best : std::max(row.bestLapTime, 0.0f));
}

/// Publishes an image under names of this process and reads it once.
struct Published {
    IRacingNames names;
    SharedMapWriter writer;
    Clock clock = manualClock();
    IRacingWants wants;
    SimFrame frame;
    bool opened = false, polled = false;

    explicit Published(const std::vector<uint8_t>& image) {
        names.map = "vt_test_capture_" + std::to_string(getpid());
        names.event = names.map + "_event";
        EXPECT_TRUE(writer.create(names.map, image.size()));
        std::copy(image.begin(), image.end(), writer.data());
        IRacingReader reader(clock, wants, names);
        opened = reader.open();
        polled = opened && reader.poll(frame);
    }
};

class Capture : public testing::TestWithParam<const char*> {};

TEST_P(Capture, EveryRowIsWhatTheRecordingSays) {
    const auto path = captureFolder() / GetParam();
    const auto image = readFile(path.string() + ".irsdk");
    if (image.empty()) GTEST_SKIP() << "no capture at " << path;
    std::ifstream in(path.string() + ".json");
    const json expected = json::parse(in, nullptr, false);
    ASSERT_TRUE(expected.is_object());

    const auto header = readAt<IrHeader>(image, 0);
    const Published sim(image);
    if (header.numVars == 0) {
        // A recording of the session text alone: no sample, so it is no running sim.
        EXPECT_FALSE(sim.opened);
        IrSessionText text;
        parseSessionText(text,
                         {reinterpret_cast<const char*>(image.data()) + header.sessionInfoOffset,
                          static_cast<size_t>(header.sessionInfoLen)});
        EXPECT_EQ(text.playerCarIdx, expected["playerCarIdx"].get<int>());
        for (const json& driver : expected["drivers"]) {
            const IrDriver& slot = text.drivers[driver["CarIdx"].get<size_t>()];
            ASSERT_TRUE(slot.present);
            expectIdentity(slot, slot.userName, slot.className, slot.numberText, slot.brand,
                           driver);
        }
        return;
    }
    ASSERT_TRUE(sim.polled);
    const SimFrame& frame = sim.frame;
    EXPECT_EQ(frame.playerCarIdx, expected["playerCarIdx"].get<int>());
    EXPECT_EQ(frame.sessionNum, expected["sessionNum"].get<int>());
    EXPECT_DOUBLE_EQ(frame.sessionTime, expected["sessionTime"].get<double>());
    EXPECT_NEAR(frame.trackLength, std::stof(textOf(expected["trackLength"])) * 1000, 0.01);
    const std::string session = expected["sessions"][static_cast<size_t>(frame.sessionNum)];
    EXPECT_EQ(frameIsRace(frame), session == "Race");
    EXPECT_NE(playerRow(frame), nullptr);

    size_t drivers = 0;
    for (const json& driver : expected["drivers"])
        drivers += drives(driver);
    EXPECT_EQ(frame.cars.size(), drivers);
    for (const CarRow& row : frame.cars)
        expectRow(row, expected);
}

INSTANTIATE_TEST_SUITE_P(Sessions, Capture,
                         testing::Values("interlagos_grid_42", "le_mans_race_38",
                                         "lime_rock_race_13", "nordschleife_practice_54",
                                         "oulton_practice_62", "vir_race_41_chequered"),
                         [](const auto& test) { return std::string(test.param); });

TEST(LiveMapping, OneCarInTheGarage) {
    const auto image = readFile(captureFolder() / "live_mapping_garage.irsdk");
    if (image.empty()) GTEST_SKIP() << "no capture in " << captureFolder();
    const Published sim(image);
    ASSERT_TRUE(sim.polled);
    const SimFrame& f = sim.frame;
    ASSERT_EQ(f.cars.size(), 1u);
    EXPECT_EQ(f.playerCarIdx, 0);
    EXPECT_STREQ(f.cars[0].carNumber, "64");
    EXPECT_EQ(f.cars[0].carNumberValue, 64);
    EXPECT_EQ(f.cars[0].lapDistPct, -1);
    EXPECT_STREQ(f.cars[0].carBrand, "Mercedes-AMG");
    EXPECT_STREQ(f.carModel, "mercedesw13");
    EXPECT_STREQ(f.carName, "Mercedes-AMG W13 E Performance");
    EXPECT_STREQ(f.trackName, "Autodromo Nazionale Monza");
    EXPECT_STREQ(f.trackConfig, "");
    EXPECT_EQ(f.trackId, 239);
    EXPECT_FLOAT_EQ(f.trackLength, 5750);
    EXPECT_FLOAT_EQ(f.pitLimitSpeed, 80.0f / 3.6f);
    EXPECT_STREQ(f.sessionName, "TESTING");
    EXPECT_EQ(f.isRace, 0);
    EXPECT_EQ(f.timeTotal, -1);
    EXPECT_EQ(f.timeRemain, -1);
    EXPECT_EQ(f.timedSession, 1);
    EXPECT_NEAR(f.sessionTime, 53.15, 0.001); // of the middle buffer, the newest
    EXPECT_EQ(f.tyreDataLevel, 2);
    EXPECT_NEAR(f.tyrePressure[0], 165.474, 0.001);
    EXPECT_NEAR(f.tyrePressure[2], 144.79, 0.001);
    EXPECT_EQ(f.clutch, 1); // the sim's 0 is a pressed pedal
    EXPECT_EQ(f.absLevel, -1000);
    EXPECT_EQ(f.maxRpm, 11473);
    EXPECT_EQ(f.sectorStarts.size(), 5u);
    EXPECT_EQ(f.setupUpdateCount, 1);
    EXPECT_NE(f.setupHash, 0);
    const std::string setup = f.setupText;
    EXPECT_EQ(setup.substr(0, setup.find('\n')), "TiresAero.TireCompound.TireCompound: Medium");
    EXPECT_NE(setup.find("\nChassis.LeftFront.Camber: -3.15 deg\n"), std::string::npos);
    EXPECT_NE(setup.find("\nDriveBrake.BrakeSystemConfig.TotalBrakeBias: 57.0% front\n"),
              std::string::npos);
    EXPECT_EQ(setup.find("UpdateCount"), std::string::npos);
}

} // namespace
} // namespace vt
