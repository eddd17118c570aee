// From laps with positions on the globe to a surveyed map.
#include "perf/bin_line.h"
#include "perf/gps_map.h"
#include "perf/map_text.h"
#include "perf/turn_finder.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kGateSquared = 625;      // m² from the running centre
constexpr float kOffsetMax = 15;         // m from the line
constexpr int kPasses = 2;               // over the laps, for the centre
constexpr int kLineReach = 3;            // m to both sides that the line is smoothed over
constexpr int kBandReach = 12;           // the same for the edges
constexpr float kHalfCar = 1;            // m from a car's middle to its side
constexpr double kOriginsApartMax = 5e4; // m
constexpr int kPathPointsMin = 1000, kPathPointsMax = 4000;
constexpr double kSide = 1000, kSpanMin = 1e-3;
constexpr int kEventsMin = 3; // times on the kerb, or off, that make one

struct PlacedLap {
    const LapTrace* lap = nullptr;
    OriginShift shift;

    bool at(size_t bin, PointF& out) const {
        if (!lap->have[bin]) return false;
        out = {static_cast<float>(static_cast<double>(lap->x[bin]) * shift.scale + shift.dx),
               static_cast<float>(static_cast<double>(lap->y[bin]) + shift.dy)};
        return std::isfinite(out.x) && std::isfinite(out.y);
    }
};

bool goodLap(const GpsLap& lap) {
    if (!lap.lap || !usableOrigin(lap.originLat, lap.originLon)) return false;
    const LapTrace& trace = *lap.lap;
    const size_t bins = trace.have.size();
    if (bins < kMapBinsMin || bins > kMapBinsMax || trace.x.size() != bins ||
        trace.y.size() != bins)
        return false;
    const auto filled =
        std::count_if(trace.have.begin(), trace.have.end(), [](uint8_t have) { return have != 0; });
    return static_cast<size_t>(filled) * 10 >= bins * 9;
}

std::vector<PlacedLap> chooseLaps(const std::vector<GpsLap>& laps, GpsMap& map) {
    std::vector<PlacedLap> out;
    size_t bins = 0;
    for (const GpsLap& lap : laps) {
        if (out.size() == kGpsMapLapsMax) break;
        if (!goodLap(lap) || (bins != 0 && lap.lap->have.size() != bins)) continue;
        if (bins == 0) {
            bins = lap.lap->have.size();
            map.originLat = lap.originLat;
            map.originLon = lap.originLon;
        }
        const OriginShift shift =
            originShift(lap.originLat, lap.originLon, map.originLat, map.originLon);
        if (std::hypot(shift.dx, shift.dy) < kOriginsApartMax) out.push_back({lap.lap, shift});
    }
    return out;
}

float distanceSquared(PointF a, PointF b) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

/// The mean of the laps at every bin. In the first pass a sample is held against the mean so far,
/// in the later ones against the mean of the pass before, so that the order of laps counts little.
bool centreOf(const std::vector<PlacedLap>& laps, size_t bins, std::vector<PointF>& centre) {
    centre.assign(bins, {});
    std::vector<bool> filled(bins, false);
    for (int pass = 0; pass < kPasses; ++pass) {
        for (size_t i = 0; i < bins; ++i) {
            PointF mean, p;
            float count = 0;
            for (const PlacedLap& lap : laps) {
                if (!lap.at(i, p)) continue;
                const PointF held = pass == 0 ? mean : centre[i];
                if ((count > 0 || pass > 0) && distanceSquared(p, held) > kGateSquared) continue;
                count += 1;
                mean.x += (p.x - mean.x) / count;
                mean.y += (p.y - mean.y) / count;
            }
            if (count == 0) continue;
            centre[i] = mean;
            filled[i] = true;
        }
        if (!closeGaps(centre, filled)) return false;
    }
    centre = smoothLine(centre, kLineReach);
    return true;
}

void measureSpread(const std::vector<PlacedLap>& laps, const std::vector<PointF>& centre,
                   GpsMap& map) {
    const std::vector<PointF> normals = lineNormals(centre, 2);
    const size_t bins = centre.size();
    for (auto* list : {&map.p05, &map.p50, &map.p95})
        list->assign(bins, 0);
    std::vector<float> offsets;
    for (size_t i = 0; i < bins; ++i) {
        offsets.clear();
        PointF p;
        for (const PlacedLap& lap : laps)
            if (lap.at(i, p) && distanceSquared(p, centre[i]) <= kGateSquared)
                offsets.push_back(std::clamp((p.x - centre[i].x) * normals[i].x +
                                                 (p.y - centre[i].y) * normals[i].y,
                                             -kOffsetMax, kOffsetMax));
        std::sort(offsets.begin(), offsets.end());
        map.p05[i] = percentileOf(offsets, 0.05);
        map.p50[i] = percentileOf(offsets, 0.50);
        map.p95[i] = percentileOf(offsets, 0.95);
    }
}

/// A side's distance where cars were counted on something there: as far out as they drive.
std::vector<float> edgeWhere(const std::vector<uint16_t>* counts, const std::vector<float>& band,
                             float beyond) {
    std::vector<float> out(band.size(), 0);
    if (counts && counts->size() == band.size())
        for (size_t i = 0; i < band.size(); ++i)
            if ((*counts)[i] >= kEventsMin) out[i] = std::max(std::abs(band[i]) + beyond, 0.0f);
    return out;
}

/// The mean place where cars left the road to one side, `side` 1 for the right.
std::vector<float> offWhere(const TrackEventGrid* events, size_t bins, float side) {
    std::vector<float> out(bins, 0);
    if (!events || events->offEnterLatN.size() != bins || events->offEnterLatSum.size() != bins)
        return out;
    for (size_t i = 0; i < bins; ++i) {
        const uint16_t n = events->offEnterLatN[i];
        if (n < kEventsMin) continue;
        const float mean = events->offEnterLatSum[i] / static_cast<float>(n) * side;
        if (mean > 0) out[i] = std::min(mean, kOffsetMax);
    }
    return out;
}

void measureEdges(const TrackEventGrid* events, GpsMap& map) {
    const size_t bins = map.p05.size();
    map.bandLo = smoothValues(map.p05, kBandReach);
    map.bandHi = smoothValues(map.p95, kBandReach);
    for (size_t i = 0; i < bins; ++i) {
        map.bandLo[i] -= kHalfCar;
        map.bandHi[i] += kHalfCar;
    }
    map.kerbL = edgeWhere(events ? &events->kerbL : nullptr, map.bandLo, -kHalfCar);
    map.kerbR = edgeWhere(events ? &events->kerbR : nullptr, map.bandHi, -kHalfCar);
    map.offL = offWhere(events, bins, -1);
    map.offR = offWhere(events, bins, 1);
    map.drOffset.assign(bins, 0);
}

void drawPath(const std::vector<PointF>& line, GpsMap& map) {
    const int count =
        std::clamp(static_cast<int>(map.trackLengthM / 2), kPathPointsMin, kPathPointsMax);
    double left = 1e9, right = -1e9, bottom = 1e9, top = -1e9;
    for (const PointF& p : line) {
        left = std::min(left, static_cast<double>(p.x));
        right = std::max(right, static_cast<double>(p.x));
        bottom = std::min(bottom, static_cast<double>(p.y));
        top = std::max(top, static_cast<double>(p.y));
    }
    const double factor = kSide / std::max({right - left, top - bottom, kSpanMin});
    const double shiftX = (kSide - (right - left) * factor) / 2;
    const double shiftY = (kSide - (top - bottom) * factor) / 2;
    map.path.clear();
    for (int i = 0; i < count; ++i) {
        const PointF p = lineAt(line, static_cast<double>(i) / count);
        map.path.push_back(
            {static_cast<float>((static_cast<double>(p.x) - left) * factor + shiftX),
             static_cast<float>((top - static_cast<double>(p.y)) * factor + shiftY)});
    }
}

} // namespace

bool buildGpsMap(int32_t trackId, float trackLengthM, const std::vector<GpsLap>& laps,
                 const TrackEventGrid* events, GpsMap& out) {
    out = {};
    if (trackId < 1 || !(trackLengthM > 1) || !std::isfinite(trackLengthM)) return false;
    GpsMap map;
    const std::vector<PlacedLap> chosen = chooseLaps(laps, map);
    std::vector<PointF> centre;
    if (chosen.size() < kGpsMapLapsMin ||
        !centreOf(chosen, chosen.front().lap->have.size(), centre))
        return false;
    map.trackId = trackId;
    map.contributors = static_cast<int32_t>(chosen.size());
    map.trackLengthM = trackLengthM;
    for (const PointF& p : centre) {
        map.x.push_back(p.x);
        map.y.push_back(p.y);
    }
    measureSpread(chosen, centre, map);
    measureEdges(events && events->binCount == centre.size() ? events : nullptr, map);
    drawPath(centre, map);
    map.clockwise = drivenClockwise(centre);
    int number = 0;
    for (const FoundTurn& turn : findTurns(centre, trackLengthM))
        map.turns.push_back({++number, {}, turn.apex, turn.radius});
    out = std::move(map);
    return true;
}

} // namespace vt
