#include "platform/quit_signal.h"
#include "player.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace player {

namespace {

constexpr Command kCommands[] = {
    {"iracing", "an image of iRacing's shared memory (.irsdk)", playIRacing, 60, nullptr},
    {"ibt", nullptr, writeIbt, 60, nullptr},
    {"lmu", nullptr, playLmu, 100, "Le Mans Ultimate.exe"},
    {"rf2", nullptr, playRFactor2, 50, "rFactor2.exe"},
    {"ams2", nullptr, playAms2, 60, nullptr},
    {"raceroom", nullptr, playRaceRoom, 60, nullptr},
    {"ets2", "an image of the truck plug-in's mapping (.bin)", playEts2, 60, nullptr},
    {"acc", nullptr, playAcc, 60, "AC2-Win64-Shipping.exe"},
    {"ac", nullptr, playAc, 60, "acs.exe"},
    {"acrally", nullptr, playAcRally, 60, "acr.exe"},
    {"acevo", nullptr, playAcEvo, 60, "AssettoCorsaEVO.exe"},
    {"f1", nullptr, playF1, 60, "F1_25.exe"},
    {"dirtrally2", "its datagrams, 264 bytes each (.udp264)", playDirtRally2, 60, "dirtrally2.exe"},
    {"eawrc", nullptr, playEaWrc, 60, "wrc.exe"},
    {"beamng", nullptr, playBeamNg, 60, "BeamNG.drive.x64.exe"},
    {"sibling", nullptr, playSibling, 60, "Vantorel.exe"},
    {"csv", nullptr, printModel, 20, nullptr},
};

constexpr const char* kUsage =
    "usage: sim_player SIM [FILE] [options]\n"
    "\n"
    "Puts a recording, or a race of its own, where the simulator itself puts its telemetry, until\n"
    "Ctrl+C. README.md beside its source tells more.\n"
    "\n"
    "  --hz N          samples a second (the simulator's own)\n"
    "  --seconds S     end by itself after so many seconds\n"
    "  --speed X       let the simulated time run X times as fast (1)\n"
    "  --suffix TEXT   put TEXT behind the names of all objects\n"
    "  --port P        send datagrams to this port of 127.0.0.1 (the simulator's own)\n"
    "  --extra WORD    a simulator's own choice\n"
    "\n"
    "With a FILE:\n"
    "  --drive         move the cars round the track at the speeds that their lap times imply\n"
    "\n"
    "Without one, the race of the driver model:\n"
    "  --circuit NAME  club (default), oval, grand, stage, or a .csv file\n"
    "  --cars N        1 to 200 (1); the player's is the first\n"
    "  --classes N     1 to 4 (1)\n"
    "  --session KIND  practice, qualifying or race (race)\n"
    "  --laps N        a session of N laps\n"
    "  --minutes M     a session by time (30)\n"
    "  --seed S        another race (1)\n"
    "  --pit-every N   laps between stops (when the fuel runs out)\n"
    "  --standing      a standing start\n"
    "  --lapped        some very slow cars\n"
    "  --yellow A,B    a yellow flag from A to B seconds; may be given again\n"
    "  --fuel L        litres at the start (60)\n"
    "  --rain X        0 to 1 (0)\n"
    "  --skip S        begin S seconds into the session\n"
    "  --truth FILE    write what the player's car really did there at the end (JSON)\n"
    "  --alongside FILE\n"
    "                  two other cars come alongside by a script of 40 s; write where they were\n"
    "  --fault KIND,CAR,LAP,PLACE,AMOUNT; may be given again:\n"
    "                  late-brake (corner, metres), spin (corner, 0), stall (lap fraction, s),\n"
    "                  off (lap fraction, s), slow (lap fraction, seconds lost)\n"
    "\n"
    "Telemetry files (ibt):\n"
    "  --out PATH      the file; with --count a folder\n"
    "  --count N       N files, each of another seed and a day later\n"
    "  --end MOMENT    of the last file's last record, as 2026-08-05T14:00:00Z (now)\n"
    "  --then KIND     another session in the same file; may be given again\n"
    "\n"
    "Bad transport:\n"
    "  --lose X        share of the datagrams that get lost, 0 to 1\n"
    "  --repeat X      share that comes twice\n"
    "  --reorder X     share that comes behind its successor\n"
    "  --flood N       hostile datagrams a second beside the others\n"
    "  --tear          overwrite samples while they may be read, as a writer that is too fast\n"
    "  --short N       make the object only N bytes long\n"
    "  --hostile SEED  random counts and offsets in the header, other ones with every sample\n"
    "\n"
    "SIM and its FILE:\n";

int quitDescriptor = -1;

void printHelp(FILE* to) {
    std::fputs(kUsage, to);
    for (const Command& command : kCommands)
        std::fprintf(to, "  %-14s  %s%s\n", command.name, command.file ? command.file : "no file",
                     command.file && command.model ? ", or none" : "");
}

template <class T>
bool parseNumber(const char* text, T& out) {
    const char* end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, out);
    return result.ec == std::errc() && result.ptr == end;
}

bool inRange(double value, double low, double high) {
    return value >= low && value <= high;
}

/// A number within limits.
template <class T>
bool parseWithin(const char* text, T& out, double low, double high) {
    return parseNumber(text, out) && inRange(static_cast<double>(out), low, high);
}

std::vector<std::string> splitAtCommas(std::string_view text) {
    std::vector<std::string> out(1);
    for (const char letter : text)
        if (letter == ',')
            out.emplace_back();
        else
            out.back() += letter;
    return out;
}

bool parseYellow(const char* value, Options& out) {
    const std::vector<std::string> words = splitAtCommas(value);
    model::Span span;
    if (words.size() != 2 || !parseNumber(words[0].c_str(), span.from) ||
        !parseNumber(words[1].c_str(), span.to) || !(span.from < span.to))
        return false;
    out.model.yellows.push_back(span);
    return true;
}

struct FaultWord {
    const char* word;
    model::FaultKind kind;
    bool atCorner;
};
constexpr FaultWord kFaultWords[] = {
    {"late-brake", model::FaultKind::lateBrake, true}, {"spin", model::FaultKind::spin, true},
    {"stall", model::FaultKind::stall, false},         {"off", model::FaultKind::offTrack, false},
    {"slow", model::FaultKind::slowLap, false},
};

bool parseFault(const char* value, Options& out) {
    const std::vector<std::string> words = splitAtCommas(value);
    if (words.size() != 5) return false;
    for (const FaultWord& known : kFaultWords) {
        if (words[0] != known.word) continue;
        model::Fault fault;
        fault.kind = known.kind;
        const char* place = words[3].c_str();
        if (!parseWithin(words[1].c_str(), fault.car, 0, 199) ||
            !parseWithin(words[2].c_str(), fault.lap, 0, 100000) ||
            !(known.atCorner ? parseWithin(place, fault.corner, 0, 10000)
                             : parseWithin(place, fault.at, 0, 1)) ||
            !parseWithin(words[4].c_str(), fault.amount, 0, 100000))
            return false;
        out.model.faults.push_back(fault);
        return true;
    }
    return false;
}

bool parseSession(std::string_view value, model::SessionKind& out) {
    constexpr const char* words[] = {"practice", "qualifying", "race"};
    for (int i = 0; i < 3; ++i)
        if (value == words[i]) {
            out = static_cast<model::SessionKind>(i);
            return true;
        }
    return false;
}

bool parseMoment(const char* value, int64_t& out) {
    tm parts{};
    const char* rest = strptime(value, "%Y-%m-%dT%H:%M:%SZ", &parts);
    if (!rest || *rest) return false;
    out = timegm(&parts);
    return true;
}

bool parseFileOption(Options& out, std::string_view word, const char* value) {
    if (word == "--truth") return !(out.truth = value).empty();
    if (word == "--alongside") return !(out.alongside = value).empty();
    if (word == "--out") return !(out.out = value).empty();
    if (word == "--count") return parseWithin(value, out.count, 1, 100000);
    if (word == "--end") return parseMoment(value, out.end);
    if (word == "--then") {
        model::SessionKind kind{};
        if (!parseSession(value, kind)) return false;
        out.then.push_back(kind);
        return true;
    }
    return false;
}

/// An option of its own, without a value.
bool parseFlag(Options& out, std::string_view word) {
    if (word == "--drive") return out.drive = true;
    if (word == "--tear") return out.tear = true;
    if (word == "--lapped") return out.model.lappedTraffic = true;
    if (word == "--standing") {
        out.model.rollingStart = false;
        return true;
    }
    return false;
}

bool parseModelOption(Options& out, std::string_view word, const char* value) {
    model::Settings& m = out.model;
    if (word == "--circuit") return !(out.circuit = value).empty();
    if (word == "--cars") return parseWithin(value, m.cars, 1, 200);
    if (word == "--classes") return parseWithin(value, m.classes, 1, 4);
    if (word == "--session") return parseSession(value, m.session);
    if (word == "--laps") return parseWithin(value, m.laps, 0, 100000);
    if (word == "--minutes") return parseWithin(value, m.minutes, 0.1, 100000);
    if (word == "--seed") return parseNumber(value, m.seed);
    if (word == "--pit-every") return parseWithin(value, m.pitEvery, 0, 100000);
    if (word == "--yellow") return parseYellow(value, out);
    if (word == "--fault") return parseFault(value, out);
    if (word == "--fuel") return parseWithin(value, m.startFuel, 0, 1000);
    if (word == "--rain") return parseWithin(value, m.rain, 0, 1);
    if (word == "--skip") return parseWithin(value, out.skip, 0, 100000);
    return false;
}

/// False for a word that is not understood.
bool parseOption(Options& out, std::string_view word, const char* value, int& used) {
    used = 1;
    if (parseFlag(out, word)) return true;
    used = 2;
    if (!value) return false;
    if (word == "--hz") return parseWithin(value, out.hz, 0.1, 10000);
    if (word == "--seconds") return parseNumber(value, out.seconds) && out.seconds >= 0;
    if (word == "--speed") return parseWithin(value, out.speed, 0, 1000);
    if (word == "--short") return parseNumber(value, out.shortTo) && out.shortTo > 0;
    if (word == "--hostile") return out.hostile = parseNumber(value, out.hostileSeed);
    if (word == "--port") return parseNumber(value, out.port) && out.port > 0;
    if (word == "--lose") return parseWithin(value, out.lose, 0, 1);
    if (word == "--repeat") return parseWithin(value, out.repeat, 0, 1);
    if (word == "--reorder") return parseWithin(value, out.reorder, 0, 1);
    if (word == "--flood") return parseWithin(value, out.flood, 0, 1e6);
    if (word == "--extra") return !(out.extra = value).empty();
    if (word == "--suffix") {
        out.suffix = value;
        return out.suffix.find('/') == std::string::npos;
    }
    return parseModelOption(out, word, value) || parseFileOption(out, word, value);
}

/// Begins anew under the simulator's name, which readers look for in the list of programs. Returns
/// when that is its name already, or cannot be.
void takeName(const Command& command, char** argv) {
    if (!command.processName) return;
    const std::string_view own = argv[0];
    if (own.substr(own.find_last_of('/') + 1) == command.processName) return;
    std::string name = command.processName;
    argv[0] = name.data();
    execv("/proc/self/exe", argv);
    std::perror("sim_player: cannot take the simulator's name");
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
    const bool hasFile = argc > 2 && argv[2][0] != '-';
    if (!command || (hasFile && !command->file) || (!hasFile && !command->model)) {
        printHelp(stderr);
        return 2;
    }
    Options options;
    if (hasFile) options.file = argv[2];
    for (int i = hasFile ? 3 : 2, used = 0; i < argc; i += used) {
        if (parseOption(options, argv[i], i + 1 < argc ? argv[i + 1] : nullptr, used)) continue;
        std::fprintf(stderr, "sim_player: cannot use \"%s\"; --help says what there is\n", argv[i]);
        return 2;
    }
    takeName(*command, argv);
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
