// A race of the driver model in iRacing's words: the variables of its samples and its session text,
// the same for the shared memory and for telemetry files.
#pragma once
#include "driver_model/driver_model.h"
#include "telemetry/readers/iracing_layout.h"

#include <ctime>
#include <string>
#include <vector>

namespace player {

/// What differs from car to car, from build to build and from taste to taste in the sim.
struct IrModelChoices {
    int lateTicks = 12;         // a lap's time arrives so many samples after the line
    bool timeForInvalid = true; // else a lap off the road has -1 outside races
    bool furled = false;        // the furled black flag after leaving the road
    bool oneClock = false;      // SessionTime goes on from session to session
    double leave = 15;          // s after the last lap, when the driver leaves the car; 0 = never
};

/// Words of the form "late=12,notime,furled,oneclock,leave=15". False for one that is not
/// understood.
bool parseIrModelChoices(const std::string& words, IrModelChoices& out);

/// Files hold places on the globe and no other cars, the shared memory the reverse.
enum class IrTable { live, file };

/// The pace car takes a place.
inline constexpr int kIrModelCars = vt::kIrMaxCars - 1;

/// Where the circuit's metres lie on the globe; WGS 84.
struct IrPlace {
    double latitude = 0, longitude = 0; // degrees, of x = y = 0
};
IrPlace irPlaceOf(const model::Circuit& circuit);
/// A place `east` and `north` metres from it, on the ellipsoid's tangent at its latitude.
IrPlace irPlaceAt(const IrPlace& origin, double east, double north);

/// A positive number that is the same for every run.
int irTrackId(const model::Circuit& circuit);

class IrModelWriter {
public:
    IrModelWriter(const IrModelChoices& choices, IrTable table);

    const std::vector<vt::IrVarHeader>& variables() const { return variables_; }
    int32_t sampleLength() const { return length_; }
    int32_t tick() const { return tick_; } // of the last sample

    /// Another session begins; `timeOffset` is added to its time.
    void begin(const model::Race& race, int sessionNum, double timeOffset);
    /// One sample; call once every sixtieth of a second of the race's time.
    void fill(const model::Race& race, std::vector<uint8_t>& sample);

private:
    struct LapDelta {
        std::vector<float> running, best; // s since the line, by lap fraction; 0 = not seen
        double now = 0;
        bool ok = false;
    };
    void follow(const model::Race& race);
    void followLap(const model::Race& race);
    void followDelta(const model::Car& car);

    IrModelChoices choices_;
    std::vector<vt::IrVarHeader> variables_;
    int32_t length_ = 0;
    IrTable table_;
    IrPlace origin_;
    int sessionNum_ = 0;
    double timeOffset_ = 0;
    int tick_ = 0;
    std::vector<std::vector<double>> lapTimes_; // per class: s from the line, by circuit point

    // Of the player's car
    int lap_ = -1;
    double lastLap_ = 0, comingLap_ = 0; // s; the latter is not told yet
    int lastLapDue_ = 0;                 // tick at which it is
    int bestLapNumber_ = -1;
    bool wasOff_ = false;
    double furledUntil_ = -1, finishedAt_ = -1; // s
    bool away_ = false;                         // out of the car
    model::Wheel measured_[4];                  // tyres, at the last stop
    LapDelta delta_;
};

/// A session in the list of the text.
struct IrSessionLine {
    model::SessionKind kind = model::SessionKind::race;
    int laps = 0;       // 0 = by time
    double minutes = 0; // of a session by time
    struct Result {
        int carIdx = 0, classPosition = 0, laps = 0, incidents = 0, fastestLap = -1;
        double time = -1, fastest = -1, last = -1; // s
    };
    std::vector<Result> results; // in the order of the ranks
};
IrSessionLine irSessionLine(const model::Race& race);

/// The sim's document about the weekend: `sessions` with the running one at the end, `start` the
/// moment at which the first began. Windows-1252 where every name fits, else UTF-8.
std::string irSessionText(const model::Race& race, const std::vector<IrSessionLine>& sessions,
                          time_t start, const std::string& file);

} // namespace player
