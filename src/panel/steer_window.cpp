#include "panel/steer_window.h"

#include "base/translate.h"
#include "panel/steer_settings.h"
#include "panel/text_lines.h"
#include "telemetry/sim_registry.h"

#include <cmath>

namespace vt {

namespace {

constexpr uint32_t kGaugeTimer = 1, kHoldTimer = 2;
constexpr int kSaved = 1;

RowItem row(RowKind kind, std::string text, int id = 0, bool beside = false) {
    RowItem item;
    item.kind = kind;
    item.text = std::move(text);
    item.id = id;
    item.beside = beside;
    return item;
}

RowItem button(int id, const char* text, bool expected, bool beside) {
    RowItem item = row(RowKind::button, text, id, beside);
    item.on = expected;
    return item;
}

std::string simName(int sim) {
    return sim >= 0 && sim < kSimCount ? simShortName(sim) : Translate("This sim");
}

// ---- what it shows
// -----------------------------------------------------------------------------------------

struct StepButton {
    int id, step;
    const char* text;
};
constexpr StepButton kSteps[] = {{kSteerMinus10, -10, "-10"},
                                 {kSteerMinus1, -1, "-1"},
                                 {kSteerPlus1, 1, "+1"},
                                 {kSteerPlus10, 10, "+10"}};

int stepOf(int id) {
    for (const StepButton& b : kSteps)
        if (b.id == id) return b.step;
    return 0;
}

std::string questionText(const CalibrationView& view, const SteerSubject& subject) {
    const std::string car =
        subject.displayName.empty() ? Translate("car you are in") : subject.displayName;
    return fillText(Translate("%s does not report how far your wheel turns, so the steering "
                              "display needs the rotation you set in game. You are in the %s."),
                    {simName(subject.sim), car}) +
           "\n\n" +
           (view.fromTable
                ? Translate("This is the steering lock this car uses, so it should already be "
                            "right. Change it if your wheel does not match.")
                : Translate("Start with the Rotation or Steering Range figure from the game's own "
                            "controls page. Type it in, or hold the buttons to run through.")) +
           "\n\n" +
           Translate("If the on-screen wheel does not match yours, calibrate and it will measure "
                     "the right number for you. Until this is set, the steering display reads "
                     "N/A.");
}

void addSetting(RowPage& page, const CalibrationView& view, const SteerSubject& subject) {
    page.body.push_back(row(RowKind::heading, Translate("How far does your wheel turn?")));
    page.body.push_back(row(RowKind::text, questionText(view, subject)));
    // The two that take off, the box, the two that add.
    for (const StepButton& b : kSteps) {
        if (b.id == kSteerPlus1)
            page.body.push_back(row(RowKind::numberBox, view.valueText, kSteerBox, true));
        RowItem item = button(b.id, b.text, false, b.id != kSteerMinus10);
        item.repeating = true;
        page.body.push_back(item);
    }
    RowItem all = row(RowKind::checkBox,
                      fillText(Translate("Use this for every car in %s"), {simName(subject.sim)}),
                      kSteerAllCars);
    all.on = view.allCars;
    page.body.push_back(all);
    page.body.push_back(
        button(kSteerCalibrate, Translate("Calibrate against your wheel"), false, false));
    page.footer.push_back(button(kSteerSave, Translate("Save"), true, false));
    page.footer.push_back(button(kSteerCancel, Translate("Cancel"), false, true));
}

void addCapturing(RowPage& page, const CalibrationView& view, int32_t rawX10000) {
    page.body.push_back(row(RowKind::heading, Translate("Calibration")));
    page.body.push_back(row(
        RowKind::text,
        view.targetDeg > 90
            ? Translate("Turn your wheel a half turn from centre, so the top of the rim points "
                        "straight down, and hold it there. Then press S, or click Capture.")
            : Translate("Turn your wheel a quarter turn from centre, so the top of the rim points "
                        "to the side, and hold it there. Then press S, or click Capture.")));
    const float reading = calibrationReading(rawX10000);
    RowItem gauge = row(RowKind::gauge, fillText(Translate("Reading: %d%%"),
                                                 {std::to_string(std::lround(reading * 100))}));
    gauge.level = reading;
    page.body.push_back(gauge);
    if (!view.error.empty()) page.body.push_back(row(RowKind::warning, view.error));
    page.footer.push_back(button(kSteerCapture, Translate("Capture"), true, false));
    page.footer.push_back(button(kSteerBack, Translate("Back"), false, true));
}

void addResult(RowPage& page, const CalibrationView& view, const SteerSubject& subject) {
    const std::string inBox = std::to_string(view.value);
    page.body.push_back(row(RowKind::heading, Translate("Measured")));
    page.body.push_back(row(RowKind::large, std::to_string(view.measured)));
    page.body.push_back(row(
        RowKind::text,
        view.measured == view.value
            ? fillText(Translate("This matches the %d already in the box, so the steering display "
                                 "was already correct."),
                       {inBox})
            : fillText(Translate("This is what %s is actually reporting, and it differs from the "
                                 "%d in the box. That is normal: some sims work to the car's own "
                                 "steering lock rather than to your wheel's rotation, so the "
                                 "figure from the game's settings page is not always the one that "
                                 "makes the display match. Press Use this to keep the measured "
                                 "number."),
                       {simName(subject.sim), inBox})));
    page.footer.push_back(button(kSteerUse, Translate("Use this"), true, false));
    page.footer.push_back(button(kSteerBack, Translate("Back"), false, true));
}

// ---- what it does
// ------------------------------------------------------------------------------------------

struct Window {
    AppConfig& settings;
    SteerWords& words;
    SteerSubject subject;
    CalibrationView view;
};

void save(Window& w) {
    calibrationSave(w.view, w.settings, w.words, w.subject.sim, w.subject.car);
    endDialog(kSaved);
}

void showPhase(const Window& w) {
    const WindowId window = currentDialog();
    if (w.view.phase == kCalibCapturing)
        startTimer(window, kGaugeTimer, kGaugeMs);
    else
        stopTimer(window, kGaugeTimer);
    rowsFocus(w.view.phase == kCalibSetting ? kSteerBox : 0);
    rowsChanged(true);
}

void press(Window& w, int id) {
    if (const int step = stepOf(id)) calibrationStep(w.view, step); // by the keyboard
    switch (id) {
    case kSteerAllCars:
        w.view.allCars = !w.view.allCars;
        break;
    case kSteerSave:
        save(w);
        break;
    case kSteerCancel:
        endDialog(0);
        break;
    case kSteerCalibrate:
        calibrationStart(w.view);
        showPhase(w);
        break;
    case kSteerCapture:
        calibrationCapture(w.view, w.words.steerRawX10000);
        showPhase(w);
        break;
    case kSteerUse:
        calibrationUse(w.view);
        showPhase(w);
        break;
    case kSteerBack:
        calibrationBack(w.view);
        showPhase(w);
        break;
    default:
        break;
    }
}

void hold(Window& w, int id, bool isDown) {
    if (isDown) {
        calibrationHold(w.view, stepOf(id));
        startTimer(currentDialog(), kHoldTimer, kHoldFirstMs);
    } else {
        calibrationLetGo(w.view);
        stopTimer(currentDialog(), kHoldTimer);
    }
}

void onTimer(Window& w, uint32_t id) {
    if (id == kHoldTimer) {
        const int next = calibrationRepeat(w.view);
        if (next == 0)
            stopTimer(currentDialog(), kHoldTimer);
        else if (w.view.holdCount == 1)
            startTimer(currentDialog(), kHoldTimer, next); // slow at first, then this pace
    }
    rowsChanged();
}

bool keyOfSetting(Window& w, const WindowEvent& event) {
    if (event.kind == EventKind::character) {
        calibrationType(w.view, event.key);
        return true;
    }
    switch (event.key) {
    case kKeyEnter:
        save(w);
        return true;
    case kKeyUp:
    case kKeyDown:
        calibrationStep(w.view, event.key == kKeyUp ? 1 : -1);
        return true;
    case kKeyPageUp:
    case kKeyPageDown:
        calibrationStep(w.view, event.key == kKeyPageUp ? 10 : -10);
        return true;
    case kKeyBack:
    case kKeyDelete:
        calibrationErase(w.view);
        return true;
    default:
        return false;
    }
}

bool onKey(Window& w, const WindowEvent& event) {
    const bool down = event.kind == EventKind::keyDown;
    if (!down && event.kind != EventKind::character) return false;
    if (w.view.phase == kCalibSetting) return keyOfSetting(w, event);
    if (!down) return true;
    if (event.key == kKeyEscape) {
        press(w, kSteerBack);
        return true;
    }
    const bool capturing = w.view.phase == kCalibCapturing;
    if (capturing ? event.key == kKeyS : event.key == kKeyEnter) {
        press(w, capturing ? kSteerCapture : kSteerUse);
        return true;
    }
    return false;
}

} // namespace

RowPage steerPage(const CalibrationView& view, const SteerSubject& subject, int32_t rawX10000) {
    RowPage page;
    if (view.phase == kCalibSetting) addSetting(page, view, subject);
    if (view.phase == kCalibCapturing) addCapturing(page, view, rawX10000);
    if (view.phase == kCalibResult) addResult(page, view, subject);
    return page;
}

bool steerWindow(WindowId parent, AppConfig& settings, SteerWords& words, int sim,
                 const std::string& car, const std::string& displayName) {
    Window w{settings, words, {sim, car, displayName}, calibrationOpen(settings, sim, car)};
    if (!steerAsked(settings, sim, car)) {
        settings.steerRotAsked.push_back(steerAskedKey(sim, car));
        settings.settingsDirty = true;
    }
    RowWindow window;
    window.parent = parent;
    window.width = 560;
    window.firstFocus = kSteerBox;
    window.page = [&w] { return steerPage(w.view, w.subject, w.words.steerRawX10000); };
    window.press = [&w](int id) { press(w, id); };
    window.hold = [&w](int id, bool isDown) { hold(w, id, isDown); };
    window.focusLeft = [&w](int id) {
        if (id == kSteerBox) calibrationClamp(w.view);
    };
    window.key = [&w](const WindowEvent& event) { return onKey(w, event); };
    window.timer = [&w](uint32_t id) { onTimer(w, id); };
    return runRowWindow(window) == kSaved;
}

} // namespace vt
