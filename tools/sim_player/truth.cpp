#include "truth.h"

#include "platform/file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace player {

namespace {

TruthPoint pointOf(const model::Car& car) {
    return {car.lapTime,   car.speed,   car.throttle, car.brake,   car.wheelAngle,
            car.rpm,       car.x,       car.y,        car.lateral, car.latAccel,
            car.longAccel, car.yawRate, car.fuel,     car.gear};
}

struct Channel {
    const char* name;
    double TruthPoint::*value;
    int digits;
};
constexpr Channel kChannels[] = {
    {"elapsed", &TruthPoint::elapsed, 4},
    {"speed", &TruthPoint::speed, 3},
    {"throttle", &TruthPoint::throttle, 4},
    {"brake", &TruthPoint::brake, 4},
    {"steer", &TruthPoint::steer, 4},
    {"rpm", &TruthPoint::rpm, 0},
    {"x", &TruthPoint::x, 3},
    {"y", &TruthPoint::y, 3},
    {"lateral", &TruthPoint::lateral, 3},
    {"latAccel", &TruthPoint::latAccel, 3},
    {"longAccel", &TruthPoint::longAccel, 3},
    {"yawRate", &TruthPoint::yawRate, 4},
    {"fuel", &TruthPoint::fuel, 4},
};

TruthPoint between(const TruthPoint& a, const TruthPoint& b, double share) {
    TruthPoint out = share < 0.5 ? a : b;
    for (const Channel& channel : kChannels)
        out.*channel.value = std::lerp(a.*channel.value, b.*channel.value, share);
    return out;
}

std::string number(double value, int digits) {
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char letter : text)
        if (letter == '"' || letter == '\\')
            (out += '\\') += letter;
        else
            out += letter;
    return out + "\"";
}

std::string lapText(const TruthLap& lap) {
    const model::LapRecord& r = lap.record;
    std::string out = "{\"session\":" + std::to_string(lap.session) +
                      ",\"lap\":" + std::to_string(r.lap) + ",\"start\":" + number(lap.start, 4) +
                      ",\"time\":" + number(r.time, 5) + ",\"sectors\":[";
    for (int i = 0; i < 3; ++i)
        out += (i ? "," : "") + number(r.sectors[i], 5);
    const auto word = [](bool value) { return value ? "true" : "false"; };
    out += std::string("],\"finished\":") + word(lap.finished) + ",\"valid\":" + word(r.valid) +
           ",\"inLap\":" + word(r.inLap) + ",\"outLap\":" + word(r.outLap) +
           ",\"fuelUsed\":" + number(r.fuelUsed, 4) +
           ",\"firstMetre\":" + std::to_string(lap.firstMetre);
    for (const Channel& channel : kChannels) {
        out += std::string(",\"") + channel.name + "\":[";
        for (const TruthPoint& point : lap.metres)
            (out += number(point.*channel.value, channel.digits)) += ',';
        if (!lap.metres.empty()) out.pop_back();
        out += "]";
    }
    out += ",\"gear\":[";
    for (const TruthPoint& point : lap.metres)
        (out += std::to_string(point.gear)) += ',';
    if (!lap.metres.empty()) out.pop_back();
    return out + "]}";
}

} // namespace

void Truth::begin(const model::Race& race) {
    circuit_ = race.circuit;
    circuit_.points.clear();
    const model::Car& car = model::player(race);
    car_ = model::classOf(race, car).model;
    session_ += 1;
    recordsSeen_ = race.laps.size();
    lap_ = car.lap;
    lapStartTotal_ = car.total - car.s;
    last_ = {race.time, car.total, pointOf(car)};
    running_ = {};
    running_.session = session_;
    running_.start = race.time - car.lapTime;
    running_.firstMetre = static_cast<int>(std::ceil(car.s));
}

/// The whole metres between two moments, up to `limit` metres of the running lap.
void Truth::addMetres(const State& from, const State& to, double limit) {
    const double way = to.total - from.total;
    if (!(way > 0)) return;
    for (;;) {
        const double metre = running_.firstMetre + static_cast<double>(running_.metres.size());
        const double at = lapStartTotal_ + metre;
        if (metre > limit || at > to.total) return;
        // What lay behind the car at the beginning was never driven.
        const double share = std::clamp((at - from.total) / way, 0.0, 1.0);
        running_.metres.push_back(between(from.point, to.point, share));
    }
}

void Truth::note(const model::Race& race) {
    const model::Car& car = model::player(race);
    State now{race.time, car.total, pointOf(car)};
    if (car.lap == lap_) {
        addMetres(last_, now, circuit_.length);
        last_ = now;
        return;
    }
    // Both ends of the step in the clock of the lap that ends, then of the one that begins.
    const double begun = race.time - car.lapTime;
    State end = now;
    end.point.elapsed = last_.point.elapsed + race.time - last_.time;
    addMetres(last_, end, circuit_.length);
    for (; recordsSeen_ < race.laps.size(); ++recordsSeen_)
        if (race.laps[recordsSeen_].car == 0) {
            running_.record = race.laps[recordsSeen_];
            running_.start = begun - running_.record.time; // the clock may have begun late
            running_.finished = true;
        }
    if (running_.finished) laps_.push_back(std::move(running_));
    running_ = {};
    running_.session = session_;
    running_.start = begun;
    lapStartTotal_ = car.total - car.s;
    lap_ = car.lap;
    last_.point.elapsed = last_.time - begun;
    addMetres(last_, now, circuit_.length);
    last_ = now;
}

bool Truth::write(const std::string& path, const std::string& sim) const {
    std::string out = "{\"sim\":" + quoted(sim) + ",\"circuit\":" + quoted(circuit_.name) +
                      ",\"car\":" + quoted(car_) + ",\"length\":" + number(circuit_.length, 4) +
                      ",\"sectorStarts\":[";
    for (int i = 0; i < 3; ++i)
        out += (i ? "," : "") + number(circuit_.sectorStarts[i], 7);
    out += "],\n\"laps\":[";
    for (const TruthLap& lap : laps_)
        out += (&lap == &laps_.front() ? "\n" : ",\n") + lapText(lap);
    out += "]}\n";
    if (vt::writeFileAtomic(path, out)) return true;
    std::fprintf(stderr, "sim_player: cannot write %s\n", path.c_str());
    return false;
}

} // namespace player
