#include "telemetry/setup/setup_tick.h"

#include <algorithm>

namespace vt {

namespace {

constexpr const char* kShown = "shown"; // in place of a version that is not known

/// Counts one sim's silence; true when its files are to be looked at now.
bool due(SetupTickState::Wait& wait, bool runs, const SetupTickInput& input, bool busy) {
    if (!runs || input.connected) {
        wait = {};
        return false;
    }
    wait.ticks = std::min(wait.ticks + 1, kSetupTicks);
    if (wait.ticks < kSetupTicks || wait.checked || busy) return false;
    wait.checked = true;
    return true;
}

bool offers(SetupSim sim, const SetupQuestions& questions) {
    if (sim == SetupSim::dirtRally2) return questions.dr2NeedsAttention();
    if (sim == SetupSim::eaWrc) return questions.eaWrcNeedsAttention();
    return true;
}

SetupTickResult offer(SetupSim sim, const SetupQuestions& questions) {
    SetupTickResult result;
    result.open = true;
    result.noTelemetry = true;
    result.sim = sim;
    result.write = questions.seen(sim).empty();
    result.seen = kShown;
    return result;
}

SetupTickResult beamNg(SetupTickState& state, const SetupQuestions& questions) {
    const std::string version = questions.beamNgVersion();
    std::string before = questions.seen(SetupSim::beamNg);
    // A file that cannot be written must not bring the window back every two seconds.
    if (!state.beamNgNow.empty()) before = state.beamNgNow;
    const std::string now = !version.empty() ? version : before.empty() ? kShown : before;
    SetupTickResult result;
    if (now == before) return result;
    result.sim = SetupSim::beamNg;
    result.open = before != kShown;
    result.write = true;
    result.seen = state.beamNgNow = now;
    return result;
}

} // namespace

SetupTickResult setupTick(SetupTickState& state, const SetupTickInput& input,
                          const SetupQuestions& questions) {
    const bool runs[3] = {input.f1WithoutFeed, input.dirtRally2Running, input.wrcRunning};
    SetupTickResult result;
    for (int i = 0; i < 3; ++i) {
        const SetupSim sim = static_cast<SetupSim>(i);
        if (!due(state.waits[i], runs[i], input, input.windowOpen || result.open)) continue;
        if (offers(sim, questions)) result = offer(sim, questions);
    }
    if (input.beamNgRunning && !input.windowOpen && !result.open) return beamNg(state, questions);
    return result;
}

} // namespace vt
