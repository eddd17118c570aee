#include "platform/quit_signal.h"
#include "player.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <string_view>

namespace player {

namespace {

constexpr Command kCommands[] = {
    {"iracing", "an image of iRacing's shared memory (.irsdk)", playIRacing, 60, nullptr},
};

constexpr const char* kUsage =
    "usage: sim_player SIM FILE [options]\n"
    "\n"
    "Puts a recording where the simulator itself puts its telemetry, until Ctrl+C.\n"
    "\n"
    "  --drive         move the cars round the track at the speeds that their lap times imply\n"
    "  --hz N          samples a second (60)\n"
    "  --seconds S     end by itself after so many seconds\n"
    "  --speed X       let the simulated time run X times as fast (1)\n"
    "  --suffix TEXT   put TEXT behind the names of all objects\n"
    "\n"
    "Faults:\n"
    "  --tear          overwrite samples while they may be read, as a writer that is too fast\n"
    "  --short N       make the object only N bytes long\n"
    "  --hostile SEED  random counts and offsets in the header, other ones with every sample\n"
    "\n"
    "SIM and its FILE:\n";

int quitDescriptor = -1;

void printHelp(FILE* to) {
    std::fputs(kUsage, to);
    for (const Command& command : kCommands)
        std::fprintf(to, "  %-14s  %s\n", command.name, command.file);
}

template <class T>
bool parseNumber(const char* text, T& out) {
    const char* end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, out);
    return result.ec == std::errc() && result.ptr == end;
}

/// False for a word that is not understood.
bool parseOption(Options& out, std::string_view word, const char* value, int& used) {
    used = 1;
    if (word == "--drive") return out.drive = true;
    if (word == "--tear") return out.tear = true;
    used = 2;
    if (!value) return false;
    if (word == "--hz") return parseNumber(value, out.hz) && out.hz >= 0.1 && out.hz <= 10000;
    if (word == "--seconds") return parseNumber(value, out.seconds) && out.seconds >= 0;
    if (word == "--speed")
        return parseNumber(value, out.speed) && out.speed >= 0 && out.speed <= 1000;
    if (word == "--short") return parseNumber(value, out.shortTo) && out.shortTo > 0;
    if (word == "--hostile") return out.hostile = parseNumber(value, out.hostileSeed);
    if (word == "--suffix") {
        out.suffix = value;
        return out.suffix.find('/') == std::string::npos;
    }
    return false;
}

int run(int argc, char** argv) {
    const std::string_view name = argc > 1 ? argv[1] : "";
    if (name == "--help" || name == "-h") {
        printHelp(stdout);
        return 0;
    }
    const Command* command = nullptr;
    for (const Command& c : kCommands)
        if (name == c.name) command = &c;
    if (!command || argc < 3 || argv[2][0] == '-') {
        printHelp(stderr);
        return 2;
    }
    Options options;
    options.file = argv[2];
    for (int i = 3, used = 0; i < argc; i += used) {
        if (parseOption(options, argv[i], i + 1 < argc ? argv[i + 1] : nullptr, used)) continue;
        std::fprintf(stderr, "sim_player: cannot use \"%s\"; --help says what there is\n", argv[i]);
        return 2;
    }
    if (options.hz <= 0) options.hz = command->hz;
    quitDescriptor = vt::quitSignalDescriptor();
    return command->run(options);
}

} // namespace

double monotonicSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool waitUntil(double deadline) {
    pollfd quit{quitDescriptor, POLLIN, 0};
    const double left = std::max(deadline - monotonicSeconds(), 0.0);
    const timespec timeout{static_cast<time_t>(left),
                           static_cast<long>((left - std::floor(left)) * 1e9)};
    return ppoll(&quit, 1, &timeout, nullptr) <= 0;
}

} // namespace player

int main(int argc, char** argv) {
    return player::run(argc, argv);
}
