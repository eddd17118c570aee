// What each simulator offers, as bits: the fixed table, and what a reader found at run time.
#pragma once
#include "telemetry/sim_registry.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace vt {

enum SimCapability : uint32_t {
    kOffersCars = 0x1,      // the list of other cars, with who they are
    kOffersCarPlaces = 0x2, // where they are, for alongside detection
    kOffersGaps = 0x4,      // gaps between cars
    kOffersLaps = 0x8,      // last lap and lap number
    kOffersSession = 0x10,  // time or laps remaining
    kOffersFlags = 0x20,
    kOffersLapTimes = 0x40, // finished lap times
    kOffersSectors = 0x80,
    kOffersLapPosition = 0x100, // precise enough for a computed delta
    kOffersDeltas = 0x200,      // the sim's own deltas
    kOffersWetness = 0x400,
    kOffersRain = 0x800,
    kOffersTemperatures = 0x1000, // air and track
    kOffersGForces = 0x2000,
    kOffersEngine = 0x4000, // temperatures, oil pressure, battery
    kOffersBrakeBias = 0x8000,
    kOffersBasics = 0x10000, // pedals and speed
    kOffersFuel = 0x20000,
    kOffersTank = 0x40000,    // tank capacity
    kOffersCarPits = 0x80000, // pit status of other cars
    kOffersGarage = 0x100000,
    kOffersPitLimit = 0x200000,
    kOffersRatings = 0x400000,      // incidents, ratings, licences
    kOffersCompounds = 0x800000,    // of other cars
    kOffersCarPitTimes = 0x1000000, // last pit time and tyre age of other cars
    kOffersDriverAids = 0x2000000,  // TC and ABS levels
    kOffersGained = 0x4000000,      // positions gained
    kOffersRunningLap = 0x8000000,  // the running lap's time
    kOffersStage = 0x10000000,      // the road is learned while driving
    kOffersSlip = 0x20000000,
    kOffersTyres = 0x40000000, // per-tyre figures
    kOffersWorld = 0x80000000, // the player's position in the world
};

/// What a sim offers as told by the fixed table.
uint32_t simCapabilities(int sim);
/// Bits that a reader found at run time, or-ed in by the run-time questions (a broadcast connection
/// that is up). Written by the pump's thread, read by any.
extern std::array<std::atomic<uint32_t>, kSimCount> simLiveCapabilities;

/// Table and run-time bits together. `bits` 0 is always true; no sim offers nothing.
bool simOffers(int sim, uint32_t bits);

} // namespace vt
