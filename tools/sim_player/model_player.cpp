#include "alongside.h"
#include "player.h"
#include "truth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace player {

bool findCircuit(const std::string& name, model::Circuit& out) {
    out = model::builtInCircuit(name);
    if (!out.points.empty()) return true;
    std::string error;
    if (name.size() > 4 && name.ends_with(".csv")) {
        if (model::loadCircuit(name, out, error)) return true;
        std::fprintf(stderr, "sim_player: %s\n", error.c_str());
        return false;
    }
    std::fprintf(stderr, "sim_player: there is no circuit \"%s\"; it is a .csv file or one of",
                 name.c_str());
    for (const std::string& known : model::builtInCircuitNames())
        std::fprintf(stderr, " %s", known.c_str());
    std::fprintf(stderr, "\n");
    return false;
}

namespace {

/// Steps short enough for the truth, whatever the samples' rate is.
void stepNoting(model::Race& race, double dt, Truth& truth) {
    const int pieces = std::max(1, static_cast<int>(std::ceil(dt * 60 - 1e-6)));
    for (int i = 0; i < pieces; ++i) {
        model::stepRace(race, dt / pieces);
        truth.note(race);
    }
}

} // namespace

int playModel(const Options& options, const char* simName,
              const std::function<bool(const model::Race&)>& publish) {
    model::Circuit circuit;
    if (!findCircuit(options.circuit, circuit)) return 1;
    model::Settings settings = options.model;
    const bool scripted = !options.alongside.empty();
    if (scripted) settings.cars = std::max(settings.cars, 1 + kAlongsideCars);
    model::Race race = model::startRace(settings, circuit);
    model::stepRace(race, options.skip);
    Alongside alongside;
    if (scripted && !alongside.begin(race, options.alongside)) return 1;
    std::printf("%s: %zu car%s on \"%s\", %.0f m, %.4g samples a second; Ctrl+C ends it\n", simName,
                race.cars.size(), race.cars.size() == 1 ? "" : "s", circuit.name.c_str(),
                circuit.length, options.hz);
    std::fflush(stdout);
    Truth truth;
    const bool told = !options.truth.empty();
    if (told) truth.begin(race);
    everyTick(options, [&](int64_t n) {
        const double dt = n > 0 ? options.speed / options.hz : 0;
        if (told && n > 0)
            stepNoting(race, dt, truth);
        else
            model::stepRace(race, dt);
        if (!scripted) return publish(race);
        return publish(alongside.show(race, static_cast<double>(n) * options.speed / options.hz));
    });
    return told && !truth.write(options.truth, simName) ? 1 : 0;
}

int printModel(const Options& options) {
    model::Circuit circuit;
    if (!findCircuit(options.circuit, circuit)) return 1;
    model::Race race = model::startRace(options.model, circuit);
    model::stepRace(race, options.skip);
    std::printf("time,car,lap,s,lateral,x,y,heading,speed,lat,long,yaw_rate,throttle,brake,wheel,"
                "gear,rpm,fuel,position,gap,pit,tyre_lf,kerb,off\n");
    const double until = options.seconds > 0 ? options.seconds : 300;
    for (double t = 0; t < until; t += 1 / options.hz, model::stepRace(race, 1 / options.hz))
        for (const model::Car& c : race.cars)
            std::printf("%.3f,%d,%d,%.2f,%.3f,%.2f,%.2f,%.4f,%.3f,%.3f,%.3f,%.4f,%.3f,%.3f,%.3f,%d,"
                        "%.0f,%.3f,%d,%.3f,%d,%.1f,%d,%d\n",
                        race.time, c.index, c.lap, c.s, c.lateral, c.x, c.y, c.heading, c.speed,
                        c.latAccel, c.longAccel, c.yawRate, c.throttle, c.brake, c.wheelAngle,
                        c.gear, c.rpm, c.fuel, c.position, c.gapToLeader, static_cast<int>(c.pit),
                        c.wheels[0].tempC, c.wheels[0].onKerb, c.offTrack);
    return 0;
}

} // namespace player
