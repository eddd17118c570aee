// A car drives real circuits; what is learned of them is measured in metres against the source.
#include "driver_model/driver_model.h"
#include "perf/bin_line.h"
#include "perf/gps_map.h"
#include "perf/road_offset.h"
#include "perf/track_bin_map.h"
#include "perf/turn_finder.h"
#include "platform/file.h"
#include "spread.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace vt {
namespace {

constexpr double kLat = 45.62, kLon = 9.281, kEarth = 6378137, kRad = M_PI / 180;
constexpr int kTrack = 239;

/// A lap as the recorder keeps it, with the model's truth beside it.
struct DrivenLap {
    LapTrace trace;
    std::vector<float> lateral; // m from the source's centre line, per bin
};

struct Drive {
    model::Circuit circuit;
    std::vector<DrivenLap> laps;
    uint32_t bins = 0;
};

bool loadSource(const std::string& name, model::Circuit& circuit) {
    std::string error;
    return model::loadCircuit(VT_SOURCE_DIR "/../shared/realdata/circuits/" + name + ".csv",
                              circuit, error);
}

model::Race alone(const model::Circuit& circuit) {
    model::Settings settings;
    settings.session = model::SessionKind::practice;
    settings.startFuel = 100;
    return model::startRace(settings, circuit);
}

/// Position by way of degrees, as the sim tells it, in metres from an origin of its own.
PointF fromGlobe(double x, double y, double originLat, double originLon) {
    const double lat = kLat + y / kEarth / kRad;
    const double lon = kLon + x / (kEarth * std::cos(kLat * kRad)) / kRad;
    return {static_cast<float>(std::cos(originLat * kRad) * (lon - originLon) * kRad * kEarth),
            static_cast<float>((lat - originLat) * kRad * kEarth)};
}

/// Whole laps at 60 ticks a second; bins that a tick jumps over lie between their neighbours.
Drive drive(const model::Circuit& circuit, size_t laps, double originLat, double originLon) {
    Drive out;
    out.circuit = circuit;
    out.bins = static_cast<uint32_t>(circuit.length);
    model::Race race = alone(circuit);
    std::unique_ptr<DrivenLap> lap;
    double before = 0; // the lap on which the car joins does not count
    size_t last = SIZE_MAX;
    for (int tick = 0; tick < 60 * 60 * 60 && out.laps.size() < laps; ++tick) {
        model::stepRace(race, 1.0 / 60);
        const model::Car& car = model::player(race);
        if (before > 0.9 && car.pct < 0.1) {
            if (lap && lap->trace.valid) out.laps.push_back(std::move(*lap));
            lap = std::make_unique<DrivenLap>();
            sizeLapTrace(lap->trace, out.bins);
            lap->lateral.resize(out.bins);
            lap->trace.valid = true;
            last = SIZE_MAX;
        }
        before = car.pct;
        if (!lap) continue;
        if (car.pit != model::PitPlace::none) lap->trace.valid = false;
        const auto bin = std::min<size_t>(static_cast<size_t>(car.pct * out.bins), out.bins - 1);
        const PointF place = fromGlobe(car.x, car.y, originLat, originLon);
        const auto lateral = static_cast<float>(car.lateral);
        const bool first = last == SIZE_MAX;
        const PointF from = first ? place : PointF{lap->trace.x[last], lap->trace.y[last]};
        for (size_t i = first ? 0 : last + 1; i <= bin; ++i) {
            const float part =
                first ? 1 : static_cast<float>(i - last) / static_cast<float>(bin - last);
            lap->trace.x[i] = from.x + (place.x - from.x) * part;
            lap->trace.y[i] = from.y + (place.y - from.y) * part;
            lap->lateral[i] = lateral;
            lap->trace.have[i] = 1;
        }
        last = bin;
    }
    return out;
}

/// A bin's place in the source's frame, and how far it is from the source's centre, right positive.
float offCentre(const model::CircuitPoint& centre, double x, double y) {
    return static_cast<float>((x - centre.x) * std::sin(centre.heading) -
                              (y - centre.y) * std::cos(centre.heading));
}

/// The source's point nearest to a place, looked for around a lap position.
model::CircuitPoint nearest(const model::Circuit& circuit, double s, PointF p) {
    model::CircuitPoint best;
    double shortest = 1e9;
    for (double at = s - 6; at <= s + 6; at += 0.25) {
        const model::CircuitPoint point = model::circuitAt(circuit, at);
        const double way =
            std::hypot(point.x - static_cast<double>(p.x), point.y - static_cast<double>(p.y));
        if (way < shortest) {
            shortest = way;
            best = point;
        }
    }
    return best;
}

struct Learned {
    int joined = 0;
    TrackBinMap bins;
    GpsMap survey; // from 3 laps
    Spread driven, centre, normalDegrees, edges;
    size_t turns = 0;
    float marks = 0; // m along the road: the worst of the line and both sector ends
};

/// How far along the road a place lies behind the source's at a lap fraction.
float alongFrom(const model::Circuit& circuit, double fraction, PointF here) {
    const model::CircuitPoint at = model::circuitAt(circuit, fraction * circuit.length);
    return static_cast<float>((static_cast<double>(here.x) - at.x) * std::cos(at.heading) +
                              (static_cast<double>(here.y) - at.y) * std::sin(at.heading));
}

/// `laps` of the drive, told from an origin of their own, against all laps and the source. The
/// map's frame is that of `originLat`, `originLon`.
Learned learn(const Drive& driven, size_t laps, double originLat, double originLon) {
    Learned out;
    TraceFile trace;
    trace.binCount = driven.bins;
    trace.originLat = originLat;
    trace.originLon = originLon;
    std::vector<GpsLap> forSurvey;
    for (size_t i = 0; i < laps; ++i)
        trace.laps.push_back(driven.laps[i].trace);
    const std::vector<std::vector<uint8_t>> onTrack(laps, std::vector<uint8_t>(driven.bins, 1));
    out.bins.trackId = kTrack;
    out.joined = learnGpsSession(out.bins, trace, onTrack, std::vector<uint8_t>(laps, 1));
    for (const LapTrace& lap : trace.laps)
        forSurvey.push_back({&lap, originLat, originLon});
    const auto length = static_cast<float>(driven.circuit.length);
    buildGpsMap(kTrack, length, forSurvey, nullptr, out.survey);

    const PointF zero = fromGlobe(0, 0, originLat, originLon);
    std::vector<float> fromDriven, fromCentre, normals, edges;
    std::vector<PointF> line, meanLine;
    std::vector<float> lateral;
    for (uint32_t i = 0; i < driven.bins; ++i) {
        const TrackBin& bin = out.bins.bins[i];
        const PointF here{bin.x - zero.x, bin.y - zero.y};
        line.push_back(here);
        const double s = (i + 0.5) / driven.bins * driven.circuit.length;
        const model::CircuitPoint centre = nearest(driven.circuit, s, here);
        lateral.push_back(
            offCentre(centre, static_cast<double>(here.x), static_cast<double>(here.y)));
        float mean = 0;
        for (const DrivenLap& lap : driven.laps)
            mean += lap.lateral[i] / static_cast<float>(driven.laps.size());
        fromDriven.push_back(lateral.back() - mean);
        fromCentre.push_back(lateral.back());
        const model::CircuitPoint at = model::circuitAt(driven.circuit, s);
        meanLine.push_back(
            {static_cast<float>(at.x + std::sin(at.heading) * static_cast<double>(mean)),
             static_cast<float>(at.y - std::cos(at.heading) * static_cast<double>(mean))});
    }
    const std::vector<PointF> wanted = lineNormals(meanLine, 3);
    for (uint32_t i = 0; i < driven.bins; ++i) {
        const TrackBin& bin = out.bins.bins[i];
        const float cross = bin.normalX * wanted[i].y - bin.normalY * wanted[i].x;
        const float dot = bin.normalX * wanted[i].x + bin.normalY * wanted[i].y;
        normals.push_back(std::atan2(cross, dot) * 57.29578f);
        if (!out.survey.usable()) continue;
        const model::CircuitPoint at =
            model::circuitAt(driven.circuit, (i + 0.5) / driven.bins * driven.circuit.length);
        edges.push_back(lateral[i] + out.survey.bandHi[i] - static_cast<float>(at.widthRight));
        edges.push_back(lateral[i] + out.survey.bandLo[i] + static_cast<float>(at.widthLeft));
    }
    for (const double mark : driven.circuit.sectorStarts) { // where bins begin
        const auto bin = static_cast<size_t>(mark * driven.bins);
        const PointF before = line[(bin + driven.bins - 1) % driven.bins], after = line[bin];
        const PointF here{(before.x + after.x) / 2, (before.y + after.y) / 2};
        const double fraction = static_cast<double>(bin) / driven.bins;
        out.marks = std::max(out.marks, std::abs(alongFrom(driven.circuit, fraction, here)));
    }
    out.driven = spreadOf(fromDriven);
    out.centre = spreadOf(fromCentre);
    out.normalDegrees = spreadOf(normals);
    if (!edges.empty()) out.edges = spreadOf(edges);
    out.turns = out.survey.usable() ? out.survey.turns.size() : findTurns(line, length).size();
    return out;
}

class TrackLearning : public testing::Test {
protected:
    std::string folder =
        std::filesystem::temp_directory_path() / ("vt_learn_" + std::to_string(getpid()));
    void SetUp() override { std::filesystem::create_directories(folder); }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string file(const std::string& kind, const std::string& suffix = ".json") const {
        return folder + "/" + kind + "/iracing/" + std::to_string(kTrack) + suffix;
    }
};

TEST_F(TrackLearning, LapsBecomeTheLineThatWasDriven) {
    model::Circuit circuit;
    if (!loadSource("BrandsHatch", circuit)) GTEST_SKIP() << "no recorded circuits";
    const Drive driven = drive(circuit, 10, kLat, kLon);
    ASSERT_EQ(driven.laps.size(), 10u);
    Learned learned;
    for (const size_t laps : {1u, 3u, 10u}) {
        learned = learn(driven, laps, kLat, kLon);
        EXPECT_EQ(learned.joined, static_cast<int>(laps));
        EXPECT_LT(learned.driven.median, laps == 1 ? 0.4f : 0.15f) << laps << " laps";
        EXPECT_LT(learned.normalDegrees.p95, 1.5f) << laps << " laps";
        EXPECT_LT(learned.marks, 1.0f) << laps << " laps";
        EXPECT_EQ(learned.survey.usable(), laps >= 3);
        EXPECT_NEAR(static_cast<double>(learned.turns), 9, 1);
    }
    EXPECT_LT(learned.driven.p95, 0.3f);
    EXPECT_TRUE(learned.survey.clockwise);

    // Another day's origin, a kilometre away, in a map that stands.
    const Drive other = drive(circuit, 1, kLat + 0.01, kLon - 0.01);
    TrackBinMap map = learned.bins;
    TraceFile trace;
    trace.binCount = other.bins;
    trace.originLat = kLat + 0.01;
    trace.originLon = kLon - 0.01;
    trace.laps.push_back(other.laps[0].trace);
    std::vector<std::vector<uint8_t>> onTrack(1, std::vector<uint8_t>(other.bins, 1));
    ASSERT_EQ(learnGpsSession(map, trace, onTrack, {1}), 1);
    std::vector<float> moved;
    for (size_t i = 0; i < map.bins.size(); ++i)
        moved.push_back(std::hypot(map.bins[i].x - learned.bins.bins[i].x,
                                   map.bins[i].y - learned.bins.bins[i].y));
    EXPECT_LT(spreadOf(moved).p95, 0.4f);
    EXPECT_EQ(map.bins[100].count, 11);

    // Two per cent off the road may join, more may not; an unclean lap never.
    const uint32_t two = other.bins / 50;
    std::fill_n(onTrack[0].begin(), two, uint8_t{0});
    EXPECT_EQ(learnGpsSession(map, trace, onTrack, {0}), 0);
    EXPECT_EQ(learnGpsSession(map, trace, onTrack, {1}), 1);
    EXPECT_EQ(map.bins[5].count, 11) << "a bin off the road teaches nothing";
    onTrack[0][two + 5] = 0;
    EXPECT_EQ(learnGpsSession(map, trace, onTrack, {1}), 0);
    onTrack[0].assign(other.bins, 1);
    // 16 m away from a bin with samples, and the first sample of an empty one.
    TrackBin& far = map.bins[300];
    const TrackBin kept = far;
    trace.laps[0].y[300] += 16;
    map.bins[301] = {};
    EXPECT_EQ(learnGpsSession(map, trace, onTrack, {1}), 1);
    EXPECT_FLOAT_EQ(far.x, kept.x);
    EXPECT_EQ(far.count, kept.count);
    EXPECT_EQ(map.bins[301].count, 1);
    trace.originLat = trace.originLon = kDeadReckonedOrigin;
    EXPECT_EQ(learnGpsSession(map, trace, onTrack, {1}), 0) << "reckoned, not a place";
}

TEST_F(TrackLearning, FilesComeBackWholeOrCountAsAbsent) {
    model::Circuit circuit = model::builtInCircuit("club");
    const Drive driven = drive(circuit, 3, kLat, kLon);
    Learned learned = learn(driven, 3, kLat, kLon);
    ASSERT_TRUE(saveTrackBinMap(folder, learned.bins));
    MetreLine line;
    const auto length = static_cast<float>(circuit.length);
    ASSERT_TRUE(loadBestShape("", folder, kTrack, length, line));
    EXPECT_EQ(line.points.size(), driven.bins);
    TrackBinMap bins;
    ASSERT_TRUE(loadTrackBinMap(folder, kTrack, bins));
    EXPECT_EQ(bins.bins[77].x, learned.bins.bins[77].x);
    EXPECT_EQ(bins.bins[77].l95, learned.bins.bins[77].l95);
    EXPECT_EQ(bins.originLat, kLat);
    ASSERT_TRUE(saveGpsMap(folder, learned.survey));
    GpsMap survey;
    ASSERT_TRUE(loadGpsMapForTrack("", folder, kTrack, survey));
    EXPECT_EQ(survey.bandLo, learned.survey.bandLo);
    EXPECT_EQ(survey.turns.size(), learned.survey.turns.size());
    TrackShape shape;
    ASSERT_TRUE(loadTrackShape(shape, "", folder, kSimIRacing, kTrack, length));
    EXPECT_FALSE(shape.edgeLeft.empty()) << "the survey is asked first";

    TrackEventTotals totals;
    TrackEventGrid grid;
    sizeEventGrid(grid, driven.bins);
    grid.kerbL[10] = 40000;
    grid.offEnter[20] = grid.offEnterLatN[20] = 2;
    grid.offEnterLatSum[20] = -13;
    grid.conesExit = 99;
    ASSERT_TRUE(learnTrackEvents(totals, kTrack, grid, 5));
    grid.conesExit = 7;
    ASSERT_TRUE(learnTrackEvents(totals, kTrack, grid, 6));
    ASSERT_TRUE(saveTrackEvents(folder, totals));
    TrackEventTotals events;
    ASSERT_TRUE(loadTrackEvents(folder, kTrack, events));
    EXPECT_EQ(events.laps, 11);
    EXPECT_EQ(events.grid.kerbL[10], 65535) << "counts stop, they do not begin anew";
    EXPECT_EQ(events.grid.offEnterLatSum[20], -26);
    EXPECT_EQ(events.grid.conesExit, 99) << "a mark that is set stays";
    sizeEventGrid(grid, driven.bins + 1);
    EXPECT_FALSE(learnTrackEvents(events, kTrack, grid, 1));

    PitPath pit;
    pit.passes = 1;
    pit.bins[3] = {90, 18, 2};
    ASSERT_TRUE(storePitPath(folder, kTrack, pit));
    ASSERT_TRUE(storePitPath(folder, kTrack, pit));
    std::string text;
    ASSERT_TRUE(readFile(file("gpsmaps", "_pit.json"), text));
    EXPECT_NE(text.find("[3,180,36,4]"), std::string::npos) << text;

    // One list a value short, a bin without a number, half a file, another track's.
    const auto damage = [&](const std::string& path, const std::string& from,
                            const std::string& to) {
        std::string whole;
        ASSERT_TRUE(readFile(path, whole));
        const size_t at = whole.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        ASSERT_TRUE(writeFileAtomic(path, whole.replace(at, from.size(), to)));
    };
    damage(file("gpsmaps"), "\"kerbR\":[0,", "\"kerbR\":[");
    EXPECT_FALSE(loadGpsMapForTrack("", folder, kTrack, survey));
    ASSERT_TRUE(loadTrackShape(shape, "", folder, kSimIRacing, kTrack, length));
    EXPECT_TRUE(shape.edgeLeft.empty()) << "the next source stands in";
    damage(file("trackmaps"), "\"count\":3", "\"count\":\"3\"");
    EXPECT_FALSE(loadTrackBinMap(folder, kTrack, bins));
    EXPECT_FALSE(loadBestShape("", folder, kTrack, length, line));
    damage(file("trackevents"), "\"trackId\":239", "\"trackId\":240");
    EXPECT_FALSE(loadTrackEvents(folder, kTrack, events));
    ASSERT_TRUE(saveTrackBinMap(folder, learned.bins));
    EXPECT_TRUE(fileExists(file("trackmaps", ".json.corrupt")));
    EXPECT_TRUE(loadTrackBinMap(folder, kTrack, bins));
}

std::string documentRow(const std::string& name, size_t laps, const Learned& learned) {
    const auto metres = [](Spread spread) {
        char text[48];
        std::snprintf(text, sizeof text, "%.2f / %.2f", static_cast<double>(spread.median),
                      static_cast<double>(spread.p95));
        return std::string(text);
    };
    char marks[16];
    std::snprintf(marks, sizeof marks, "%.2f", static_cast<double>(learned.marks));
    return "| " + name + " | " + std::to_string(laps) + " | " + metres(learned.driven) + " | " +
           metres(learned.centre) + " | " + metres(learned.normalDegrees) + " | " +
           (learned.survey.usable() ? metres(learned.edges) : "–") + " | " +
           std::to_string(learned.turns) + " | " + marks + " |\n";
}

/// Writes its table into the documentation when asked: VT_WRITE_DOCS=1.
TEST_F(TrackLearning, FiveCircuitsInMetres) {
    if (!std::getenv("VT_WRITE_DOCS")) GTEST_SKIP() << "writes docs/tracks.md when VT_WRITE_DOCS=1";
    const std::string path = VT_SOURCE_DIR "/docs/tracks.md";
    const std::string begin = "<!-- learned laps: begin -->\n",
                      end = "<!-- learned laps: end -->\n";
    std::string rows;
    for (const char* name : {"BrandsHatch", "Monza", "Silverstone", "Spa", "Zandvoort"}) {
        model::Circuit circuit;
        ASSERT_TRUE(loadSource(name, circuit));
        const Drive driven = drive(circuit, 10, kLat, kLon);
        ASSERT_EQ(driven.laps.size(), 10u);
        for (const size_t laps : {1u, 3u, 10u})
            rows += documentRow(name, laps, learn(driven, laps, kLat, kLon));
    }
    std::string text;
    ASSERT_TRUE(readFile(path, text));
    const size_t from = text.find(begin), to = text.find(end);
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos);
    const size_t table = text.find("|---", from);
    ASSERT_LT(table, to);
    const size_t first = text.find('\n', table) + 1;
    ASSERT_TRUE(writeFileAtomic(path, text.replace(first, to - first, rows)));
}

TEST_F(TrackLearning, TheStoreIsSurveyed) {
    const model::Circuit circuit = model::builtInCircuit("club");
    const Drive driven = drive(circuit, 4, kLat, kLon);
    PerfStore store(folder);
    SessionRecord record;
    std::snprintf(record.carName, sizeof record.carName, "Falcon GT3");
    std::snprintf(record.trackName, sizeof record.trackName, "Club");
    std::snprintf(record.date, sizeof record.date, "2026-01-02T03:04:05Z");
    record.trackId = kTrack;
    record.simId = kSimIRacing;
    record.gps = 1;
    record.trackLengthM = static_cast<float>(circuit.length);
    record.laps.resize(4);
    record.totalLaps = 4;
    TraceFile trace;
    trace.binCount = driven.bins;
    trace.originLat = kLat;
    trace.originLon = kLon;
    for (size_t i = 0; i < 4; ++i) {
        record.laps[i].lapTime = 80;
        trace.laps.push_back(driven.laps[i].trace);
    }
    record.laps[0].invalid = kLapInvalidSim;
    ASSERT_TRUE(store.commit(record, &trace, 0).stored);
    std::atomic<uint32_t> stop{1};
    EXPECT_FALSE(rebuildGpsMap(store, kTrack, &stop).built);
    const GpsMapBuild build = rebuildGpsMap(store, kTrack, nullptr);
    EXPECT_EQ(build.cleanLaps, 3);
    EXPECT_TRUE(build.built);
    GpsMap map;
    ASSERT_TRUE(loadGpsMapForTrack("", folder, kTrack, map));
    EXPECT_EQ(map.contributors, 3);
    EXPECT_FALSE(rebuildGpsMap(store, kTrack + 1, nullptr).built);
}

/// What the solver is told of the model's car; its compass is `bias` off.
RoadOffsetSample sampleOf(const model::Race& race, double bias) {
    const model::Car& car = model::player(race);
    RoadOffsetSample s;
    s.trackId = kTrack;
    s.trackLength = static_cast<float>(race.circuit.length);
    s.sessionTime = race.time;
    s.lapDistPct = static_cast<float>(car.pct);
    s.speed = static_cast<float>(car.speed);
    s.velX = static_cast<float>(car.speed * std::cos(car.slip));
    s.velY = static_cast<float>(-car.speed * std::sin(car.slip));
    s.yawNorth = static_cast<float>(M_PI / 2 - car.heading + bias);
    s.trackSurface = 3;
    s.incidents = 0;
    return s;
}

/// The centre line of the source as a survey that is known.
GpsMap centreMap(const model::Circuit& circuit) {
    GpsMap map;
    map.trackId = kTrack;
    map.originLat = kLat;
    map.originLon = kLon;
    map.trackLengthM = static_cast<float>(circuit.length);
    const auto bins = static_cast<size_t>(circuit.length);
    for (size_t i = 0; i < bins; ++i) {
        const model::CircuitPoint p = model::circuitAt(
            circuit, (static_cast<double>(i) + 0.5) / static_cast<double>(bins) * circuit.length);
        map.x.push_back(static_cast<float>(p.x));
        map.y.push_back(static_cast<float>(p.y));
    }
    for (auto* list : {&map.p05, &map.p50, &map.p95, &map.drOffset, &map.bandLo, &map.bandHi,
                       &map.kerbL, &map.kerbR, &map.offL, &map.offR})
        list->assign(bins, 0);
    return map;
}

float meanOf(const std::vector<float>& values) {
    double sum = 0;
    for (const float value : values)
        sum += static_cast<double>(value);
    return values.empty() ? 0 : static_cast<float>(sum / static_cast<double>(values.size()));
}

/// The worst lap of those that follow the first fold, and what the state of the solver is then.
struct OffsetRun {
    std::vector<Spread> laps; // all whole ones in order, each less its mean
    TrackCal cal;
    bool okWhereExpected = true;
    double meanTick = 0, slowestTick = 0; // µs
};

/// Four laps, the last with an incident at 30 %, and what the solver makes of them. `line` is where
/// the map's line lies, m from the source's centre, per bin; empty = on it.
OffsetRun runSolver(const model::Circuit& circuit, const std::string& folder, double bias,
                    const std::vector<float>& line) {
    OffsetRun run;
    RoadOffsetSolver solver("", folder, true);
    model::Race race = alone(circuit);
    double before = 0, total = 0;
    int lap = 0, ticks = 0;
    std::vector<float> errors;
    while (lap < 5 && ticks < 60 * 60 * 30) {
        model::stepRace(race, 1.0 / 60);
        const model::Car& car = model::player(race);
        const bool crossed = before > 0.9 && car.pct < 0.1;
        before = car.pct;
        RoadOffsetSample sample = sampleOf(race, bias);
        if (lap == 4 && car.pct > 0.3) sample.incidents = 1;
        const auto start = std::chrono::steady_clock::now();
        const RoadOffset offset = solveRoadOffset(solver, sample);
        const double took =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() * 1e6;
        if (ticks++ > 0 && !crossed) {
            total += took;
            run.slowestTick = std::max(run.slowestTick, took);
        }
        if (ticks == 1) solver.settle(); // a race here takes less time than reading a map
        if (crossed) {
            const float mean = meanOf(errors);
            for (float& error : errors)
                error -= mean;
            if (lap++ > 0) run.laps.push_back(spreadOf(errors));
            errors.clear();
        }
        const bool wanted = lap > 0 && (lap < 4 || (car.pct <= 0.3 && lap == 4));
        if (lap < 5 && offset.lateralOk != wanted) run.okWhereExpected = false;
        if (!offset.lateralOk) continue;
        const auto bin = static_cast<size_t>(car.pct * static_cast<double>(line.size()));
        errors.push_back(offset.lateralM - static_cast<float>(car.lateral) +
                         (line.empty() ? 0 : line[std::min(bin, line.size() - 1)]));
    }
    run.meanTick = total / ticks;
    run.cal = solver.cal();
    return run;
}

void report(const char* what, const OffsetRun& run) {
    std::printf("%s: ", what);
    for (const Spread& lap : run.laps)
        std::printf("%.3f/%.3f ", static_cast<double>(lap.median), static_cast<double>(lap.p95));
    std::printf("m; tick mean %.2f, slowest %.0f us\n", run.meanTick, run.slowestTick);
}

TEST_F(TrackLearning, TheOffsetFollowsTheCarAcrossTheRoad) {
    model::Circuit circuit;
    if (!loadSource("Monza", circuit)) GTEST_SKIP() << "no recorded circuits";
    const Drive driven = drive(circuit, 3, kLat, kLon);
    const OffsetRun blind = runSolver(circuit, folder, 0, {});
    EXPECT_TRUE(blind.laps.empty() || !blind.okWhereExpected) << "no map, no offset";

    // On the line that laps have taught, with a compass that is 23 degrees off.
    ASSERT_TRUE(saveTrackBinMap(folder, learn(driven, 3, kLat, kLon).bins));
    std::vector<float> line(driven.bins, 0);
    for (const DrivenLap& lap : driven.laps)
        for (size_t i = 0; i < line.size(); ++i)
            line[i] += lap.lateral[i] / static_cast<float>(driven.laps.size());
    const OffsetRun own = runSolver(circuit, folder, 0.4, line);
    report("own line", own);
    ASSERT_EQ(own.laps.size(), 4u);
    EXPECT_TRUE(own.okWhereExpected);
    for (const size_t lap : {1u, 2u, 3u})
        EXPECT_LT(own.laps[lap].p95, 0.6f) << lap;
    EXPECT_NEAR(own.cal.rotationRad, 0.4, 0.003);
    EXPECT_EQ(own.cal.laps, 3) << "the lap with an incident teaches nothing";
    TrackCal cal;
    ASSERT_TRUE(loadTrackCal("", folder, kTrack, cal)) << "written when the solver ends";
    EXPECT_EQ(cal.laps, 3);
    EXPECT_EQ(cal.rotationRad, own.cal.rotationRad);

    // A survey of the true centre is trusted more; what was learned of the compass still holds.
    ASSERT_TRUE(saveGpsMap(folder, centreMap(circuit)));
    const OffsetRun centre = runSolver(circuit, folder, 0.4, {});
    report("centre line", centre);
    ASSERT_EQ(centre.laps.size(), 4u);
    for (const size_t lap : {1u, 2u, 3u})
        EXPECT_LT(centre.laps[lap].p95, 0.6f) << lap;
    EXPECT_EQ(centre.cal.laps, 6);

    // The same calibration under a map from another source: its line lies elsewhere.
    const auto versionFor = [&](int32_t source) {
        TrackCal changed = centre.cal;
        changed.mapSource = source;
        EXPECT_TRUE(saveTrackCal(folder, changed));
        RoadOffsetSolver solver("", folder, true);
        model::Race race = alone(circuit);
        model::stepRace(race, 1.0 / 60);
        solveRoadOffset(solver, sampleOf(race, 0.4));
        solver.settle();
        model::stepRace(race, 1.0 / 60);
        return solveRoadOffset(solver, sampleOf(race, 0.4)).lateralCalVersion;
    };
    EXPECT_EQ(centre.cal.mapSource, static_cast<int32_t>(LineSource::survey));
    EXPECT_EQ(versionFor(static_cast<int32_t>(LineSource::ownBins)), centre.cal.calVersion + 1);
    EXPECT_EQ(versionFor(0), centre.cal.calVersion) << "a file of before knows no source";
    EXPECT_EQ(versionFor(centre.cal.mapSource), centre.cal.calVersion);

    // A true compass on a true line, before anything is learned: a few centimetres.
    ASSERT_TRUE(saveGpsMap(folder + "/fresh", centreMap(circuit)));
    const OffsetRun fresh = runSolver(circuit, folder + "/fresh", 0, {});
    report("true line, true compass", fresh);
    EXPECT_LT(fresh.laps.at(0).p95, 0.1f);

    // The compass turns round: what was learned of the frame before is worth nothing.
    const OffsetRun turned = runSolver(circuit, folder, 0.4 - M_PI, {});
    EXPECT_NEAR(std::remainder(turned.cal.rotationRad - (0.4 - M_PI), 2 * M_PI), 0, 0.003);
    EXPECT_EQ(turned.cal.laps, 3);
    EXPECT_GT(turned.cal.calVersion, centre.cal.calVersion);
}

} // namespace
} // namespace vt
