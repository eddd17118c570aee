// The state of the steering window, and what each key, click and timer does to it. Nothing here
// knows of windows.
#pragma once
#include "overlay/settings/app_config.h"
#include "telemetry/steer_words.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

enum CalibrationPhase : int32_t { kCalibSetting = 0, kCalibCapturing = 1, kCalibResult = 2 };

struct CalibrationView {
    int32_t value = kSteerRotationMin; // degrees in the box
    std::string valueText;             // what the box shows while it is typed into
    int32_t phase = kCalibSetting;
    float targetDeg = 0;   // how far the user holds the wheel from centre: 90 or 180
    int32_t measured = 0;  // degrees from lock to lock
    std::string error;     // of the last capture; empty = none
    int32_t holdStep = 0;  // of the button that is held down; 0 = none
    int32_t holdCount = 0; // repeats so far

    bool typing = false;    // the box was typed into since it got the focus
    bool allCars = false;   // "Use this for every car"
    bool fromTable = false; // the value is the car's own lock, as published
};

inline constexpr int kHoldFirstMs = 330, kHoldRepeatMs = 50, kGaugeMs = 50;

/// What is known of the car, else what its sim publishes, else the smallest rotation.
CalibrationView calibrationOpen(const AppConfig& settings, int sim, std::string_view car);

/// Brings `value` into 180..1440 and the text in line with it.
void calibrationClamp(CalibrationView& view);
void calibrationStep(CalibrationView& view, int step);
/// A digit at the end of the text; the first one after the box got the focus replaces it. Others
/// are ignored.
void calibrationType(CalibrationView& view, uint32_t codePoint);
void calibrationErase(CalibrationView& view);

/// Steps once; the caller starts a timer of `kHoldFirstMs`.
void calibrationHold(CalibrationView& view, int step);
/// The timer ran out: steps again. Milliseconds to the next one; 0 when nothing is held.
int calibrationRepeat(CalibrationView& view);
void calibrationLetGo(CalibrationView& view);

void calibrationStart(CalibrationView& view);
/// `rawX10000` is the steering input as `SteerWords` has it.
void calibrationCapture(CalibrationView& view, int32_t rawX10000);
void calibrationUse(CalibrationView& view);
void calibrationBack(CalibrationView& view);

/// The input as the gauge shows it, 0..1.
float calibrationReading(int32_t rawX10000);

/// Stores the value for the car, or for all cars of the sim, and hands it to the readers.
void calibrationSave(CalibrationView& view, AppConfig& settings, SteerWords& words, int sim,
                     std::string_view car);

} // namespace vt
