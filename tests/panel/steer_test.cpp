#include "panel/calibration.h"
#include "panel/steer_settings.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

TEST(SteerSettings, ALookupFallsBackToTheSimAndNeverToAnother) {
    AppConfig settings;
    settings.steerRotations = {{kSimAc, "a", 500}, {kSimAcc, "", 700}, {kSimAcc, "b", 900}};
    EXPECT_EQ(steerRotationFor(settings, kSimAcc, "b"), 900) << "though the sim's stands before it";
    EXPECT_EQ(steerRotationFor(settings, kSimAcc, "B"), 700) << "exactly this car";
    EXPECT_EQ(steerRotationFor(settings, kSimAcc, ""), 700);
    EXPECT_EQ(steerRotationFor(settings, kSimAc, "b"), 0);
    EXPECT_EQ(steerRotationFor(settings, kSimAc, ""), 0);
}

TEST(SteerSettings, StoresForOneCarOrForAll) {
    AppConfig settings;
    steerRotationSet(settings, kSimAcc, "a", 100, false);
    steerRotationSet(settings, kSimAcc, "b", 2000, false);
    steerRotationSet(settings, kSimAms2, "a", 540, false);
    steerRotationSet(settings, kSimAcc, "a", 640, false);
    ASSERT_EQ(settings.steerRotations.size(), 3u);
    EXPECT_EQ(steerRotationFor(settings, kSimAcc, "a"), 640);
    EXPECT_EQ(steerRotationFor(settings, kSimAcc, "b"), 1440);
    steerRotationSet(settings, kSimAcc, "a", 179, true);
    ASSERT_EQ(settings.steerRotations.size(), 2u);
    EXPECT_EQ(steerRotationFor(settings, kSimAcc, "b"), 180);
    EXPECT_EQ(steerRotationFor(settings, kSimAms2, "a"), 540);
}

TEST(SteerSettings, LocksOfAcc) {
    EXPECT_EQ(accSteerLock("amr_v12_vantage_gt3"), 640);
    EXPECT_EQ(accSteerLock("BMW_M2_CS_Racing"), 360);
    EXPECT_EQ(accSteerLock("porsche_992_gt3_cup"), 540);
    EXPECT_EQ(accSteerLock("porsche_992"), 0);
    EXPECT_EQ(accSteerLock(""), 0);
}

TEST(SteerContext, AsksOnceForACarThatIsDrivenWithTheSteeringShown) {
    AppConfig settings;
    SteerWords words;
    SteerContext context;
    const SteerSurroundings asking{true, true, false};
    const auto update = [&](int sim, const char* car, SteerSurroundings around) {
        words.steerRotationDeg = 1;
        steerContextUpdate(context, words, settings, sim, car, "Name", around);
        return std::pair(context.steerNeeded, context.steerPromptDue);
    };
    using Answer = std::pair<bool, bool>; // needed, due
    EXPECT_EQ(update(kSimAcc, "car", asking), Answer(true, true));
    EXPECT_EQ(words.steerRotationDeg, 0);
    EXPECT_EQ(update(kSimAcc, "car", {false, true, false}), Answer(false, false));
    EXPECT_EQ(update(kSimAcc, "car", {true, false, false}), Answer(true, false));
    EXPECT_EQ(update(kSimAcc, "car", {true, true, true}), Answer(true, false));
    EXPECT_EQ(update(kSimAcc, "", asking), Answer(true, false)) << "which car is not known yet";
    EXPECT_EQ(update(kSimEaWrc, "", asking), Answer(true, true)) << "has no cars";
    EXPECT_EQ(update(kSimDirtRally2, "", asking), Answer(true, true));
    for (const int sim : {int(kSimNone), int(kSimIRacing), int(kSimLmu), int(kSimF1),
                          int(kSimAcEvo), int(kSimRFactor2), int(kSimRaceRoom)}) {
        settings.steerRotations = {{sim, "", 900}};
        EXPECT_EQ(update(sim, "car", asking), Answer(false, false)) << sim;
        EXPECT_EQ(words.steerRotationDeg, 0) << "tells the angle itself";
    }
    settings.steerRotations.clear();
    settings.steerRotAsked = {"3/other", "33/car", "car", "/car", steerAskedKey(kSimEaWrc, "")};
    EXPECT_EQ(update(kSimAcc, "car", asking), Answer(true, true));
    EXPECT_EQ(update(kSimEaWrc, "", asking), Answer(true, false));
    settings.steerRotAsked.push_back("3/car");
    EXPECT_EQ(update(kSimAcc, "car", asking), Answer(true, false));
    settings.steerRotations = {{kSimAcc, "", 640}};
    EXPECT_EQ(update(kSimAcc, "car", asking), Answer(false, false));
    EXPECT_EQ(words.steerRotationDeg, 640);
    EXPECT_EQ(context.displayName, "Name");
}

TEST(Calibration, StartsWithWhatIsKnown) {
    AppConfig settings;
    settings.steerRotations = {{kSimAcc, "bmw_m4_gt3", 900}};
    const auto open = [&](int sim, const char* car) { return calibrationOpen(settings, sim, car); };
    EXPECT_EQ(open(kSimAcc, "bmw_m4_gt3").value, 900);
    EXPECT_FALSE(open(kSimAcc, "bmw_m4_gt3").fromTable);
    EXPECT_EQ(open(kSimAcc, "BMW_M6_GT3").valueText, "565");
    EXPECT_TRUE(open(kSimAcc, "BMW_M6_GT3").fromTable);
    EXPECT_EQ(open(kSimAc, "bmw_m6_gt3").valueText, "180") << "the table is of one sim";
}

TEST(Calibration, Measures) {
    const struct {
        int value, raw, target, measured;
    } cases[] = {
        {360, 5000, 180, 720},  {900, -5000, 180, 720}, {900, 2500, 180, 1440},
        {900, 1200, 180, 1440}, {359, 5000, 90, 360},   {180, 10000, 90, 180},
        {900, 15000, 180, 240}, {900, 1000, 180, 1440}, {900, 999, 180, 0},
        {900, -900, 180, 0},    {900, 0, 180, 0},       {900, 4001, 180, 900},
    };
    for (const auto& c : cases) {
        CalibrationView view;
        view.value = c.value;
        calibrationStart(view);
        EXPECT_EQ(view.targetDeg, static_cast<float>(c.target));
        calibrationCapture(view, c.raw);
        EXPECT_EQ(view.measured, c.measured) << c.raw;
        EXPECT_EQ(view.phase, c.measured ? kCalibResult : kCalibCapturing);
        EXPECT_EQ(view.error.empty(), c.measured != 0);
        if (c.measured == 0) continue;
        CalibrationView back = view;
        calibrationBack(back);
        EXPECT_EQ(back.value, c.value) << "left as it was";
        calibrationUse(view);
        EXPECT_EQ(view.value, c.measured);
        EXPECT_EQ(view.valueText, std::to_string(c.measured));
    }
    EXPECT_FLOAT_EQ(calibrationReading(-12345), 1);
    EXPECT_FLOAT_EQ(calibrationReading(-4567), 0.4567f);
}

TEST(Calibration, TheBoxTakesDigitsAndIsPutRightWhenItIsLeft) {
    CalibrationView view;
    view.value = 900;
    calibrationClamp(view);
    for (const char c : std::string("1x0 0"))
        calibrationType(view, static_cast<uint32_t>(c));
    EXPECT_EQ(view.valueText, "100") << "the first digit replaces the old value";
    calibrationClamp(view);
    EXPECT_EQ(view.valueText, "180");
    for (const char c : std::string("99999"))
        calibrationType(view, static_cast<uint32_t>(c));
    EXPECT_EQ(view.valueText, "9999");
    calibrationErase(view);
    EXPECT_EQ(view.value, 999);
    calibrationClamp(view);
    calibrationErase(view);
    EXPECT_EQ(view.valueText, "99") << "erasing goes on in what stands there";
    calibrationErase(view);
    calibrationErase(view);
    calibrationErase(view);
    EXPECT_EQ(view.valueText, "");
    calibrationStep(view, -10);
    EXPECT_EQ(view.value, 180);
    view.value = 1435;
    calibrationStep(view, 10);
    EXPECT_EQ(view.value, 1440);
    view.value = 30;
    calibrationStart(view);
    EXPECT_EQ(view.value, 180);
}

} // namespace
} // namespace vt
