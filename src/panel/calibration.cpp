#include "panel/calibration.h"

#include "base/translate.h"
#include "panel/steer_settings.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vt {

namespace {

constexpr size_t kMaxDigits = 4;
constexpr int kHalfTurnFrom = 360; // wheels that turn less are held at a quarter turn
constexpr float kLeastReading = 0.1f;

void showValue(CalibrationView& view) {
    view.valueText = std::to_string(view.value);
    view.typing = false;
}

} // namespace

CalibrationView calibrationOpen(const AppConfig& settings, int sim, std::string_view car) {
    CalibrationView view;
    view.value = steerRotationFor(settings, sim, car);
    const int published = sim == kSimAcc ? accSteerLock(car) : 0;
    view.fromTable = view.value == 0 && published != 0;
    if (view.fromTable) view.value = published;
    calibrationClamp(view);
    return view;
}

void calibrationClamp(CalibrationView& view) {
    view.value = std::clamp(view.value, kSteerRotationMin, kSteerRotationMax);
    showValue(view);
}

void calibrationStep(CalibrationView& view, int step) {
    view.value += step;
    calibrationClamp(view);
}

void calibrationType(CalibrationView& view, uint32_t codePoint) {
    if (codePoint < '0' || codePoint > '9') return;
    if (!view.typing) view.valueText.clear();
    view.typing = true;
    if (view.valueText.size() < kMaxDigits) view.valueText += static_cast<char>(codePoint);
    view.value = std::atoi(view.valueText.c_str());
}

void calibrationErase(CalibrationView& view) {
    view.typing = true;
    if (!view.valueText.empty()) view.valueText.pop_back();
    view.value = std::atoi(view.valueText.c_str());
}

void calibrationHold(CalibrationView& view, int step) {
    view.holdStep = step;
    view.holdCount = 0;
    calibrationStep(view, step);
}

int calibrationRepeat(CalibrationView& view) {
    if (view.holdStep == 0) return 0;
    ++view.holdCount;
    calibrationStep(view, view.holdStep);
    return kHoldRepeatMs;
}

void calibrationLetGo(CalibrationView& view) {
    view.holdStep = view.holdCount = 0;
}

void calibrationStart(CalibrationView& view) {
    calibrationClamp(view);
    view.targetDeg = view.value < kHalfTurnFrom ? 90 : 180;
    view.error.clear();
    view.phase = kCalibCapturing;
}

float calibrationReading(int32_t rawX10000) {
    return std::min(std::abs(static_cast<float>(rawX10000) / 10000.0f), 1.0f);
}

void calibrationCapture(CalibrationView& view, int32_t rawX10000) {
    const float reading = std::abs(static_cast<float>(rawX10000) / 10000.0f);
    if (reading < kLeastReading) {
        view.error =
            Translate("The wheel does not look turned. Hold it at the angle above and try again.");
        return;
    }
    view.error.clear();
    view.measured = std::clamp(static_cast<int32_t>(2 * view.targetDeg / reading + 0.5f),
                               kSteerRotationMin, kSteerRotationMax);
    view.phase = kCalibResult;
}

void calibrationUse(CalibrationView& view) {
    view.value = view.measured;
    view.phase = kCalibSetting;
    calibrationClamp(view);
}

void calibrationBack(CalibrationView& view) {
    view.phase = kCalibSetting;
    view.error.clear();
}

void calibrationSave(CalibrationView& view, AppConfig& settings, SteerWords& words, int sim,
                     std::string_view car) {
    calibrationClamp(view);
    steerRotationSet(settings, sim, car, view.value, view.allCars);
    words.steerRotationDeg = steerRotationFor(settings, sim, car);
    settings.settingsDirty = true;
}

} // namespace vt
