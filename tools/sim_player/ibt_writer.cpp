// Telemetry files of the driver model, as iRacing leaves them behind: header, disk header, variable
// table, session text, records.
#include "iracing_model.h"
#include "player.h"
#include "truth.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace player {

namespace {

constexpr double kStep = 1.0 / 60;
constexpr double kAfterFlag = 5; // s that a file goes on when a session is over
constexpr int kDay = 86400;      // s

struct Recording {
    std::vector<uint8_t> records;
    std::vector<IrSessionLine> sessions;
    std::string text;
    double firstTime = 0, lastTime = 0; // SessionTime
    double length = 0;                  // s
    int lapsStarted = 0;
    int32_t count = 0;
};

/// Over when the player's last lap is, or when nobody can wait for it any longer.
bool sessionOver(const model::Race& race, double& endsAt) {
    const model::Car& car = model::player(race);
    const bool done = car.finished || (race.settings.laps > 0 && car.lap >= race.settings.laps);
    if (done && endsAt < 0) endsAt = race.time + kAfterFlag;
    const double lap = race.lapTimes.front();
    const double longest = race.settings.laps > 0 ? 300 + 5 * lap * race.settings.laps
                                                  : 300 + race.settings.minutes * 60 + 5 * lap;
    return (endsAt >= 0 && race.time >= endsAt) || race.time > longest;
}

/// One session behind the other; the race of the last one is left in `race`.
void drive(const Options& options, const IrModelChoices& choices, const model::Circuit& circuit,
           IrModelWriter& writer, Truth& truth, Recording& out, model::Race& race) {
    std::vector<model::SessionKind> kinds = options.then;
    kinds.insert(kinds.begin(), options.model.session);
    std::vector<uint8_t> sample;
    double offset = 0;
    for (size_t n = 0; n < kinds.size(); ++n) {
        model::Settings settings = options.model;
        settings.session = kinds[n];
        race = model::startRace(settings, circuit);
        model::stepRace(race, options.skip);
        writer.begin(race, static_cast<int>(n), offset);
        truth.begin(race);
        const double first = race.time + offset;
        if (n == 0) out.firstTime = first;
        const int lapBefore = std::max(model::player(race).lap, 0);
        for (double endsAt = -1; !sessionOver(race, endsAt);) {
            writer.fill(race, sample);
            out.records.insert(out.records.end(), sample.begin(), sample.end());
            out.count += 1;
            out.lastTime = race.time + offset;
            if (options.seconds > 0 && out.length + out.lastTime - first >= options.seconds) break;
            model::stepRace(race, kStep);
            if (!options.truth.empty()) truth.note(race);
        }
        out.length += out.lastTime - first;
        out.lapsStarted += std::max(model::player(race).lap, 0) - lapBefore + 1;
        out.sessions.push_back(irSessionLine(race));
        if (choices.oneClock) offset = out.lastTime + kStep;
    }
}

void append(std::vector<uint8_t>& to, const void* from, size_t length) {
    const auto* bytes = static_cast<const uint8_t*>(from);
    to.insert(to.end(), bytes, bytes + length);
}

/// Everything before the records.
std::vector<uint8_t> fileHead(const IrModelWriter& writer, const Recording& recording,
                              int64_t start) {
    const std::vector<vt::IrVarHeader>& variables = writer.variables();
    vt::IrHeader h;
    vt::IrDiskHeader disk;
    h.ver = 2;
    h.status = vt::kIrStatusConnected;
    h.tickRate = 60;
    h.numVars = static_cast<int32_t>(variables.size());
    h.varHeaderOffset = static_cast<int32_t>(sizeof h + sizeof disk);
    h.sessionInfoOffset =
        h.varHeaderOffset + h.numVars * static_cast<int32_t>(sizeof(vt::IrVarHeader));
    h.sessionInfoLen = static_cast<int32_t>(recording.text.size() + 1);
    h.numBuf = 1;
    h.bufLen = writer.sampleLength();
    h.varBuf[0] = {.tickCount = writer.tick(), .bufOffset = h.sessionInfoOffset + h.sessionInfoLen};
    disk.sessionStartDate = start;
    disk.sessionStartTime = recording.firstTime;
    disk.sessionEndTime = recording.lastTime;
    disk.sessionLapCount = recording.lapsStarted;
    disk.sessionRecordCount = recording.count;
    std::vector<uint8_t> out;
    append(out, &h, sizeof h);
    append(out, &disk, sizeof disk);
    append(out, variables.data(), variables.size() * sizeof(vt::IrVarHeader));
    append(out, recording.text.c_str(), recording.text.size() + 1);
    return out;
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& head,
               const std::vector<uint8_t>& records, int64_t end) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool whole = std::fwrite(head.data(), 1, head.size(), file) == head.size() &&
                       std::fwrite(records.data(), 1, records.size(), file) == records.size();
    if (std::fclose(file) != 0 || !whole) return false;
    const timespec moment{end, 0};
    const timespec times[2] = {moment, moment};
    return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

/// As the sim names its files: car, track, moment of the first record.
std::string fileName(const model::Race& race, int64_t start) {
    tm parts{};
    const time_t moment = start;
    gmtime_r(&moment, &parts);
    char date[40];
    std::strftime(date, sizeof date, "%Y-%m-%d %H-%M-%S", &parts);
    std::string track = race.circuit.name;
    for (char& letter : track)
        if (letter == '/') letter = ' ';
    return model::classOf(race, model::player(race)).modelKey + "_" + track + " " + date + ".ibt";
}

bool writeOne(const Options& options, const IrModelChoices& choices, const model::Circuit& circuit,
              int64_t end, bool intoFolder, int32_t& records) {
    IrModelWriter writer(choices, IrTable::file);
    Recording recording;
    model::Race race;
    Truth truth;
    drive(options, choices, circuit, writer, truth, recording, race);
    const int64_t start = end - static_cast<int64_t>(recording.length);
    const std::string name = fileName(race, start);
    const std::string path = intoFolder ? options.out + "/" + name : options.out;
    recording.text = irSessionText(race, recording.sessions, start, name);
    records = recording.count;
    if (!writeFile(path, fileHead(writer, recording, start), recording.records, end)) {
        std::fprintf(stderr, "sim_player: cannot write %s\n", path.c_str());
        return false;
    }
    return options.truth.empty() || truth.write(options.truth, "iRacing file");
}

} // namespace

int writeIbt(const Options& options) {
    IrModelChoices choices;
    if (!parseIrModelChoices(options.extra, choices) || options.out.empty()) {
        std::fprintf(stderr, options.out.empty() ? "sim_player: ibt needs --out\n"
                                                 : "sim_player: cannot use that --extra\n");
        return 2;
    }
    model::Circuit circuit;
    if (!findCircuit(options.circuit, circuit)) return 1;
    std::error_code error;
    const bool intoFolder = options.count > 1 || std::filesystem::is_directory(options.out, error);
    if (intoFolder) std::filesystem::create_directories(options.out, error);
    const int64_t last = options.end > 0 ? options.end : std::time(nullptr);
    int64_t records = 0;
    for (int i = 0; i < options.count && waitUntil(0); ++i) {
        Options one = options;
        one.model.seed += static_cast<uint32_t>(i);
        if (options.count > 1 && !options.truth.empty()) one.truth += "." + std::to_string(i);
        int32_t written = 0;
        if (!writeOne(one, choices, circuit, last - int64_t{kDay} * (options.count - 1 - i),
                      intoFolder, written))
            return 1;
        records += written;
    }
    std::printf("%d file%s, %lld records\n", options.count, options.count == 1 ? "" : "s",
                static_cast<long long>(records));
    return 0;
}

} // namespace player
