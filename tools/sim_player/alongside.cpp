#include "alongside.h"

#include "player.h"

#include <cmath>
#include <iterator>

namespace player {

namespace {

/// A car's place beside the player at a moment; in between it moves evenly.
struct Place {
    double at, ahead, right; // s; m
};

// Lanes are 3 m beside the player and 5.5 m for the second car of two. What comes before 10 s is
// the start: who came in late has seen it pass.
constexpr Place kFirst[] = {
    {0, 0, -3},       {3.5, 0, -3},   {4.5, -20, -3},  {11, -30, -3},   // there at the start
    {12.5, 0, -3},    {13.7, 0, -3},  {14.7, -20, -3},                  // left, falls back
    {15.7, -20, 3},   {16.7, 0, 3},   {19.2, 0, 3},    {20.2, 20, 3},   // right, drives off
    {21, 20, -5.5},   {22, 0, -5.5},  {23, 0, -5.5},   {24, -20, -5.5}, // outer one of two left
    {26.8, -20, 5.5}, {27.8, 0, 5.5}, {29.8, 0, 5.5},  {30.8, -20, 3},  // outer one of two right
    {31.2, -20, 3},   {31.9, 0, 3},   {35, 0, 3},      {36, -20, 3},    // beside the pit lane
    {60, -20, 3},
};
constexpr Place kSecond[] = {
    {0, -40, -3},  {17.4, -40, -3}, {18.4, 0, -3}, {24.7, 0, -3}, {25.2, 10, -3},
    {25.7, 10, 3}, {26.2, 0, 3},    {28.8, 0, 3},  {29.8, 20, 3}, {35, 20, -4},
    {36, 20, -4},  {37, 0, -4},     {38, 0, -4},   {39, 20, -4},  {60, 20, -4},
};
constexpr double kPlayerInPits[] = {31, 33.8};
constexpr double kSecondInPits[] = {35.6, 60}; // its lane lies beside the road

template <size_t N>
Place placeAt(const Place (&places)[N], double time) {
    size_t i = 1;
    while (i + 1 < N && places[i].at <= time)
        ++i;
    const Place &a = places[i - 1], &b = places[i];
    const double share = std::fmin(std::fmax((time - a.at) / (b.at - a.at), 0), 1);
    return {time, std::lerp(a.ahead, b.ahead, share), std::lerp(a.right, b.right, share)};
}

Place placeOf(int car, double time) {
    return car == 1 ? placeAt(kFirst, time) : placeAt(kSecond, time);
}

bool within(const double (&span)[2], double time) {
    return time >= span[0] && time < span[1];
}

void put(const model::Circuit& circuit, const model::Car& me, double ahead, double right,
         double closing, model::Car& car) {
    car.total = me.total + ahead;
    car.lap = static_cast<int>(std::floor(car.total / circuit.length));
    car.s = car.total - car.lap * circuit.length;
    car.pct = car.s / circuit.length;
    car.lateral = me.lateral + right;
    const model::CircuitPoint here = model::circuitAt(circuit, car.s);
    car.x = here.x + car.lateral * std::sin(here.heading);
    car.y = here.y - car.lateral * std::cos(here.heading);
    car.slip = 0;
    car.heading = here.heading;
    car.speed = std::fmax(me.speed + closing, 0);
    car.pit = model::PitPlace::none;
    car.stopping = car.offTrack = car.spinning = car.stalled = false;
}

} // namespace

Alongside::~Alongside() {
    if (truth_) std::fclose(truth_);
}

bool Alongside::begin(const model::Race& race, const std::string& truthPath) {
    shown_ = race;
    truth_ = std::fopen(truthPath.c_str(), "w");
    if (truth_) return true;
    std::fprintf(stderr, "sim_player: cannot write %s\n", truthPath.c_str());
    return false;
}

const model::Race& Alongside::show(const model::Race& race, double time) {
    constexpr double step = 0.01;
    shown_.time = race.time;
    shown_.remaining = race.remaining;
    shown_.started = race.started;
    shown_.yellow = race.yellow;
    shown_.lastLap = race.lastLap;
    shown_.chequered = race.chequered;
    shown_.leader = race.leader;
    shown_.laps = race.laps;
    shown_.cars = race.cars;
    model::Car& me = shown_.cars.front();
    if (within(kPlayerInPits, time)) me.pit = model::PitPlace::lane;
    std::fprintf(truth_, "%.6f %.4f %d %.5f", monotonicSeconds(), time,
                 me.pit != model::PitPlace::none, model::circuitAt(shown_.circuit, me.s).curvature);
    const auto cars = static_cast<int>(shown_.cars.size());
    for (int i = 1; i < cars; ++i) {
        model::Car& car = shown_.cars[static_cast<size_t>(i)];
        if (i > kAlongsideCars) { // out of the way
            put(shown_.circuit, me, shown_.circuit.length * (0.4 + 0.2 * i / cars), 0, 0, car);
            continue;
        }
        const Place place = placeOf(i, time), next = placeOf(i, time + step);
        put(shown_.circuit, me, place.ahead, place.right, (next.ahead - place.ahead) / step, car);
        if (i == 2 && within(kSecondInPits, time)) car.pit = model::PitPlace::lane;
        std::fprintf(truth_, " %.3f %.3f %d", place.ahead, place.right,
                     car.pit != model::PitPlace::none);
    }
    std::fputc('\n', truth_);
    return shown_;
}

} // namespace player
