// Asks how far the user's wheel turns, and measures it. Main thread.
#pragma once
#include "panel/calibration.h"
#include "panel/row_layout.h"

#include <string>

namespace vt {

/// Whom the question is about.
struct SteerSubject {
    int sim = -1;
    std::string car; // the sim's key; empty = unknown, or a sim without cars
    std::string displayName;
};

enum SteerControl : int {
    kSteerBox = 1,
    kSteerMinus10,
    kSteerMinus1,
    kSteerPlus1,
    kSteerPlus10,
    kSteerAllCars,
    kSteerCalibrate,
    kSteerSave,
    kSteerCancel,
    kSteerCapture,
    kSteerUse,
    kSteerBack,
};

RowPage steerPage(const CalibrationView& view, const SteerSubject& subject, int32_t rawX10000);

/// Notes in the settings that the car's question was asked. True when something was saved. Both
/// must outlive the call, during which the loop runs.
bool steerWindow(WindowId parent, AppConfig& settings, SteerWords& words, int sim,
                 const std::string& car, const std::string& displayName);

} // namespace vt
