#include "panel/steer_settings.h"
#include "panel/steer_window.h"
#include "panel_desk.h"
#include "support/udp_desk.h"
#include "telemetry/readers/ea_wrc_reader.h"
#include "telemetry/sim_registry.h"

#include <numbers>

namespace vt {
namespace {

class SteerWindow : public test::PanelDesk {
protected:
    AppConfig settings;
    SteerWords words;
    SteerSubject subject{kSimAms2, "car", "Formula Trainer"};
    bool saved = false;

    void run(std::function<void()> script) {
        drive(
            [this] {
                saved = steerWindow(owner, settings, words, subject.sim, subject.car,
                                    subject.displayName);
            },
            std::move(script));
    }
    /// Clicks a control of the page in that phase; where it stands does not depend on the rest.
    void clickOn(int id, int phase = kCalibSetting, float target = 180, int measured = 0) {
        CalibrationView view = calibrationOpen(settings, subject.sim, subject.car);
        view.phase = phase;
        view.targetDeg = target;
        view.measured = measured;
        click(middleOf(steerPage(view, subject, words.steerRawX10000), id));
    }
    int stored() const { return steerRotationFor(settings, subject.sim, subject.car); }
};

TEST_F(SteerWindow, KeysStepTypeSaveAndCancel) {
    settings.steerRotations = {{kSimAms2, "", 900}};
    run([&] {
        EXPECT_EQ(headlessFocus(), currentDialog());
        EXPECT_TRUE(steerAsked(settings, kSimAms2, "car")) << "when it opens, not when it saves";
        key(kKeyUp);
        key(kKeyPageUp);
        key(kKeyPageUp);
        key(kKeyDown);
        key(kKeyPageDown);
        key(kKeyEnter);
    });
    EXPECT_TRUE(saved);
    EXPECT_EQ(stored(), 910);
    EXPECT_EQ(settings.steerRotations.size(), 2u) << "the entry of all cars stays";
    EXPECT_EQ(words.steerRotationDeg, 910);
    EXPECT_TRUE(settings.settingsDirty);
    settings.settingsDirty = false;
    run([&] {
        type("100");
        key(kKeyEscape);
    });
    EXPECT_FALSE(saved);
    EXPECT_FALSE(settings.settingsDirty);
    EXPECT_EQ(stored(), 910);
    EXPECT_EQ(settings.steerRotAsked.size(), 1u);
    run([&] {
        type("2");
        key(kKeyTab); // leaves the box: 180
        key(kKeyUp);
        key(kKeyEnter); // the focus is on a step button, and still: saved
    });
    EXPECT_EQ(stored(), 181);
}

TEST_F(SteerWindow, TabGoesRoundAndTheFocusedButtonIsPressed) {
    settings.steerRotations = {{kSimAms2, "car", 900}};
    run([&] {
        key(kKeyTab, true); // -1
        key(kKeySpace);
        type(" ");
        for (int i = 0; i < 4; ++i)
            key(kKeyTab); // box, +1, +10, check box
        key(kKeySpace);
        key(kKeyTab); // calibrate
        key(kKeyTab); // save
        key(kKeyEnter);
    });
    EXPECT_TRUE(saved);
    EXPECT_EQ(settings.steerRotations.size(), 1u);
    EXPECT_EQ(settings.steerRotations[0].car, "") << "the box for every car was ticked";
    EXPECT_EQ(stored(), 899);
    run([&] {
        for (int i = 0; i < 6; ++i)
            key(kKeyTab);
        key(kKeyEnter); // on "Cancel"
    });
    EXPECT_FALSE(saved);
}

TEST_F(SteerWindow, AHeldButtonRunsThrough) {
    settings.steerRotations = {{kSimAms2, "car", 900}};
    run([&] {
        const RowPage page = steerPage(calibrationOpen(settings, kSimAms2, "car"), subject, 0);
        const PointI at = middleOf(page, kSteerPlus10);
        button(at, true); // 910
        turn(0.32);       // nothing yet
        turn(0.02);       // 920 at 330 ms
        for (int i = 0; i < 5; ++i)
            turn(0.05); // 970
        headlessMouseMove({at.x + 400, at.y});
        headlessMouseButton(0, false);
        loopPump();
        turn(1);
        click(middleOf(page, kSteerMinus1));
        key(kKeyEnter);
    });
    EXPECT_TRUE(saved);
    EXPECT_EQ(stored(), 969);
}

TEST_F(SteerWindow, MeasuresWithTheMouse) {
    run([&] {
        picture("steer_setting");
        clickOn(kSteerBox);
        type("900");
        clickOn(kSteerCalibrate);
        words.steerRawX10000 = 900;
        turn(0.06);
        clickOn(kSteerCapture, kCalibCapturing);
        picture("steer_error");
        words.steerRawX10000 = -5000;
        turn(0.06);
        clickOn(kSteerCapture, kCalibCapturing);
        picture("steer_result");
        clickOn(kSteerUse, kCalibResult, 180, 720);
        picture("steer_measured");
        clickOn(kSteerAllCars);
        clickOn(kSteerSave);
    });
    EXPECT_TRUE(saved);
    EXPECT_EQ(stored(), 720);
    EXPECT_EQ(settings.steerRotations[0].car, "");
}

TEST_F(SteerWindow, EscapeLeavesTheCalibrationAndThenTheWindow) {
    settings.steerRotations = {{kSimAms2, "car", 270}};
    words.steerRawX10000 = 6667;
    run([&] {
        clickOn(kSteerCalibrate);
        picture("steer_capturing_quarter");
        key(kKeyEscape);
        clickOn(kSteerCalibrate);
        key(kKeyS);
        picture("steer_result_same");
        key(kKeyEscape);
        key(kKeyEscape);
    });
    EXPECT_FALSE(saved);
}

TEST_F(SteerWindow, TheGaugeFollowsTheWheel) {
    run([&] {
        clickOn(kSteerCalibrate);
        const WindowId window = currentDialog();
        loopPump();
        const int before = headlessPresents(window);
        for (int i = 0; i < 20; ++i) {
            words.steerRawX10000 = i * 300;
            turn(0.05);
        }
        EXPECT_NEAR(headlessPresents(window) - before, 20, 1);
        picture("steer_capturing");
        key(kKeyEscape);
        const int after = headlessPresents(window);
        turn(1);
        EXPECT_LE(headlessPresents(window) - after, 1) << "the timer runs while it is needed";
        key(kKeyEscape);
    });
}

TEST_F(SteerWindow, ACarWhoseLockIsPublished) {
    subject = {kSimAcc, "lamborghini_huracan_gt3_evo2", "Lamborghini Huracan GT3 EVO2"};
    run([&] {
        picture("steer_acc");
        key(kKeyEnter);
    });
    EXPECT_EQ(stored(), 620);
}

TEST_F(SteerWindow, SaysNothingThatItDoesNotKnow) {
    const RowPage page = steerPage({}, {-1, "", ""}, 0);
    EXPECT_EQ(page.body[1].text.find("This sim does not report how far your wheel turns, so the "
                                     "steering display needs the rotation you set in game. You "
                                     "are in the car you are in."),
              0u);
}

// From the wire to the wheel on the screen: a sender that holds the steering at a half.
TEST_F(SteerWindow, ASenderThatHoldsAHalfIsMeasuredAs720) {
    test::UdpDesk wire;
    EaWrcReader reader(wire.context, wire.place);
    EaWrcPacket packet{};
    packet.vehicle_engine_rpm_max = 8000;
    packet.vehicle_steering = 0.5f;
    packet.stage_length = 5000;
    packet.stage_progress = 0.1f;
    ASSERT_TRUE(wire.openWith(reader, test::bytesOf(packet)));
    SimFrame frame;
    const auto drive500 = [&] {
        wire.send(wire.place.port, test::bytesOf(packet));
        advance(wire.clock, 1.0 / 30);
        EXPECT_TRUE(wire.poll(reader, frame));
    };
    subject = {kSimEaWrc, "", ""};
    SteerContext context;
    steerContextUpdate(context, wire.steer, settings, kSimEaWrc, "", "", {true, true, false});
    ASSERT_TRUE(context.steerPromptDue);
    drive500();
    EXPECT_FALSE(frame.steerAngleOk);
    drive([&] { saved = steerWindow(owner, settings, wire.steer, kSimEaWrc, "", ""); },
          [&] {
              type("360");
              clickOn(kSteerCalibrate);
              drive500();
              turn(0.06);
              picture("steer_wire_capturing");
              key(kKeyS);
              picture("steer_wire_result");
              key(kKeyEnter); // "Use this"
              key(kKeyEnter); // "Save"
          });
    EXPECT_TRUE(saved);
    EXPECT_EQ(stored(), 720);
    drive500();
    EXPECT_TRUE(frame.steerAngleOk);
    EXPECT_FLOAT_EQ(frame.steerAngle, std::numbers::pi_v<float>) << "a half turn";
    EXPECT_FLOAT_EQ(frame.steerLock, 2 * std::numbers::pi_v<float>);
    reader.close();
}

} // namespace
} // namespace vt
