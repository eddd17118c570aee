// One driven session as it is kept: the laps, what they add up to, and what was known of car, track
// and weather. Plain values; a value of type T that nobody knows has the default given here.
//
// Texts are UTF-8 in fixed fields, cut between characters (`copyText`).
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

inline constexpr int kRecordVersion = 9;
inline constexpr int kMaxLaps = 100;       // laps of one session that are kept
inline constexpr int kBestTraceBins = 200; // bins of lap position in `bestTrace`
inline constexpr int kMaxCorners = 32;
inline constexpr int kMaxSectors = 16;
inline constexpr float kNoLevel = -1000; // "none" of levels and temperatures that may be negative
inline constexpr int kNoTrackFilter = 0;

enum LapInvalid : int32_t {
    kLapInvalidSim = 1,      // the sim, or the furled flag
    kLapInvalidIncident = 2, // the incident count rose during the lap
};

enum LapShare : int32_t {
    kLapNotShared = 0,
    kLapShared = 1,        // under `shareLapId`
    kLapShareUnderWay = 2, // no id yet
};

struct LapRecord {
    float lapTime = 0;                                 // s
    float avgSpeed = 0, topSpeed = 0;                  // mph
    float maxLatG = 0, maxBrakeG = 0, maxAccelG = 0;   // g
    float throttlePct = 0, brakePct = 0, coastPct = 0; // percent of the lap's time
    float sectorSec[kMaxSectors] = {};                 // s; 0 = not timed
    int32_t sectorCount = 0;
    int32_t invalid = 0; // LapInvalid bits
    int32_t share = 0;   // LapShare
    char shareLapId[40] = "";
    float fuelStartL = -1;
    int32_t tyreLaps =
        -1; // laps since the last pit exit, 0 on the out-lap; -1 before the first exit
    int32_t compound = -1;
    float airTempC = kNoLevel, trackTempC = kNoLevel;                    // mean over the lap
    float wetness = -1;                                                  // highest in the lap, 0..1
    float brakeBias = kNoLevel, tcLevel = kNoLevel, absLevel = kNoLevel; // at the lap's start
    bool outLap = false;        // began on pit road, or left it
    bool inLap = false;         // entered pit road, or ended on it
    float trafficSec = -1;      // s held up by a car in front; -1 = the sim gives no gaps
    float trafficWorstPct = -1; // lap position of the closest approach
};

/// One bin of the session's best valid lap.
struct BestTraceBin {
    float speed = 0; // mph
    float throttle = 0, brake = 0;
    float steer = 0; // rad
    float latG = 0;
    float lapTimeSec = 0; // since the lap's start
    bool valid = false;
};

/// One corner of the session's best valid lap, as it was felt while driving.
struct CornerRecord {
    float entryPct = 0, exitPct = 0;                // lap position
    float minSpeed = 0, maxSpeed = 0, avgSpeed = 0; // mph
    float peakLatG = 0;
    int32_t sector = 0;  // of the entry
    int32_t samples = 0; // not stored
};

struct SessionSummary {
    float bestLapTime = 0, avgLapTime = 0, worstLapTime = 0, lapStdDev = 0; // s
    float avgSpeed = 0, topSpeed = 0;                                       // mph
    float throttlePct = 0, brakePct = 0, coastPct = 0;
    float avgTransition = 0; // s from brake to throttle
};

/// Best sprints of the session; 0 = none.
struct SprintBest {
    float pb0to60 = 0, pb0to100 = 0, pbQuarter = 0; // s
    float pbTrapMph = 0;
    float pbReaction = 0; // s
    float pbTopSpeed = 0; // mph
};

struct SessionRecord {
    char carName[64] = ""; // display name, or the sim's key where it has none
    char trackName[64] = "";
    int32_t trackId = 0;
    int32_t simId = 0; // SimKind
    char sessionType[16] = "";
    /// UTC, "%04d-%02d-%02dT%02d:%02d:%02dZ": the moment of the commit. Identifies the session in
    /// its file.
    char date[32] = "";
    int32_t totalLaps = 0;
    SessionSummary summary;
    SprintBest sprintPB;
    std::vector<LapRecord> laps; // at most kMaxLaps
    bool hasBestTrace = false;
    std::vector<BestTraceBin> bestTrace; // kBestTraceBins when there is one
    std::vector<CornerRecord> corners;   // at most kMaxCorners
    char traceFile[160] = "";            // bare file name in the traces folder; "" = none
    float airTempC = 0, trackTempC = 0;  // mean over the session
    float wetnessMax = 0;                // 0..1
    float trackLengthM = 0;
    char trackConfig[48] = "";
    char simVersion[24] = "";
    char simDate[16] = "";     // in the game
    int32_t timeOfDaySec = -1; // in the game
    int32_t seasonId = 0;
    int32_t raceWeek = -1;
    int32_t fixedSetup = -1; // 1 = everybody drives the same setup
    int32_t trackNumTurns = -1;
    int32_t sectorLayout = -1; // sectors at the last tick
    std::string setupText;     // as the sim wrote it
    int32_t setupHash = 0;     // 0 = no setup seen
    bool setupChangedMidStint = false;
    float powerAdjustPct = kNoLevel, weightPenaltyKg = kNoLevel; // both or neither
    std::string source;                                          // "ibt" for an imported session
    std::string sourceFile;                                      // name of the imported file
    int32_t version = kRecordVersion; // 0 on reading a record that has none
    /// 1: x and y of the sidecar are metres from positions on the globe. -1: tried, and there is no
    /// sidecar. 0: neither.
    int32_t gps = 0;
};

/// Laps between two visits to the pits.
struct StintSpan {
    int32_t firstLap = 0; // index into `laps`
    int32_t ordinal = 0;  // from 0
    int32_t lastLap = 0;  // index, inclusive
    int32_t cleanLaps = 0;
    bool qualifies = false; // 5 clean laps or more
};

/// Above 1 s, valid, neither out-lap nor in-lap.
bool lapIsClean(const LapRecord& lap);

/// The stints of a record, over its first kMaxLaps laps.
std::vector<StintSpan> splitStints(const SessionRecord& record);

/// `bestLapTime`, `worstLapTime`, `avgLapTime` and `lapStdDev` over the valid laps; all 0 without
/// one. Population deviation, 0 below two laps.
void summariseLapTimes(const std::vector<LapRecord>& laps, SessionSummary& summary);

} // namespace vt
