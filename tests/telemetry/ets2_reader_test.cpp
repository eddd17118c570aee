// The truck: frames by the plug-in's own offsets, real captures, and the reader against plug-ins
// that are asleep, of another version, or gone.
#include "support/page_image.h"
#include "telemetry/readers/ets2_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <numbers>

namespace vt::test {
namespace {

PageImage truckPage(size_t size = 32768) {
    PageImage page(size);
    page.put(0, uint8_t{1}).put(16, uint64_t{1000}).i(40, 12);
    return page;
}

struct Mapped {
    SimFrame frame;
    SteerWords steer;
    explicit Mapped(const PageImage& page) {
        steer.steerRotationDeg = 900;
        fillEts2Frame(frame, page.as<Ets2Page>(), steer);
    }
};

TEST(Ets2Frame, TheTruck) {
    PageImage page = truckPage();
    page.i(504, -2).f(704, 890).f(740, 2000).f(948, -3.5).f(952, 1100).f(960, 0.25).f(964, 0.5);
    page.f(968, 0.75).f(972, 0.5).f(1000, 485).f(1016, 60).f(1020, 52).f(1024, 49).f(1028, 27.5);
    page.f(1892, 1.5).f(1900, -2.5);
    const Mapped m(page);
    const SimFrame& f = m.frame;
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, 7);
    EXPECT_EQ(f.isOnTrack, 1);
    EXPECT_EQ(f.gear, -2);
    EXPECT_EQ(f.fuelCapacity, 890);
    EXPECT_EQ(f.fuelLevel, 485);
    EXPECT_EQ(f.speed, 3.5f); // rolling backwards
    EXPECT_EQ(f.rpm, 1100);
    EXPECT_EQ(f.maxRpm, 2000);
    EXPECT_NEAR(f.shiftFirstRpm, 1040, 0.01);
    EXPECT_NEAR(f.shiftRpm, 1240, 0.01);
    EXPECT_NEAR(f.shiftBlinkRpm, 1440, 0.01);
    EXPECT_EQ(f.throttle, 0.25f);
    EXPECT_EQ(f.brake, 0.5f);
    EXPECT_EQ(f.clutch, 0.75f);
    EXPECT_NEAR(f.steerAngle, -225 * std::numbers::pi / 180, 1e-4);
    EXPECT_NEAR(f.oilPressure, 4.136856, 1e-4);
    EXPECT_EQ(f.oilTemp, 52);
    EXPECT_EQ(f.waterTemp, 49);
    EXPECT_EQ(f.batteryVolts, 27.5f);
    EXPECT_EQ(f.latAccel, 1.5f);
    EXPECT_EQ(f.longAccel, 2.5f);
    EXPECT_EQ(f.sessionState, 2);
    EXPECT_EQ(f.timedSession, 1);
    EXPECT_EQ(f.lap, -1);
    EXPECT_TRUE(f.cars.empty());
    EXPECT_EQ(f.playerCarIdx, -1);

    const Mapped paused(page.put(4, uint8_t{1}).f(740, -1).f(948, std::nanf("")));
    EXPECT_EQ(paused.frame.sessionState, 3);
    EXPECT_EQ(paused.frame.isOnTrack, 0);
    EXPECT_EQ(paused.frame.connected, 1);
    EXPECT_EQ(paused.frame.shiftRpm, 0);
    EXPECT_EQ(paused.frame.speed, 0);
}

TEST(Ets2Frame, NamesAreAsciiUpToTheFirstOtherByte) {
    const auto model = [](const PageImage& page) {
        return std::string(Mapped(page).frame.carModel);
    };
    PageImage page = truckPage();
    page.text(2300, "scania").text(2492, "S");
    EXPECT_EQ(model(page), "scania_S");
    EXPECT_EQ(model(page.text(2428, "\xC3\xA9t\xC3\xA9")), "scania_S");
    EXPECT_EQ(model(page.text(2428, "vehicle.x\tand more")), "vehicle.x");
    EXPECT_EQ(model(page.text(2428, std::string(128, 'v'))), std::string(63, 'v'));
    EXPECT_EQ(model(truckPage()), "_");
    EXPECT_EQ(model(truckPage().text(2300, std::string(64, 'b'))), std::string(63, 'b'));
}

std::vector<uint8_t> capture(const char* name) {
    std::ifstream in(std::filesystem::path(VT_SOURCE_DIR "/../shared/realdata/ets2") / name,
                     std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Ets2Frame, RealCaptures) {
    struct Case {
        const char* file;
        const char* truck;
        double speed, fuel, capacity, rpm, water;
        int gear;
    };
    // Revision 10 has all that is read where the present one has it.
    const Case cases[] = {
        {"buf_10_a.bin", "vehicle.mercedes.actros2014", 22.346, 485.242, 890, 1151.37, 49.938, 12},
        {"buf_1_10.bin", "vehicle.scania.s_2016", 0.0008, 1136.725, 1290, 0, 16.015, 0},
    };
    for (const Case& c : cases) {
        PageImage page(0);
        page.bytes = capture(c.file);
        if (page.bytes.empty()) GTEST_SKIP() << "no capture " << c.file;
        const Mapped m(page);
        EXPECT_STREQ(m.frame.carModel, c.truck);
        EXPECT_NEAR(m.frame.speed, c.speed, 0.001) << c.file;
        EXPECT_NEAR(m.frame.fuelLevel, c.fuel, 0.001) << c.file;
        EXPECT_EQ(m.frame.fuelCapacity, c.capacity) << c.file;
        EXPECT_NEAR(m.frame.rpm, c.rpm, 0.01) << c.file;
        EXPECT_NEAR(m.frame.waterTemp, c.water, 0.001) << c.file;
        EXPECT_NEAR(m.frame.batteryVolts, 27.47, 0.01) << c.file;
        EXPECT_EQ(m.frame.gear, c.gear) << c.file;
    }
}

struct Sim : ReaderDesk, SimObject {
    std::string name = ownName("ets2");
    Ets2Reader reader{context, {name}};

    Sim() { show(truckPage().bytes); }
    void show(const std::vector<uint8_t>& bytes) { ASSERT_TRUE(SimObject::show(name, bytes)); }
    void time(uint64_t value) { put(16, value); }
    bool poll() { return reader.poll(frame); }
};

TEST(Ets2Reader, OpensAnAwakePlugInOfItsVersion) {
    Sim sim;
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll());
    EXPECT_FALSE(sim.poll());
    for (const int version : {0, 9, 10, 11, 13}) {
        sim.show(truckPage().i(40, version).bytes);
        EXPECT_FALSE(sim.reader.open()) << version;
    }
    sim.show(truckPage().put(0, uint8_t{0}).bytes);
    EXPECT_FALSE(sim.reader.open());
    sim.show(truckPage(2555).bytes);
    EXPECT_FALSE(sim.reader.open());
    sim.show(truckPage(2556).bytes);
    EXPECT_TRUE(sim.reader.open());
    for (const char* file : {"buf_9.bin", "buf_10_a.bin"}) {
        const std::vector<uint8_t> old = capture(file);
        if (old.empty()) GTEST_SKIP() << "no capture " << file;
        sim.show(old);
        EXPECT_FALSE(sim.reader.open()) << file;
    }
    sim.writer.close(true);
    EXPECT_FALSE(sim.reader.open());
    SharedMapWriter cleaner;
    EXPECT_TRUE(cleaner.create(sim.name, 1));
}

TEST(Ets2Reader, GoneAtOnceWhenThePlugInEnds) {
    for (const auto& [offset, value] : {std::pair<size_t, uint8_t>{0, 0}, {40, 11}}) {
        Sim sim;
        ASSERT_TRUE(sim.reader.open());
        ASSERT_TRUE(sim.poll());
        sim.put(offset, value);
        sim.time(2000);
        EXPECT_FALSE(sim.poll());
        EXPECT_FALSE(sim.reader.isConnected());
        EXPECT_EQ(sim.frame.connected, 0);
    }
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    SharedMapWriter shorter;
    ASSERT_TRUE(shorter.create(sim.name, 100));
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
}

TEST(Ets2Reader, GoneAfter151PollsWithoutNewsButNotInAPause) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    for (int i = 0; i < 150; ++i)
        ASSERT_FALSE(sim.poll());
    sim.time(500); // any new value will do
    EXPECT_TRUE(sim.poll());

    sim.put(4, uint8_t{1}); // the time stands still with the pause
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.isOnTrack, 0);
    EXPECT_EQ(sim.frame.connected, 1);
    for (int i = 0; i < 500; ++i)
        ASSERT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());

    sim.put(4, uint8_t{0});
    EXPECT_TRUE(sim.poll());
    for (int i = 0; i < 150; ++i)
        ASSERT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());

    sim.put(4, uint8_t{1});
    ASSERT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll());
    sim.writer.close(); // ended while paused
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
}

} // namespace
} // namespace vt::test
