#include "platform/file.h"
#include "support/udp_desk.h"
#include "telemetry/readers/ea_wrc_frame.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <string>

namespace vt {
namespace {

using test::Bytes;
using test::bytesOf;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

EaWrcPacket drivingPacket() {
    EaWrcPacket p{};
    p.vehicle_engine_rpm_current = 5000;
    p.vehicle_engine_rpm_max = 7500;
    p.vehicle_gear_index = 3;
    p.vehicle_gear_index_neutral = 1;
    p.vehicle_throttle = 0.5f;
    p.vehicle_steering = -0.25f;
    p.vehicle_speed = 30;
    p.vehicle_acceleration_x = 2;
    p.vehicle_acceleration_y = 3;
    p.vehicle_acceleration_z = 4;
    p.shiftlights_rpm_start = 6000;
    p.shiftlights_rpm_end = 7000;
    p.shiftlights_rpm_valid = 1;
    p.stage_current_time = 61;
    p.stage_length = 8000;
    p.stage_progress = 0.4f;
    p.vehicle_position[0] = 100;
    p.vehicle_position[1] = 20;
    p.vehicle_position[2] = 300;
    p.vehicle_forward_direction[2] = 1;
    p.vehicle_left_direction[0] = 1;
    p.location_id = 7;
    p.route_id = 12;
    return p;
}

SimFrame frameOf(const EaWrcPacket& packet, const EaWrcIds& ids = {}) {
    SimFrame frame;
    MapFrame mapFrame;
    SteerWords steer;
    steer.steerRotationDeg = 360;
    fillEaWrcFrame(frame, bytesOf(packet), mapFrame, ids, steer);
    return frame;
}

std::string utf16(std::string_view ascii) {
    std::string out;
    for (const char c : ascii) {
        out += c;
        out += '\0';
    }
    return out;
}

TEST(EaWrcPacket, OnlyItsOwnLengthAndWhatACarCanDo) {
    for (size_t length = 0; length <= 265; ++length) {
        Bytes bytes = bytesOf(drivingPacket());
        bytes.resize(length);
        EXPECT_EQ(validEaWrc(bytes), length == 201) << length;
    }
    struct Case {
        const char* what;
        bool valid;
        std::function<void(EaWrcPacket&)> change;
    };
    const Case cases[] = {
        {"engine stopped", true, [](auto& p) { p.vehicle_engine_rpm_current = -1; }},
        {"engine -2", false, [](auto& p) { p.vehicle_engine_rpm_current = -2; }},
        {"redline at 30001", false, [](auto& p) { p.vehicle_engine_rpm_max = 30001; }},
        {"throttle 1.1", true, [](auto& p) { p.vehicle_throttle = 1.1f; }},
        {"throttle 1.2", false, [](auto& p) { p.vehicle_throttle = 1.2f; }},
        {"clutch -0.2", false, [](auto& p) { p.vehicle_clutch = -0.2f; }},
        {"steering 1.6", false, [](auto& p) { p.vehicle_steering = 1.6f; }},
        {"speed -201", false, [](auto& p) { p.vehicle_speed = -201; }},
        {"acceleration 501", false, [](auto& p) { p.vehicle_acceleration_y = 501; }},
        {"shift light is no number", false, [](auto& p) { p.shiftlights_rpm_end = kNan; }},
        {"time is no number", false, [](auto& p) { p.stage_current_time = kNan; }},
        {"progress 1.2", false, [](auto& p) { p.stage_progress = 1.2f; }},
        {"far away", false, [](auto& p) { p.vehicle_position[1] = -2e7f; }},
        {"forward is no unit vector", false,
         [](auto& p) { p.vehicle_forward_direction[0] = 1.1f; }},
        {"left is no number", false, [](auto& p) { p.vehicle_left_direction[2] = kNan; }},
        {"what is not read", true, [](auto& p) { p.vehicle_hub_velocity[0] = kNan; }},
        {"length is no number", true, [](auto& p) { p.stage_length = kNan; }},
    };
    for (const Case& c : cases) {
        EaWrcPacket packet = drivingPacket();
        c.change(packet);
        EXPECT_EQ(validEaWrc(bytesOf(packet)), c.valid) << c.what;
    }
}

TEST(EaWrcFrame, ValuesInTheProgramsUnits) {
    const SimFrame frame = frameOf(drivingPacket());
    EXPECT_EQ(frame.simKind, kSimEaWrc);
    EXPECT_FLOAT_EQ(frame.rpm, 5000);
    EXPECT_FLOAT_EQ(frame.maxRpm, 7500);
    EXPECT_FLOAT_EQ(frame.throttle, 0.5f);
    EXPECT_FLOAT_EQ(frame.speed, 30);
    EXPECT_FLOAT_EQ(frame.latAccel, 2);
    EXPECT_FLOAT_EQ(frame.longAccel, 3);
    EXPECT_FLOAT_EQ(frame.shiftFirstRpm, 6000);
    EXPECT_FLOAT_EQ(frame.shiftRpm, 6660);
    EXPECT_FLOAT_EQ(frame.shiftBlinkRpm, 7000);
    EXPECT_NEAR(frame.steerAngle, -0.25 * 3.14159265, 1e-5);
    EXPECT_FLOAT_EQ(frame.lapDistPct, 0.4f);
    EXPECT_FLOAT_EQ(frame.trackLength, 8000);
    EXPECT_FLOAT_EQ(frame.currentLapTime, 61);
    EXPECT_EQ(frame.trackId, 7 * 65536 + 12);
    EXPECT_STREQ(frame.trackName, "");
    EXPECT_STREQ(frame.carModel, "eawrc");
    EXPECT_EQ(frame.worldOk, 1);
    EXPECT_FLOAT_EQ(frame.worldX, 100);
    EXPECT_FLOAT_EQ(frame.worldY, 300) << "height is no axis of the map";
    EXPECT_FLOAT_EQ(frame.forwardY, 1);
    EXPECT_FLOAT_EQ(frame.rightX, -1);

    EaWrcPacket odd = drivingPacket();
    odd.vehicle_speed = -4;
    odd.shiftlights_rpm_end = 6000;
    odd.stage_length = kNan;
    odd.stage_current_time = 36000;
    odd.stage_progress = 1.05f;
    const SimFrame edge = frameOf(odd);
    EXPECT_FLOAT_EQ(edge.speed, 4);
    EXPECT_FLOAT_EQ(edge.shiftRpm, 0) << "no lights between two equal points";
    EXPECT_FLOAT_EQ(edge.trackLength, 0);
    EXPECT_FLOAT_EQ(edge.currentLapTime, 0);
    EXPECT_FLOAT_EQ(edge.lapDistPct, 1);
}

TEST(EaWrcFrame, GearsAreIndices) {
    struct Case {
        int index, neutral, reverse, gear;
    };
    const Case cases[] = {
        {3, 1, 0, 2},    {0, 1, 0, -1}, {1, 1, 0, 0}, {0, 0, 0, 0},  {2, 0, 0, 2},
        {10, 0, 10, -1}, {5, 0, 10, 5}, {0, 3, 9, 0}, {2, 3, 9, -1},
    };
    for (const Case& c : cases) {
        EaWrcPacket packet = drivingPacket();
        packet.vehicle_gear_index = static_cast<uint8_t>(c.index);
        packet.vehicle_gear_index_neutral = static_cast<uint8_t>(c.neutral);
        packet.vehicle_gear_index_reverse = static_cast<uint8_t>(c.reverse);
        EXPECT_EQ(frameOf(packet).gear, c.gear)
            << c.index << " neutral " << c.neutral << " reverse " << c.reverse;
    }
}

TEST(EaWrcIds, NamesOfPlacesAndStages) {
    const std::string json =
        R"({"locations":[{"id":7,"name":"Rally Finland"},{"id":8,"name":"lng_hidden"},)"
        R"({"id":"9","name":"wrong"},{"id":70000,"name":"far"},{"name":"none"},5],)"
        R"("routes":[{"id":12,"name":"Leustu"},{"id":13,"name":7}],"others":{}})";
    const std::string plain = utf16(json);
    std::string swapped = "\xFE\xFF";
    for (size_t i = 0; i < plain.size(); i += 2)
        swapped += {plain[i + 1], plain[i]};
    for (const std::string& file : {plain, "\xFF\xFE" + plain, swapped}) {
        const EaWrcIds ids = parseEaWrcIds(file);
        ASSERT_EQ(ids.locations.size(), 1u);
        ASSERT_EQ(ids.routes.size(), 1u);
        EXPECT_EQ(ids.locations.at(7), "Rally Finland");
        EXPECT_STREQ(frameOf(drivingPacket(), ids).trackName, "Rally Finland - Leustu");
        EaWrcPacket other = drivingPacket();
        other.route_id = 13;
        EXPECT_STREQ(frameOf(other, ids).trackName, "Rally Finland");
        other.location_id = 8;
        EXPECT_STREQ(frameOf(other, ids).trackName, "");
        other.route_id = 12;
        EXPECT_STREQ(frameOf(other, ids).trackName, "Leustu");
    }
    // Names longer than the field end between two letters.
    EaWrcIds longNames;
    std::string longName;
    for (int i = 0; i < 60; ++i)
        longName += "\xC3\xA4";
    longNames.locations[7] = longNames.routes[12] = longName;
    EXPECT_EQ(std::string(frameOf(drivingPacket(), longNames).trackName),
              longName.substr(0, 62) + " ");

    for (const std::string& broken :
         {std::string(), std::string("{}"), json, plain.substr(0, plain.size() - 2), utf16("[]"),
          utf16(R"({"locations":{},"routes":3})"), std::string(8 << 20, '[')}) {
        const EaWrcIds ids = parseEaWrcIds(broken);
        EXPECT_TRUE(ids.locations.empty() && ids.routes.empty());
    }
}

TEST(EaWrcIds, FoundBelowTheDocumentsFolder) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("vt_wrc_" + std::to_string(getpid()));
    const auto file = folder / kEaWrcIdsFile;
    std::filesystem::create_directories(file.parent_path());
    EXPECT_TRUE(loadEaWrcIds(folder.string()).locations.empty());
    EXPECT_TRUE(loadEaWrcIds("").locations.empty());
    ASSERT_TRUE(
        writeFileAtomic(file.string(), utf16(R"({"locations":[{"id":1,"name":"Monte"}]})")));
    EXPECT_EQ(loadEaWrcIds(folder.string()).locations.count(1), 1u);
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace vt
