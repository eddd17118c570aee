#include "overlay/overlays/track_strip_view.h"

#include "base/hash.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace vt {

namespace {

constexpr Color kPlainCar{0.78f, 0.81f, 0.85f, 1};
constexpr Color kPlayerCar{1, 1, 1, 1};

void addToLane(TrackStripView& view, const CarRow& row, Color colour) {
    if (!std::isfinite(row.gapToPlayer)) return;
    if (std::abs(row.gapToPlayer) > kStripWindow) {
        ++(row.gapToPlayer > 0 ? view.moreAhead : view.moreBehind);
        return;
    }
    const int index = static_cast<int>(view.lane.size());
    int& nearest = row.gapToPlayer >= 0 ? view.nearestAhead : view.nearestBehind;
    if (nearest < 0 ||
        std::abs(row.gapToPlayer) < std::abs(view.lane[static_cast<size_t>(nearest)].gap))
        nearest = index;
    view.lane.push_back({row.gapToPlayer / kStripWindow, row.gapToPlayer, colour, false});
}

/// LMU and rFactor 2 number the third sector 0; everybody else counts from 0.
int currentSector(const SimFrame& frame) {
    int sector = -1;
    for (size_t i = 0; i < frame.sectorStarts.size(); ++i)
        if (frame.sectorStarts[i] <= frame.lapDistPct) sector = static_cast<int>(i);
    return sector;
}

void fillHead(TrackStripView& view, const SimFrame& frame, const CarRow& player) {
    if (player.position > 0) std::snprintf(view.place, sizeof view.place, "P%d", player.position);
    if (frame.lap < 0) return;
    if (frame.timedSession == 0 && frame.lapsRemain >= 0)
        std::snprintf(view.laps, sizeof view.laps, "LAP %d / %d", frame.lap,
                      frame.lap + frame.lapsRemain);
    else
        std::snprintf(view.laps, sizeof view.laps, "LAP %d", frame.lap);
}

} // namespace

void buildTrackStrip(TrackStripView& view, const TrackStripConfig& config, const SimFrame* frame) {
    view.cars.clear();
    view.pits.clear();
    view.lane.clear();
    view.sectorStarts.clear();
    view.live = view.positions = false;
    view.sector = view.nearestAhead = view.nearestBehind = -1;
    view.moreAhead = view.moreBehind = 0;
    view.stall = -1;
    view.place[0] = view.laps[0] = '\0';
    if (!frame || !frame->connected) return;
    view.live = true;
    const CarRow* player = playerRow(*frame);
    const ClassPalette palette = buildClassPalette(*frame, player);
    for (const CarRow& row : frame->cars) {
        if (&row == player || !(row.lapDistPct >= 0) || !(row.lapDistPct <= 1)) continue;
        view.positions = view.positions || row.lapDistPct > 0;
        if (config.tsMyClassOnly && player && std::strcmp(row.carClass, player->carClass) != 0)
            continue;
        const Color colour = config.tsClassColours ? classColour(palette, row.carClass) : kPlainCar;
        (row.onPitRoad ? view.pits : view.cars).push_back({row.lapDistPct, 0, colour, false});
        if (config.tsShowGaps && player && !row.onPitRoad) addToLane(view, row, colour);
    }
    if (player && player->lapDistPct >= 0 && player->lapDistPct <= 1) {
        view.positions = view.positions || player->lapDistPct > 0;
        (player->onPitRoad ? view.pits : view.cars)
            .push_back({player->lapDistPct, 0, kPlayerCar, true});
        fillHead(view, *frame, *player);
    }
    if (config.tsShowSectors && frame->sectorStarts.size() > 1) {
        view.sectorStarts = frame->sectorStarts;
        view.sector = currentSector(*frame);
    }
    if (config.tsShowPit && frame->pitStallPct >= 0 && frame->pitStallPct <= 1)
        view.stall = frame->pitStallPct;
}

uint64_t hashTrackStrip(const TrackStripView& view, float pixels) {
    Fnv64 hash;
    hash.flag(view.live);
    hash.flag(view.positions);
    const auto cars = [&](const std::vector<StripCar>& list, float length) {
        hash.word(list.size());
        for (const StripCar& car : list) {
            hash.scaled(static_cast<double>(car.at), static_cast<double>(length));
            hash.word(static_cast<uint64_t>(car.colour.r * 255) << 16 |
                      static_cast<uint64_t>(car.colour.g * 255) << 8 |
                      static_cast<uint64_t>(car.colour.b * 255));
        }
    };
    cars(view.cars, pixels);
    cars(view.pits, pixels);
    cars(view.lane, pixels / 2);
    for (const int nearest : {view.nearestAhead, view.nearestBehind}) {
        hash.flag(nearest >= 0); // "+0.0" and "-0.0" stand on different sides
        hash.scaled(
            nearest < 0 ? 0 : static_cast<double>(view.lane[static_cast<size_t>(nearest)].gap), 10);
    }
    hash.number(view.moreAhead);
    hash.number(view.moreBehind);
    hash.number(view.sector);
    for (const float start : view.sectorStarts)
        hash.scaled(static_cast<double>(start), static_cast<double>(pixels));
    hash.scaled(static_cast<double>(view.stall), static_cast<double>(pixels));
    hash.text(view.place);
    hash.text(view.laps);
    return hash.value ? hash.value : 1;
}

} // namespace vt
