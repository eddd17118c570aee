// One record for all simulators: what a reader fills each tick and everything else is written
// against.
//
// Units: s, m, m/s, rad, °C; `slipAngle` in degrees. Lap positions are fractions 0..1. Missing data
// has a value per field, its default: -1000 for engine and tyre temperatures and pressures, -1 for
// counters, fractions and ids, 0 for times. Test that value, or the field's `Ok` flag, before use.
// Text is zero-terminated UTF-8. Written by the pump's thread, read by others through the triple
// buffer alone.
#pragma once
#include <cstdint>
#include <type_traits>
#include <vector>

namespace vt {

/// `sessionFlags`. Every reader maps its sim's flags to these bits.
enum SessionFlag : uint32_t {
    kFlagGreen = 0x4,
    kFlagYellow = 0x10,
    kFlagWhite = 0x80, // last lap
    kFlagChequered = 0x100,
    kFlagRed = 0x200,
    kFlagRepair = 0x400,  // black with orange disc
    kFlagWarning = 0x800, // furled black
    kFlagBlue = 0x2000,
};

/// A car in the session. Rows are found by `carIdx`, never by their place.
struct CarRow {
    int32_t carIdx = -1;         // Sim's car index; the key of the row.
    char driverName[64] = "";    // UTF-8.
    char carClass[32] = "";      // Class short name. Equal text means the same class.
    int32_t position = 0;        // Overall position from 1; 0 = none.
    int32_t classPosition = 0;   // Position in class from 1; 0 = none.
    int32_t irating = 0;         // Skill rating.
    int32_t carNumberValue = 0;  // Car number as a number.
    char carNumber[8] = "";      // Car number as text.
    int32_t lap = -1;            // Lap counter.
    float estTime = 0;           // Sim's estimated seconds from the line to here.
    float gapToLeader = 0;       // Seconds behind the leader.
    float lapDistPct = 0;        // 0..1; negative = not in the world.
    int32_t trackSurface = -1;   // As in SimFrame.
    float lastLapTime = 0;       // Seconds.
    float bestLapTime = 0;       // Seconds.
    uint8_t bestFromEarlier = 0; // bestLapTime comes from an earlier session of the weekend.
    char licence[12] = "";       // Licence text such as A 3.50.
    char carBrand[24] = "";      // First word of the car's screen name.
    // On-track gap to the player in seconds, positive = ahead. Written by the pump.
    float gapToPlayer = 0;
    uint8_t gapFromRings = 0; // 1 when gapToPlayer came from the crossing-time rings.
    float lapEstimate = 0;    // The car's recent lap time from the rings. Written by the pump.
    float pathLateral = 0;    // Metres from the centre line (Le Mans Ultimate, rFactor 2).
    uint8_t onPitRoad = 0;
    float lastPitTime = -1;     // Duration of the car's last visit to pit road, seconds.
    uint8_t pitThisLap = 0;     // The car's last pit visit was on the lap it is on now.
    int32_t tyreCompound = -1;  // Compound number.
    float lastSectorTime = 0;   // Seconds.
    float bestSectorTime = 0;   // Seconds.
    float prevSectorTime = 0;   // The earlier time of that sector, seconds.
    int32_t lastSectorIdx = -1; // Sector that lastSectorTime belongs to.
    int32_t pitStops = -1;      // Stops made, race sessions only.
    int32_t finishStatus = 0;   // 0 running, 1 finished, 2 retired, 3 disqualified.
    float fuelFraction = -1;    // Fuel left in that car, 0..1.
};

struct SimFrame {
    // 1 when a reader filled this frame from a running sim; 0 when there is nothing to show.
    // Consumers test this first.
    uint8_t connected = 0;
    int32_t simKind = -1; // SimKind of the reader that filled the frame.
    // The sim's own key of the player's car: iRacing CarPath with ", *, /, :, <, >, ?, \ and |
    // replaced by _; carModel of the Assetto Corsa family; the vehicle name of rFactor 2. Joins
    // the car to stored data.
    char carModel[64] = "";
    char carName[64] = ""; // Display name of the player's car.
    uint8_t isOnTrack = 0; // The player sits in the car on the track.
    uint8_t inGarage = 0;  // The player is in the garage or setup screen.
    // Player's surface class: -1 not in world, 0 off track, 1 in pit stall, 2 approaching pits,
    // 3 on track. Every reader that fills it uses this numbering.
    int32_t trackSurface = -1;
    float throttle = 0;   // Pedal, 0..1.
    float brake = 0;      // Pedal, 0..1.
    float clutch = 0;     // Pedal, 0..1, 1 = fully pressed.
    float steerAngle = 0; // Steering wheel angle in radians, positive to the right.
    // steerAngle is a true wheel angle. Readers that only know a -1..1 input leave it 0 until
    // the wheel's rotation is known.
    uint8_t steerAngleOk = 1;
    int32_t gear = 0;            // -1 reverse, 0 neutral, 1 and up forward.
    float rpm = 0;               // Engine speed, rev/min.
    float maxRpm = 0;            // Redline, rev/min.
    float speed = 0;             // Road speed, m/s; never negative.
    float boost = 0;             // Turbo boost, bar.
    float boostFrac = 0;         // Boost as a fraction, 0..1.
    float shiftFirstRpm = 0;     // Shift light: first LED, rev/min.
    float shiftRpm = 0;          // Shift light: shift point, rev/min.
    float shiftBlinkRpm = 0;     // Shift light: blink point, rev/min.
    float steerLock = 0;         // Wheel's lock to one side, radians.
    float waterTemp = -1000;     // °C.
    float oilTemp = -1000;       // °C.
    float oilPressure = -1000;   // bar.
    float batteryVolts = -1000;  // Volts.
    float brakeBias = -1000;     // Share to the front, percent.
    float tcLevel = -1000;       // Traction control step.
    float absLevel = -1000;      // ABS step.
    uint32_t engineWarnings = 0; // iRacing EngineWarnings bits, as the sim gives them.
    float latAccel = 0;          // Lateral acceleration, m/s².
    float longAccel = 0;         // Longitudinal acceleration, m/s².
    // Front to rear axle, metres. Consumers use 2.7 when it is not above 0.
    float wheelBase = 0;
    // Left to right wheels, metres. Consumers use 1.7 when it is not above 0.5.
    float trackWidth = 0;
    float deltaBest = 0;             // Sim's delta to the driver's best lap, seconds.
    uint8_t deltaBestOk = 0;         // deltaBest is valid.
    float deltaOptimal = 0;          // Sim's delta to the optimal lap, seconds.
    uint8_t deltaOptimalOk = 0;      // deltaOptimal is valid.
    float deltaSessionBest = 0;      // Sim's delta to the session best lap, seconds.
    uint8_t deltaSessionBestOk = 0;  // deltaSessionBest is valid.
    float deltaLast = 0;             // Sim's delta to the last lap, seconds.
    uint8_t deltaLastOk = 0;         // deltaLast is valid.
    float lapDistPct = 0;            // Position on the lap, 0..1.
    double sessionTime = 0;          // Sim's session clock, seconds.
    int32_t sessionNum = -1;         // Sim's session number.
    std::vector<float> sectorStarts; // Lap fractions at which the sectors start, ascending.
    // 0-based sector the car is in. Le Mans Ultimate and rFactor 2 pass the sim's own number: 1
    // first sector, 2 second, 0 third.
    int32_t currentSector = -1;
    // Pump's delta inside the running sector to the best run of that sector, seconds.
    float sectorDeltaBest = 0;
    uint8_t sectorDeltaBestOk = 0; // sectorDeltaBest is valid.
    // Pump's delta inside the running sector to the last run of that sector, seconds.
    float sectorDeltaLast = 0;
    uint8_t sectorDeltaLastOk = 0; // sectorDeltaLast is valid.
    float optimalLapTime = 0;      // Pump's sum of the best sectors, seconds.
    uint8_t optimalLapTimeOk = 0;  // optimalLapTime is valid.
    float liveDeltaBest = 0;       // Pump's running delta to the lap it recorded as best, seconds.
    uint8_t liveDeltaBestOk = 0;   // liveDeltaBest is valid.
    float liveDeltaLast = 0;       // Pump's running delta to the last lap it recorded, seconds.
    uint8_t liveDeltaLastOk = 0;   // liveDeltaLast is valid.
    float airTemp = 0;             // °C.
    float trackTemp = 0;           // °C.
    float precipitation = 0;       // 0..1.
    float wetness = 0;             // Track wetness 0..1.
    // iRacing TrackWetness step, 0..7; wetness = (step - 1) / 6 from step 1 on.
    int32_t wetnessLevel = -1;
    uint32_t sessionFlags = 0;  // Flag bits, see the table below.
    int32_t sessionState = 0;   // The sim's own session phase number, unmapped.
    int32_t incidents = -1;     // Incident count.
    int32_t incidentLimit = -1; // Incident limit.
    int32_t penalties = -1;     // Penalty count, for sims without incident points.
    double timeRemain = 0;      // Session time left, seconds. 86400 or more counts as unknown.
    double timeTotal = -1;      // Session length, seconds.
    uint8_t timedSession = 1;   // 1 = the session is not limited by laps.
    int32_t lapsRemain = -1;    // Laps left.
    char trackName[64] = "";    // UTF-8.
    char sessionName[24] = "";  // "Race", "Practice" and the like.
    int32_t isRace = -1;        // 1 race, 0 not, -1 unknown. See frameIsRace.
    // Full-course caution: 0 none, 1 caution, 2 caution with pits closed, 4 caution with pits
    // open, 5 one lap to green. Le Mans Ultimate puts its yellow state 0..6 here.
    int32_t cautionPhase = 0;
    int32_t racePhase = 0;      // 0 none, 1 before the start, 2 racing, 3 finished.
    int32_t gridPosition = -1;  // Position at the start.
    int32_t blackFlag = 0;      // 0 none, 1 black flag, 2 disqualified.
    int32_t damageLevel = -1;   // Worst body damage, 0..2.
    uint8_t partDetached = 0;   // A part has come off.
    uint8_t overheating = 0;    // The engine overheats.
    double lastImpactTime = -1; // sessionTime of the last impact.
    int32_t carLeftRight = 0;   // Spotter value, numbered as iRacing's CarLeftRight.
    float trackLength = 0;      // Metres.
    // The sim's track id, or a hash of the track name where the sim has none.
    int32_t trackId = 0;
    int32_t trackTurns = 0;     // Number of turns.
    char trackConfig[48] = "";  // Layout name.
    char buildVersion[24] = ""; // Sim's build.
    char sessionDate[16] = "";  // YYYY-MM-DD, the session's in-game date.
    int32_t timeOfDay = -1;     // In-game start time, seconds after midnight.
    int32_t seasonId = 0;       // iRacing SeasonID.
    int32_t raceWeek = -1;      // iRacing RaceWeek.
    // 1 in a fixed-setup session, 0 in an open one, -1 when the sim says nothing.
    int32_t fixedSetup = 0;
    // The car's setup as text: the CarSetup: block of the session text flattened to lines
    // Section.Sub.Key: value.
    char setupText[4096] = "";
    // FNV-1a 32-bit hash of setupText, never 0 when there is text; 0 = no setup. A change means
    // a new setup.
    int32_t setupHash = 0;
    int32_t setupUpdateCount = -1;    // UpdateCount of that block; -1 when it gives none.
    float classPowerAdjust = -1000;   // iRacing CarClassPowerAdjust.
    float classWeightPenalty = -1000; // iRacing CarClassWeightPenalty.
    double latitude = 0;   // iRacing Lat. Read only while a survey or a learning run wants it.
    double longitude = 0;  // iRacing Lon.
    float velX = 0;        // iRacing VelocityX, m/s.
    float velY = 0;        // iRacing VelocityY, m/s.
    float yawNorth = 0;    // iRacing YawNorth, radians.
    float yawRate = 0;     // Radians per second.
    float latVelocity = 0; // Lateral velocity, m/s.
    uint8_t absActive = 0; // ABS is working now.
    // Bit 0 yawRate, bit 1 latVelocity, bit 2 absActive are supplied.
    uint32_t dynamicsMask = 0;
    uint32_t latVelocitySource = 0; // 0 none, 2 measured.
    // The car's lateral offset from the mapped centre line, written by the pump from the road
    // survey or GPS learning.
    float surveyLateral = 0;
    uint8_t surveyLateralOk = 0; // Written by the pump: surveyLateral is valid.
    int32_t surveyLaps = 0;      // Written by the pump: runs or laps accepted into the map.
    // Written by the pump: 1 unless the road's width is learned from driven lines (usedRoad,.
    int32_t surveyEdgesKnown = 0;
    char surveyText[48] = "";    // Written by the pump: the survey's status line.
    float worldX = 0;            // Car position in the map plane, metres.
    float worldY = 0;            // Car position in the map plane, metres.
    float forwardX = 0;          // The car's forward unit vector in the map plane.
    float forwardY = 0;          // Second component of it.
    float rightX = 0;            // The car's right unit vector in the map plane.
    float rightY = 0;            // Second component of it.
    uint8_t worldOk = 0;         // worldX to rightY hold data.
    float pathLateral = 0;       // Metres from the track centre line.
    uint8_t pathLateralOk = 0;   // pathLateral is valid.
    float trackEdge = 0;         // Centre line to track edge on this side, metres.
    uint8_t trackEdgeOk = 0;     // trackEdge is valid.
    uint8_t wheelOnKerb[4] = {}; // Per wheel, in the order LF RF LR RR.
    float tyreTemp[4] = {-1000, -1000, -1000, -1000};     // Per corner LF RF LR RR, °C.
    float tyreWear[4] = {-1, -1, -1, -1};                 // Tread left per corner, 0..1.
    float tyrePressure[4] = {-1000, -1000, -1000, -1000}; // Per corner, kPa.
    int32_t tyreDataLevel = 0;  // 0 none, 1 live, 2 only what the sim reports at the pit stop.
    int32_t lapValidity = -1;   // 1 the running lap counts, 0 it does not.
    float tyreRumble[4] = {};   // iRacing TireLF_RumblePitch and its three sisters.
    float fuelLevel = 0;        // Litres.
    float fuelCapacity = 0;     // Litres.
    int32_t lap = -1;           // Lap counter.
    float lastLapTime = 0;      // Seconds; 0 = none.
    float bestLapTime = 0;      // Seconds; 0 = none.
    float currentLapTime = 0;   // Seconds.
    float fuelPerLap = 0;       // The sim's own figure, litres; 0 = none.
    int32_t fuelLapsLeft = -1;  // The sim's own figure.
    float virtualEnergy = -1;   // Le Mans Ultimate, 0..1.
    float batteryCharge = -1;   // Le Mans Ultimate, 0..1.
    int32_t motorState = -1;    // Le Mans Ultimate electric motor state.
    int32_t motorMap = -1;      // Le Mans Ultimate: selected motor map.
    int32_t motorMapCount = -1; // Le Mans Ultimate: number of motor maps.
    float ersStore = -1;        // F1: battery, fraction of 4 MJ, 0..1.
    int32_t ersMode = -1;       // F1: deployment mode.
    float ersDeployed = -1;     // F1: deployed this lap, fraction of 4 MJ, 0..1.
    int32_t drsOpen = -1;       // F1: the telemetry packet's DRS byte is set.
    int32_t drsAllowed = -1;    // F1: the status packet allows DRS.
    uint8_t onPitRoad = 0;
    uint8_t inPitStall = 0;
    uint8_t pitLimiterOn = 0;
    float pitLimitSpeed = 0;       // m/s.
    float pitStallPct = -1;        // Lap fraction of the player's pit stall.
    int32_t positionsGained = 0;   // Start position minus position now.
    uint8_t positionsGainedOk = 0; // positionsGained is valid.
    float lapsEstimate = -1;       // Pump's estimate of the laps left in a timed race.
    // 0 = an estimate, shown with one decimal behind a tilde ("~%.1f%s"); 1 = a whole number.
    uint8_t lapsEstimateIsExact = 0;
    float slipAngle = 0;        // Body slip angle, degrees.
    int32_t slipSource = 0;     // 0 none, 1 estimated, 2 measured.
    float slipRate = 0;         // Rate of slipAngle, degrees per second.
    float balance = 0;          // Rear slip minus front slip: positive = oversteer.
    int32_t balanceSource = 0;  // 0 none, 1 estimated, 2 measured.
    float frontSlip = 0;        // 0..1.
    float rearSlip = 0;         // 0..1.
    int32_t slipPairSource = 0; // 0 none, 2 measured.
    uint8_t dynamicsOk = 0;     // dynamicsSpeed is valid.
    // Speed the slip fields belong to, m/s. Consumers ignore slip below 4.1667 m/s.
    float dynamicsSpeed = 0;
    uint8_t dynamicsFromYaw = 0;  // The slip fields come from yaw and lateral velocity.
    float wheelSlipRatio[4] = {}; // Per wheel LF RF LR RR, as AC EVO gives it.
    int32_t wheelSlipSource = 0;  // 0 none, 2 measured.
    std::vector<CarRow> cars;     // One row per car in the session.
    int32_t playerCarIdx = -1;    // carIdx of the player's row.
    int32_t radioCarIdx = -1;     // Car transmitting on the radio.
};

static_assert(std::is_nothrow_move_constructible_v<SimFrame>);

/// Back to the default record; the vectors keep their capacity.
void resetKeepingCapacity(SimFrame& frame);

/// The row with that `carIdx`, or null. A negative index finds nothing.
const CarRow* findCar(const SimFrame& frame, int32_t carIdx);

/// The player's row, or null: a sim without other cars has none.
const CarRow* playerRow(const SimFrame& frame);

/// `isRace` where the sim says; else whether `sessionName` holds the word "race" in any case.
bool frameIsRace(const SimFrame& frame);

/// The one flag that counts when several are set: red, chequered, repair, warning, white, yellow,
/// blue, green; 0 when none.
uint32_t flagPriority(uint32_t sessionFlags);

} // namespace vt
