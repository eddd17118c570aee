#include "perf/lap_csv.h"

#include "base/format.h"
#include "perf/perf_paths.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <algorithm>
#include <string_view>

namespace vt {

namespace {

constexpr double kMphPerMs = 2.23694;
constexpr double kKphPerMs = 3.6;
constexpr double kDegPerRadian = 57.29578;

template <class... Values>
void appendText(std::string& out, const char* format, Values... values) {
    char text[256];
    formatText(text, sizeof text, format, values...);
    out += text;
}

/// A line of its own stays one.
std::string oneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

std::string alphanumerics(std::string_view name) {
    std::string out;
    for (char c : name) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) out += c;
    }
    return out;
}

/// A channel's value; 0 where the trace has none.
template <class T>
T at(const std::vector<T>& channel, size_t bin) {
    return bin < channel.size() ? channel[bin] : T{};
}

void appendStart(std::string& out, size_t bin, size_t bins, double speed, double throttle,
                 double brake, double steer, double latG) {
    appendText(out, "%.6f,%.2f,%.3f,%.3f,%.1f,%.3f,",
               static_cast<double>(bin) / static_cast<double>(bins), speed, throttle, brake,
               steer * kDegPerRadian, latG);
}

void appendElapsed(std::string& out, float elapsed) {
    if (elapsed > 0) appendText(out, "%.3f", static_cast<double>(elapsed));
    out += ',';
}

void appendTrace(std::string& out, const LapTrace& trace, bool mph) {
    const size_t bins = trace.have.size();
    for (size_t i = 0; i < bins; ++i) {
        if (!trace.have[i]) continue;
        appendStart(out, i, bins, at(trace.speed, i) * (mph ? kMphPerMs : kKphPerMs),
                    at(trace.throttle, i), at(trace.brake, i), at(trace.steer, i),
                    at(trace.latG, i));
        appendText(out, "%.3f,", static_cast<double>(at(trace.longG, i)));
        appendElapsed(out, at(trace.elapsed, i));
        appendText(out, "%d,%.0f\n", static_cast<int>(at(trace.gear, i)),
                   static_cast<double>(at(trace.rpm, i)));
    }
}

/// No acceleration along the car, gear or engine speed here.
void appendBest(std::string& out, const std::vector<BestTraceBin>& bins, bool mph) {
    for (size_t i = 0; i < std::min<size_t>(bins.size(), kBestTraceBins); ++i) {
        const BestTraceBin& bin = bins[i];
        if (!bin.valid) continue;
        appendStart(out, i, kBestTraceBins, bin.speed * (mph ? 1.0 : kKmPerMile), bin.throttle,
                    bin.brake, bin.steer, bin.latG);
        out += ',';
        appendElapsed(out, bin.lapTimeSec);
        out += ",\n";
    }
}

} // namespace

std::string lapCsvName(const SessionRecord& record) {
    int64_t unixSeconds = 0;
    std::string day = "00000000";
    if (parseRecordDate(record.date, unixSeconds)) {
        const std::string_view date = record.date;
        day = std::string(date.substr(0, 4)) + std::string(date.substr(5, 2)) +
              std::string(date.substr(8, 2));
    }
    return alphanumerics(record.carName) + "_" + alphanumerics(record.trackName) + "_" + day +
           "_lap.csv";
}

std::string lapCsv(const SessionRecord& record, int lapIndex, const LapTrace* trace, bool mph) {
    std::string out;
    const bool best = lapIndex == kBestLapOfSession;
    const bool known = lapIndex >= 0 && static_cast<size_t>(lapIndex) < record.laps.size();
    float seconds = record.summary.bestLapTime;
    if (known) seconds = record.laps[static_cast<size_t>(lapIndex)].lapTime;
    if (!known && !best) seconds = trace ? trace->lapTime : 0;
    char time[32];
    formatLapTime(time, sizeof time, seconds);
    const std::string lap = best ? "best" : std::to_string(lapIndex + 1);
    out += "# " + oneLine(record.carName) + " @ " + oneLine(record.trackName) + ", " +
           oneLine(record.date) + ", lap " + lap + ", lap time " + time + "\n";
    out += "lap_pct,speed_";
    out += mph ? "mph" : "kph";
    out += ",throttle,brake,steer_deg,lat_g,long_g,elapsed_s,gear,rpm\n";
    if (trace && !trace->have.empty())
        appendTrace(out, *trace, mph);
    else if (best)
        appendBest(out, record.bestTrace, mph);
    return out;
}

bool exportLapCsv(const std::string& folder, const SessionRecord& record, int lapIndex,
                  const LapTrace* trace, bool mph, std::string& message) {
    const std::string name = lapCsvName(record);
    const std::string path = joinPath(folder, name);
    if (!writeFileAtomic(path, lapCsv(record, lapIndex, trace, mph))) {
        removeFile(path + ".tmp");
        message = "export failed";
        return false;
    }
    message = "saved " + name;
    return true;
}

} // namespace vt
