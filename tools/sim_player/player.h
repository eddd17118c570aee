// sim_player puts recordings of simulators, or a race of its own driver model, where the simulators
// put their telemetry, so that everything behind the readers can be tried without a simulator. One
// subcommand per simulator: a file of its own and a line in the table of main.cpp.
#pragma once
#include "driver_model/driver_model.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace player {

struct Options {
    std::string file;     // a capture; empty = the driver model
    bool drive = false;   // move the cars of a capture
    double hz = 0;        // samples a second; 0 = the sim's own
    double seconds = 0;   // 0 = until a signal
    double speed = 1;     // of the simulated time
    bool tear = false;    // overwrite samples while they may be read
    size_t shortTo = 0;   // bytes of the object; 0 = all of it
    bool hostile = false; // random counts and offsets
    uint32_t hostileSeed = 0;
    std::string suffix; // behind the names of all objects, so that two players can run

    // The driver model
    std::string circuit = "club"; // a built-in one, or a CSV file
    model::Settings model;
    double skip = 0;       // s of the race that pass before the first sample
    std::string truth;     // a file for what the player's car really did; empty = none
    std::string alongside; // a file for who was beside it in a script of cars; empty = no script

    // Telemetry files
    std::string out;                      // a file, or a folder for more than one
    int count = 1;                        // files, a day and a seed apart
    int64_t end = 0;                      // s since 1970 of the last file's last record; 0 = now
    std::vector<model::SessionKind> then; // sessions behind the first

    // Datagrams
    uint16_t port = 0;                        // 0 = the sim's own
    double lose = 0, repeat = 0, reorder = 0; // shares 0..1
    int flood = 0;                            // extra hostile datagrams per second
    std::string extra;                        // a writer's own word, as --format 2025
};

struct Command {
    const char* name;
    const char* file; // what FILE is; null = it takes none
    int (*run)(const Options&);
    double hz;               // the sim's own rate
    const char* processName; // the player runs under this name; null = its own
    bool model = true;       // drives the model where there is no FILE
};

/// Runs until `seconds` are over or a signal asks to end, calling `tick(n)` `hz` times a second on
/// absolute deadlines. False from `tick` ends it as well.
template <class Tick>
void everyTick(const Options& options, Tick tick);

/// The options' circuit, built in or a file. False with a line on standard error.
bool findCircuit(const std::string& name, model::Circuit& out);

/// Drives the options' race: `publish` is called at the options' rate with the race moved on.
/// Prints one line about what is driven, and leaves the options' truth behind. The exit code.
int playModel(const Options& options, const char* simName,
              const std::function<bool(const model::Race&)>& publish);

/// Sends datagrams to 127.0.0.1, with the options' losses, doubles and disorder. Not for two
/// threads.
class Sender {
public:
    Sender(const Options& options, uint16_t port);
    ~Sender();
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;
    void send(const void* data, size_t length);
    /// Random bytes and spoilt copies of what was sent last; `count` of them.
    void sendHostile(int count);

private:
    struct Impl;
    Impl* impl_;
};

/// Waits until the monotonic time in seconds. False when the player should end.
bool waitUntil(double deadline);
double monotonicSeconds();

/// Prints the race as lines of numbers instead of playing it, as fast as it goes.
int printModel(const Options& options);

int playIRacing(const Options& options);
/// iRacing from the driver model.
int playIRacingModel(const Options& options);
/// Writes telemetry files of the driver model, as fast as it goes.
int writeIbt(const Options& options);
int playLmu(const Options& options);
int playRFactor2(const Options& options);
int playAms2(const Options& options);
int playRaceRoom(const Options& options);
int playEts2(const Options& options);
int playAcc(const Options& options);
int playAc(const Options& options);
int playAcRally(const Options& options);
int playAcEvo(const Options& options);
int playF1(const Options& options);
int playDirtRally2(const Options& options);
int playEaWrc(const Options& options);
int playBeamNg(const Options& options);
int playSibling(const Options& options);

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
