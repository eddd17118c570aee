// sim_player puts recordings of simulators where the simulators put their telemetry, so that
// everything behind the readers can be tried without a simulator. One subcommand per simulator:
// a file of its own and a line in the table of main.cpp.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace player {

struct Options {
    std::string file;
    bool drive = false;   // move the cars
    double hz = 60;       // samples a second
    double seconds = 0;   // 0 = until a signal
    double speed = 1;     // of the simulated time
    bool tear = false;    // overwrite samples while they may be read
    size_t shortTo = 0;   // bytes of the object; 0 = all of the image
    bool hostile = false; // random counts and offsets
    uint32_t hostileSeed = 0;
    std::string suffix; // behind the names of all objects, so that two players can run
};

struct Command {
    const char* name;
    const char* file; // what FILE is
    int (*run)(const Options&);
};

/// Runs until `seconds` are over or a signal asks to end, calling `tick(n)` `hz` times a second on
/// absolute deadlines. False from `tick` ends it as well.
template <class Tick>
void everyTick(const Options& options, Tick tick);

/// Waits until the monotonic time in seconds. False when the player should end.
bool waitUntil(double deadline);
double monotonicSeconds();

int playIRacing(const Options& options);

template <class Tick>
void everyTick(const Options& options, Tick tick) {
    const double start = monotonicSeconds();
    for (int64_t n = 0;; ++n) {
        const double at = static_cast<double>(n) / options.hz;
        if (options.seconds > 0 && at >= options.seconds) return;
        if (!waitUntil(start + at) || !tick(n)) return;
    }
}

} // namespace player
