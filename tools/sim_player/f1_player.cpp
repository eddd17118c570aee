// F1: the driver model in the game's datagrams. `--extra 2023` to `--extra 2026` chooses the format
// (2025); `--extra 2021` sends that of an older game, whose header is shorter.
#include "base/utf8.h"
#include "datagram_player.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/f1_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

namespace player {

namespace {

constexpr double kErsFull = 4e6; // J

/// Where the formats differ.
struct Format {
    uint16_t year;
    size_t lapStride, lapTail, participantStride, sessionBytes;
    uint8_t practice, qualifying, race; // session types
};
constexpr Format kFormats[] = {
    {2021, 43, 0, 58, 625, 1, 5, 10}, {2023, 50, 2, 58, 644, 1, 5, 10},
    {2024, 57, 2, 60, 753, 1, 5, 15}, {2025, 57, 2, 57, 753, 1, 5, 15},
    {2026, 57, 2, 57, 753, 1, 5, 15},
};

class F1Writer {
public:
    F1Writer(const Options& options, const Format& format)
        : format_(format), sender_(options, vt::kF1Port) {}

    void send(const model::Race& race) {
        race_ = &race;
        cars_ = static_cast<int>(std::min(race.cars.size(), size_t{vt::kF1Cars}));
        sendMotion();
        sendLapData();
        sendTelemetry();
        sendStatus();
        // The game sends these twice a second and every few seconds.
        if (frame_ % 30 == 0) sendSession();
        if (frame_ % 60 == 0) sendParticipants();
        ++frame_;
    }

private:
    /// The player comes last, as in the game's own sessions.
    size_t slotOf(int car) const { return static_cast<size_t>(car == 0 ? cars_ - 1 : car - 1); }
    const model::Car& car(int i) const { return race_->cars[static_cast<size_t>(i)]; }
    template <class T>
    void put(size_t at, const T& record) {
        if (at + sizeof record <= packet_.size())
            std::memcpy(packet_.data() + at, &record, sizeof record);
    }

    void begin(uint8_t id, size_t bytes) {
        const bool old = format_.year < 2023;
        packet_.assign(bytes - (old ? 5 : 0), 0);
        head_ = old ? 24 : vt::kF1HeaderBytes;
        vt::F1Header header{};
        header.packetFormat = format_.year;
        header.gameYear = static_cast<uint8_t>(format_.year - 2000);
        header.majorVersion = header.packetVersion = 1;
        header.packetId = id;
        header.sessionUid = 42;
        header.sessionTime = asFloat(race_->time);
        header.frame = header.overallFrame = frame_;
        header.playerCarIndex = static_cast<uint8_t>(slotOf(0));
        header.secondaryPlayerIndex = 255;
        if (!old) {
            put(0, header);
            return;
        }
        // Without the year, and without the overall frame.
        put(0, header.packetFormat);
        put(2, header.majorVersion);
        put(5, id);
        put(14, header.sessionTime);
        put(18, frame_);
        put(22, header.playerCarIndex);
    }
    void end() { sender_.send(packet_.data(), packet_.size()); }

    void sendMotion() {
        begin(vt::kF1Motion, 1349);
        for (int i = 0; i < cars_; ++i) {
            const model::WorldAxes axes = model::worldAxes(car(i));
            vt::F1MotionCar record{};
            for (int k = 0; k < 3; ++k) {
                record.position[k] = asFloat(axes.position[k]);
                record.velocity[k] = asFloat(axes.velocity[k]);
                record.forward[k] = static_cast<int16_t>(axes.forward[k] * 32767);
                record.right[k] = static_cast<int16_t>(axes.right[k] * 32767);
            }
            record.gForceLateral = asFloat(-car(i).latAccel) / vt::kGravity;
            record.gForceLongitudinal = asFloat(car(i).longAccel) / vt::kGravity;
            record.gForceVertical = 1;
            record.yaw = asFloat(car(i).heading);
            put(head_ + slotOf(i) * sizeof record, record);
        }
        end();
    }

    void sendSession() {
        begin(vt::kF1Session, format_.sessionBytes);
        const model::Settings& settings = race_->settings;
        vt::F1SessionHead s{};
        s.weather = settings.rain <= 0 ? 0 : settings.rain < 0.5 ? 3 : settings.rain < 0.8 ? 4 : 5;
        s.trackTemperature = static_cast<int8_t>(settings.trackTemp);
        s.airTemperature = static_cast<int8_t>(settings.airTemp);
        s.totalLaps = static_cast<uint8_t>(std::clamp(settings.laps, 0, 255));
        s.trackLength = static_cast<uint16_t>(std::lround(race_->circuit.length));
        s.sessionType = settings.session == model::SessionKind::practice     ? format_.practice
                        : settings.session == model::SessionKind::qualifying ? format_.qualifying
                                                                             : format_.race;
        s.trackId = 11;
        s.sessionTimeLeft = static_cast<uint16_t>(std::clamp(race_->remaining, 0.0, 65535.0));
        s.sessionDuration = static_cast<uint16_t>(std::clamp(settings.minutes * 60, 0.0, 65535.0));
        put(head_, s);
        end();
    }

    void sendLapData() {
        begin(vt::kF1LapData,
              vt::kF1HeaderBytes + vt::kF1Cars * format_.lapStride + format_.lapTail);
        const double length = race_->circuit.length;
        for (int i = 0; i < cars_; ++i) {
            const model::Car& from = car(i);
            vt::F1LapCar record{};
            record.lastLapMs = milliseconds(from.lastLap);
            record.currentLapMs = milliseconds(from.lapTime);
            record.lapDistance = asFloat(from.lap < 0 ? from.s - length : from.s);
            record.totalDistance = asFloat(from.total);
            record.position = static_cast<uint8_t>(from.position);
            record.currentLap = static_cast<uint8_t>(std::clamp(from.lap + 1, 1, 255));
            record.pitStatus = from.pit == model::PitPlace::none   ? 0
                               : from.pit == model::PitPlace::lane ? 1
                                                                   : 2;
            record.pitStops = static_cast<uint8_t>(from.pitStops);
            record.sector = static_cast<uint8_t>(from.sector);
            record.lapInvalid = !from.lapValid;
            record.gridPosition = static_cast<uint8_t>(from.gridPosition);
            record.driverStatus = 4;
            record.resultStatus = from.finished ? 3 : 2;
            const size_t at = head_ + slotOf(i) * format_.lapStride;
            if (format_.lapStride == sizeof record) {
                put(at, record);
            } else { // older records: the same beginning
                put(at, record.lastLapMs);
                put(at + 4, record.currentLapMs);
            }
        }
        end();
    }
    static uint32_t milliseconds(double seconds) {
        return static_cast<uint32_t>(std::lround(std::clamp(seconds, 0.0, 86400.0) * 1000));
    }

    void sendParticipants() {
        const size_t stride = format_.participantStride;
        begin(vt::kF1Participants, vt::kF1HeaderBytes + 1 + vt::kF1Cars * stride);
        put(head_, static_cast<uint8_t>(cars_));
        for (int i = 0; i < cars_; ++i) {
            const model::Car& from = car(i);
            vt::F1ParticipantHead record{};
            record.aiControlled = i != 0;
            record.teamId = static_cast<int8_t>(i % 10);
            record.raceNumber = static_cast<uint8_t>(from.number);
            const size_t at = head_ + 1 + slotOf(i) * stride;
            put(at, record);
            const size_t room = stride == 57 ? 32 : 48; // 2025 shortened the names
            const std::string name = from.firstName + " " + from.lastName;
            std::memcpy(packet_.data() + at + sizeof record, name.data(),
                        vt::utf8CutLength(name, room - 1));
            packet_[at + sizeof record + room] = 1; // the telemetry is public
        }
        end();
    }

    void sendTelemetry() {
        begin(vt::kF1CarTelemetry, 1352);
        for (int i = 0; i < cars_; ++i) {
            const model::Car& from = car(i);
            vt::F1TelemetryCar record{};
            record.speed = static_cast<uint16_t>(std::lround(from.speed * 3.6));
            record.throttle = asFloat(from.throttle);
            record.steering = asFloat(from.steer);
            record.brake = asFloat(from.brake);
            record.clutch = static_cast<uint8_t>(std::lround(from.clutch * 100));
            record.gear = static_cast<int8_t>(from.gear);
            record.rpm = static_cast<uint16_t>(from.rpm);
            record.drs = drsWanted(from);
            record.engineTemperature = static_cast<uint16_t>(from.waterTemp);
            put(head_ + slotOf(i) * sizeof record, record);
        }
        end();
    }
    static bool drsWanted(const model::Car& from) {
        return from.speed > 60 && from.throttle > 0.95 && std::abs(from.latAccel) < 3;
    }

    void sendStatus() {
        begin(vt::kF1CarStatus, 1239);
        for (int i = 0; i < cars_; ++i) {
            const model::Car& from = car(i);
            const model::CarClass& type = model::classOf(*race_, from);
            vt::F1StatusCar record{};
            record.pitLimiter = from.limiter;
            record.fuelInTank = asFloat(from.fuel);
            record.fuelCapacity = asFloat(type.fuelCapacity);
            record.maxRpm = static_cast<uint16_t>(type.maxRpm);
            record.idleRpm = static_cast<uint16_t>(type.idleRpm);
            record.maxGears = static_cast<uint8_t>(type.gears);
            record.drsAllowed = from.speed > 60 && std::abs(from.latAccel) < 3;
            // The battery goes down over the lap and is full again at its end.
            const double used = 0.6 * std::clamp(from.pct, 0.0, 1.0);
            record.ersStore = asFloat(kErsFull * (1 - used));
            record.ersDeployed = asFloat(kErsFull * used);
            record.ersMode = from.throttle > 0.95 ? 2 : 1;
            put(head_ + slotOf(i) * sizeof record, record);
        }
        end();
    }

    const Format format_;
    Sender sender_;
    const model::Race* race_ = nullptr;
    int cars_ = 0;
    uint32_t frame_ = 0;
    size_t head_ = vt::kF1HeaderBytes;
    std::vector<uint8_t> packet_;
};

} // namespace

int playF1(const Options& options) {
    const int year = options.extra.empty() ? 2025 : std::atoi(options.extra.c_str());
    for (const Format& format : kFormats) {
        if (format.year != year) continue;
        F1Writer writer(options, format);
        return playModel(options, "F1", [&](const model::Race& race) {
            writer.send(race);
            return true;
        });
    }
    std::fprintf(stderr, "sim_player: the formats of F1 are 2021 and 2023 to 2026\n");
    return 2;
}

} // namespace player
