#include "iracing_model.h"

#include "base/hash.h"
#include "iracing_variables.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace player {

namespace {

constexpr int kDeltaBins = 1000;
constexpr double kFurledTime = 3; // s

double radians(double degrees) {
    return degrees * std::numbers::pi / 180;
}

/// Seconds from the line to each point of the circuit, at the speeds that a class can reach.
std::vector<double> timesAlong(const model::Race& race, size_t classIndex) {
    const std::vector<double>& speeds = race.speeds[classIndex];
    std::vector<double> out(speeds.size() + 1, 0);
    for (size_t i = 0; i < speeds.size(); ++i) {
        const double mean = (speeds[i] + speeds[(i + 1) % speeds.size()]) / 2;
        out[i + 1] = out[i] + race.circuit.step * race.line.stretch[i] / std::max(mean, 1.0);
    }
    return out;
}

} // namespace

bool parseIrModelChoices(const std::string& words, IrModelChoices& out) {
    for (size_t at = 0; at < words.size();) {
        const size_t end = std::min(words.find(',', at), words.size());
        const std::string word = words.substr(at, end - at);
        at = end + 1;
        int number = 0;
        double seconds = 0;
        if (std::sscanf(word.c_str(), "late=%d", &number) == 1 && number >= 0)
            out.lateTicks = number;
        else if (std::sscanf(word.c_str(), "leave=%lf", &seconds) == 1 && seconds >= 0)
            out.leave = seconds;
        else if (word == "notime")
            out.timeForInvalid = false;
        else if (word == "furled")
            out.furled = true;
        else if (word == "oneclock")
            out.oneClock = true;
        else
            return false;
    }
    return true;
}

IrModelWriter::IrModelWriter(const IrModelChoices& choices, IrTable table)
    : choices_(choices), variables_(irVariables(table)), table_(table) {
    for (const vt::IrVarHeader& v : variables_)
        length_ = v.offset + v.count * vt::irElementSize(v.type);
}

IrPlace irPlaceOf(const model::Circuit& circuit) {
    const uint32_t hash = vt::fnv1a32(circuit.name);
    return {36 + 18 * (hash % 10007) / 10007.0, -8 + 30 * (hash / 10007 % 10007) / 10007.0};
}

IrPlace irPlaceAt(const IrPlace& origin, double east, double north) {
    constexpr double axis = 6378137.0, eccentricity2 = 0.00669437999014;
    const double phi = radians(origin.latitude);
    const double w2 = 1 - eccentricity2 * std::sin(phi) * std::sin(phi);
    const double meridian = axis * (1 - eccentricity2) / (w2 * std::sqrt(w2));
    const double parallel = axis / std::sqrt(w2) * std::cos(phi);
    const double degrees = 180 / std::numbers::pi;
    return {origin.latitude + north / meridian * degrees,
            origin.longitude + east / parallel * degrees};
}

int irTrackId(const model::Circuit& circuit) {
    return 9000 + static_cast<int>(vt::fnv1a32(circuit.name) % 90000);
}

void IrModelWriter::begin(const model::Race& race, int sessionNum, double timeOffset) {
    origin_ = irPlaceOf(race.circuit);
    sessionNum_ = sessionNum;
    timeOffset_ = timeOffset;
    lapTimes_.clear();
    for (size_t k = 0; k < race.classes.size(); ++k)
        lapTimes_.push_back(timesAlong(race, k));
    lap_ = model::player(race).lap;
    lastLap_ = model::player(race).lastLap;
    comingLap_ = 0;
    lastLapDue_ = 0;
    bestLapNumber_ = -1;
    wasOff_ = away_ = false;
    furledUntil_ = finishedAt_ = -1;
    std::copy(std::begin(model::player(race).wheels), std::end(model::player(race).wheels),
              measured_);
    delta_ = {};
    delta_.running.assign(kDeltaBins, 0);
}

void IrModelWriter::followLap(const model::Race& race) {
    const model::Car& car = model::player(race);
    if (car.lap != lap_) {
        const bool timed = lap_ >= 0 && finishedAt_ < 0;
        if (timed) {
            bool valid = true;
            for (const model::LapRecord& record : race.laps)
                if (record.car == 0 && record.lap == lap_) valid = record.valid;
            const bool told = valid || choices_.timeForInvalid ||
                              race.settings.session == model::SessionKind::race;
            comingLap_ = told ? car.lastLap : -1;
            lastLapDue_ = tick_ + choices_.lateTicks;
            if (car.bestLap > 0 && car.lastLap == car.bestLap) {
                bestLapNumber_ = lap_ + 1;
                delta_.best = delta_.running;
            }
        }
        delta_.running.assign(kDeltaBins, 0);
        lap_ = car.lap;
    }
    if (comingLap_ != 0 && tick_ >= lastLapDue_) {
        lastLap_ = comingLap_;
        comingLap_ = 0;
    }
}

void IrModelWriter::followDelta(const model::Car& car) {
    const double at = std::clamp(car.pct, 0.0, 0.999999) * kDeltaBins;
    const auto bin = static_cast<size_t>(at);
    if (delta_.running[bin] <= 0) delta_.running[bin] = static_cast<float>(car.lapTime);
    delta_.ok = false;
    delta_.now = 0;
    if (delta_.best.empty() || car.pit != model::PitPlace::none) return;
    // From where the best lap was when it came into this bin.
    delta_.ok = delta_.best[bin] > 0 && delta_.running[bin] > 0;
    if (delta_.ok)
        delta_.now =
            static_cast<double>(delta_.running[bin]) - static_cast<double>(delta_.best[bin]);
}

void IrModelWriter::follow(const model::Race& race) {
    const model::Car& car = model::player(race);
    followLap(race); // first: the lap that ends the drive has a time as well
    if (car.finished && finishedAt_ < 0) finishedAt_ = race.time;
    followDelta(car);
    if (choices_.furled && car.offTrack && !wasOff_) furledUntil_ = race.time + kFurledTime;
    wasOff_ = car.offTrack;
    away_ = choices_.leave > 0 && finishedAt_ >= 0 && race.time >= finishedAt_ + choices_.leave;
    // The crew measures the tyres; nobody knows them on the track.
    if (car.pit == model::PitPlace::stall)
        std::copy(std::begin(car.wheels), std::end(car.wheels), measured_);
}

void IrModelWriter::fill(const model::Race& race, std::vector<uint8_t>& sample) {
    follow(race);
    sample.resize(static_cast<size_t>(length_));
    fillIrSample({.race = race,
                  .me = model::player(race),
                  .origin = origin_,
                  .lapTimes = lapTimes_,
                  .measured = measured_,
                  .time = race.time + timeOffset_,
                  .lastLap = lastLap_ != 0                 ? lastLap_
                             : lap_ > 0 && comingLap_ == 0 ? -1.0
                                                           : 0.0,
                  .delta = delta_.now,
                  .deltaOk = delta_.ok,
                  .session = sessionNum_,
                  .tick = tick_,
                  .bestLapNumber = bestLapNumber_,
                  .furled = race.time < furledUntil_,
                  .away = away_},
                 table_, sample.data());
    tick_ += 1;
}

} // namespace player
