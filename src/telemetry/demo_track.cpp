#include "telemetry/demo_track.h"

#include <cmath>

namespace vt {

namespace {

// The places and widths are those of the demo's corners; the angles are the ones with which four
// such corners to the right close the lap (a quadrilateral of the stretches between them).
struct DemoBend {
    double place, width, angle;
};
constexpr DemoBend kBends[] = {
    {0.14, 0.045 / 1.6, 1.8262582984845326},
    {0.40, 0.055 / 1.6, 1.4324472148781757},
    {0.63, 0.04 / 1.6, 1.5},
    {0.86, 0.05 / 1.6, 1.524479793816878},
};

/// Heading gained per lap fraction, rad.
double bendAt(double p) {
    double sum = 0;
    for (const DemoBend& bend : kBends) {
        const double d = p - bend.place - std::round(p - bend.place);
        sum += bend.angle * std::exp(-d * d / (2 * bend.width * bend.width)) /
               (bend.width * std::sqrt(2 * M_PI));
    }
    return sum;
}

std::vector<DemoTrackPoint> makeTrack() {
    std::vector<DemoTrackPoint> points;
    double x = 0, y = 0, heading = 0;
    for (int i = 0; i < kDemoTrackBins; ++i) {
        points.push_back({static_cast<float>(x), static_cast<float>(y),
                          static_cast<float>(std::cos(heading)),
                          static_cast<float>(std::sin(heading))});
        const double turn = -bendAt((i + 0.5) / kDemoTrackBins) / kDemoTrackBins;
        heading += turn / 2;
        x += std::cos(heading);
        y += std::sin(heading);
        heading += turn / 2;
    }
    return points;
}

} // namespace

const std::vector<DemoTrackPoint>& demoTrack() {
    static const std::vector<DemoTrackPoint> track = makeTrack();
    return track;
}

} // namespace vt
