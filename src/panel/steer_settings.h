// How far the user's wheel turns, per sim and car, for sims that tell only an input between -1 and
// 1. Main thread; `SteerWords` carries the present car's value to the readers.
#pragma once
#include "overlay/settings/app_config.h"
#include "telemetry/steer_words.h"

#include <string>
#include <string_view>

namespace vt {

/// True for the sims whose wheel angle is worked out here.
bool steerSim(int sim);

/// Degrees from lock to lock: of exactly this car, else of the whole sim (an entry without a car),
/// else 0.
int steerRotationFor(const AppConfig& settings, int sim, std::string_view car);

/// `deg` is brought into 180..1440. With `allCars` it becomes the sim's only entry.
void steerRotationSet(AppConfig& settings, int sim, std::string_view car, int deg, bool allCars);

/// Steering lock of a car of ACC by the sim's own key, without regard to case; 0 when not known.
int accSteerLock(std::string_view car);

/// "10/", "3/bmw_m4_gt3": how `steerRotAsked` notes that a car's question was asked.
std::string steerAskedKey(int sim, std::string_view car);
bool steerAsked(const AppConfig& settings, int sim, std::string_view car);

/// Which car it is about now.
struct SteerContext {
    int sim = -1;
    std::string car, displayName;
    bool steerNeeded = false; // the steering is shown, and no value is known
    bool steerPromptDue = false;
};

struct SteerSurroundings {
    bool steeringShown = false; // some visible overlay shows the steering
    bool driving = false;
    bool windowOpen = false; // a dialog is open
};

/// Once a frame, with what it says of sim and car. Sets the words' rotation. When `steerPromptDue`
/// is true afterwards, open `steerWindow` with the context's sim, car and name. No allocation while
/// nothing changes.
void steerContextUpdate(SteerContext& context, SteerWords& words, const AppConfig& settings,
                        int sim, std::string_view car, std::string_view displayName,
                        const SteerSurroundings& surroundings);

} // namespace vt
