#include "panel/steer_settings.h"

#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cstdlib>

namespace vt {

namespace {

constexpr int kSteerSims[] = {kSimAms2, kSimAcc,    kSimAc,         kSimAcRally,
                              kSimEts2, kSimBeamNg, kSimDirtRally2, kSimEaWrc};

bool hasCars(int sim) {
    return sim != kSimDirtRally2 && sim != kSimEaWrc;
}

/// Assigns without an allocation while nothing changes.
void keep(std::string& into, std::string_view text) {
    if (into != text) into = text;
}

} // namespace

bool steerSim(int sim) {
    return std::find(std::begin(kSteerSims), std::end(kSteerSims), sim) != std::end(kSteerSims);
}

int steerRotationFor(const AppConfig& settings, int sim, std::string_view car) {
    int ofSim = 0;
    for (const SteerRotation& entry : settings.steerRotations) {
        if (entry.sim != sim) continue;
        if (entry.car == car) return entry.deg;
        if (entry.car.empty() && ofSim == 0) ofSim = entry.deg;
    }
    return ofSim;
}

void steerRotationSet(AppConfig& settings, int sim, std::string_view car, int deg, bool allCars) {
    deg = std::clamp(deg, kSteerRotationMin, kSteerRotationMax);
    auto& entries = settings.steerRotations;
    if (allCars) {
        std::erase_if(entries, [sim](const SteerRotation& e) { return e.sim == sim; });
        car = {};
    }
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const SteerRotation& e) {
        return e.sim == sim && e.car == car;
    });
    if (found != entries.end())
        found->deg = deg;
    else
        entries.push_back({sim, std::string(car), deg});
}

std::string steerAskedKey(int sim, std::string_view car) {
    return std::to_string(sim) + "/" + std::string(car);
}

bool steerAsked(const AppConfig& settings, int sim, std::string_view car) {
    // Compared piece by piece: this is asked with every frame.
    for (const std::string& asked : settings.steerRotAsked) {
        const size_t slash = asked.find('/');
        if (slash != asked.npos && std::string_view(asked).substr(slash + 1) == car &&
            std::atoi(asked.c_str()) == sim && asked[0] != '/')
            return true;
    }
    return false;
}

void steerContextUpdate(SteerContext& context, SteerWords& words, const AppConfig& settings,
                        int sim, std::string_view car, std::string_view displayName,
                        const SteerSurroundings& surroundings) {
    context.sim = sim;
    keep(context.car, car);
    keep(context.displayName, displayName);
    context.steerNeeded = context.steerPromptDue = false;
    const int rotation = steerSim(sim) ? steerRotationFor(settings, sim, car) : 0;
    words.steerRotationDeg = rotation;
    if (!steerSim(sim) || rotation >= kSteerRotationMin || !surroundings.steeringShown) return;
    context.steerNeeded = true;
    if (car.empty() && hasCars(sim)) return;
    context.steerPromptDue =
        surroundings.driving && !surroundings.windowOpen && !steerAsked(settings, sim, car);
}

} // namespace vt
