// Which cars of a crowded map carry their number, and that the numbers stand still.
#include "overlay/overlays/track_map_plates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

using namespace vt;

namespace {

constexpr RectF kWindow{0, 0, 600, 600};
constexpr PointF kMiddle{300, 300};

/// Cars on a ring that touches the window's edge, the player (key 0) among them.
struct Field {
    explicit Field(int count) : cars(static_cast<size_t>(count)) {
        for (int i = 0; i < count; ++i)
            cars[static_cast<size_t>(i)].key = i;
    }
    void stand(float turn, float jitter) {
        std::normal_distribution<float> noise(0, jitter);
        dots.clear();
        for (size_t i = 0; i < cars.size(); ++i) {
            const float share = static_cast<float>(i) / static_cast<float>(cars.size());
            const float angle = 6.2831853f * (share * 0.8f + turn) + noise(random);
            MapDot& dot = dots.emplace_back();
            dot.at = {300 + 268 * std::cos(angle), 300 + 268 * std::sin(angle)};
            dot.way = {-std::sin(angle), std::cos(angle)};
            dot.car = &cars[i];
            dot.apart = i == 0 ? -1 : std::min(share, 1 - share);
            dot.halfWidth = 17;
            dot.halfHeight = 7;
        }
    }
    void place() {
        placePlates(plates, dots, taken, kWindow, kMiddle, nowMs);
        nowMs += 33;
    }
    std::set<int> shown() const {
        std::set<int> keys;
        for (const MapPlate& plate : plates.shown)
            keys.insert(plate.key);
        return keys;
    }
    std::mt19937 random{3};
    std::vector<MapCar> cars;
    std::vector<MapDot> dots;
    std::vector<RectF> taken{{420, 280, 540, 320}}; // a turn's name
    MapPlates plates;
    uint64_t nowMs = 1000;
};

bool overlap(const RectF& a, const RectF& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

} // namespace

TEST(MapPlates, CoverNoCarNoNameAndNoPlateAndThePlayerHasHis) {
    for (const int count : {2, 20, 60, 120}) {
        Field field(count);
        for (int picture = 0; picture < 200; ++picture) {
            field.stand(static_cast<float>(picture) * 0.005f, 0);
            field.place();
            // At 120 there may be no room that is not a car's.
            EXPECT_TRUE(count > 60 || field.shown().count(0)) << count << " cars, " << picture;
            EXPECT_GE(field.shown().size(), count == 2 ? 2u : 1u);
            for (const MapPlate& plate : field.plates.shown) {
                for (const MapDot& dot : field.dots) {
                    const float dx =
                        std::max({plate.box.left - dot.at.x, dot.at.x - plate.box.right, 0.0f});
                    const float dy =
                        std::max({plate.box.top - dot.at.y, dot.at.y - plate.box.bottom, 0.0f});
                    ASSERT_GE(std::hypot(dx, dy) + 0.01f, dot.radius) << count << " cars";
                }
                ASSERT_FALSE(overlap(plate.box, field.taken[0]));
                for (const MapPlate& other : field.plates.shown)
                    ASSERT_TRUE(&other == &plate || !overlap(plate.box, other.box));
            }
        }
    }
}

TEST(MapPlates, StandStillWhileCarsTrembleAndRestBeforeTheyReturn) {
    Field field(60);
    field.stand(0, 0);
    field.place();
    int changes = 0;
    std::set<int> before = field.shown();
    for (int picture = 0; picture < 600; ++picture) {
        field.stand(0, 0.0005f); // 0.13 px
        field.place();
        const std::set<int> now = field.shown();
        std::vector<int> differ;
        std::set_symmetric_difference(before.begin(), before.end(), now.begin(), now.end(),
                                      std::back_inserter(differ));
        changes += static_cast<int>(differ.size());
        before = now;
    }
    EXPECT_LE(changes, 20) << "in 20 seconds, of 60 cars";

    // A name comes to stand where a plate is, and goes again.
    const MapPlate plate = field.plates.shown.back();
    field.taken = {
        {plate.box.left - 60, plate.box.top - 60, plate.box.right + 60, plate.box.bottom + 60}};
    field.place();
    EXPECT_EQ(field.shown().count(plate.key), 0u);
    field.taken.clear();
    int pictures = 0;
    while (!field.shown().count(plate.key) && pictures < 100) {
        field.place();
        ++pictures;
    }
    EXPECT_GE(pictures, 29) << "a second";
    EXPECT_LE(pictures, 33);
}
