// iRacing's session text: the document that the sim keeps beside its samples (and inside telemetry
// files). It is not parsed as YAML, which the sim's own files are not always: keys are found by
// plain search, blocks end by their indentation.
#pragma once
#include "telemetry/readers/iracing_layout.h"

#include <array>
#include <string_view>
#include <vector>

namespace vt {

/// A driver's identity, by car index.
struct IrDriver {
    int32_t carIdx = -1;
    char userName[64] = "";
    char className[32] = "";
    int32_t irating = 0;
    int32_t numberValue = 0;
    char numberText[8] = "";
    char licence[12] = "";
    char brand[24] = ""; // first word of the car's screen name
    uint8_t isPaceCar = 0;
    uint8_t isSpectator = 0;
    uint8_t present = 0;
};

/// Seconds; 0 = the sim has none.
struct IrResultTimes {
    float fastest = 0;
    float last = 0;
};

struct IrSession {
    char name[24] = "";
    int32_t isRace = -1; // 1, 0, -1 unknown
    double length = -1;  // s; -1 unlimited or unknown
    std::array<IrResultTimes, kIrMaxCars> results{};
};

/// Everything that is taken from the text. The defaults stand for a key that is missing.
struct IrSessionText {
    int32_t playerCarIdx = -1;
    float maxRpm = 0, shiftFirstRpm = 0, shiftRpm = 0, shiftBlinkRpm = 0;
    float fuelCapacity = 0;  // litres
    float pitLimitSpeed = 0; // m/s
    float pitStallPct = -1;
    float trackLength = 0; // m
    int32_t trackId = 0;
    int32_t trackTurns = 0;
    char trackName[64] = "";
    char trackConfig[48] = "";
    char buildVersion[24] = "";
    char sessionDate[16] = "";
    int32_t timeOfDay = -1; // s after midnight
    int32_t seasonId = 0;
    int32_t raceWeek = -1;
    int32_t fixedSetup = -1;
    int32_t incidentLimit = -1;
    char carModel[64] = ""; // the player's car
    char carName[64] = "";
    float classPowerAdjust = -1000;
    float classWeightPenalty = -1000;
    int32_t qualifyFallback = -1; // the player's class position from 1 in qualifying
    char setupText[4096] = "";
    int32_t setupHash = 0;
    int32_t setupUpdateCount = -1;
    std::array<IrDriver, kIrMaxCars> drivers{};
    std::vector<IrSession> sessions; // by session number
    std::vector<float> sectorStarts;
};

/// The record of a session text as it lies in memory or in a file: ends at the first zero byte,
/// Windows-1252 unless it is valid UTF-8. `out` is replaced; its vectors keep their capacity.
void parseSessionText(IrSessionText& out, std::string_view bytes);

/// The value behind the first "key: " up to the line's end, less trailing blanks; empty when there
/// is none.
std::string_view irFind(std::string_view text, std::string_view key);

/// End of the block that the line at `position` opens: the first later line that is not blank, does
/// not begin with "-" and is indented no deeper than `position` is.
size_t irBlockEnd(std::string_view text, size_t position);

/// The number at the start of `value`, as strtod takes it but without a locale. False for none and
/// for one that is not finite.
bool irNumber(std::string_view value, double& out);
int32_t irInt(std::string_view value, int32_t fallback);

} // namespace vt
