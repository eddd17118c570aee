#include "app/demo_layout.h"

#include "platform/desktop.h"
#include "telemetry/demo_feed.h"

#include <algorithm>

namespace vt {

namespace {

// In the order of importance: the first ones get the corners.
constexpr int kDemoSet[] = {kSlotRelative, kSlotStandings};
constexpr int kDemoGap = 24;

bool overlapsAny(RectI r, const std::vector<RectI>& taken, int gap) {
    return std::any_of(taken.begin(), taken.end(), [&](RectI t) {
        return !t.empty() &&
               !intersect({t.left - gap, t.top - gap, t.right + gap, t.bottom + gap}, r).empty();
    });
}

// Where a rectangle could stand: in the corners, and beside or below what stands already.
std::vector<PointI> candidates(PointI size, RectI area, const std::vector<RectI>& taken, int gap) {
    const int right = area.right - size.x, bottom = area.bottom - size.y;
    std::vector<PointI> all = {
        {right, bottom}, {area.left, area.top}, {right, area.top}, {area.left, bottom}};
    for (const RectI& t : taken) {
        if (t.empty()) continue;
        all.push_back({t.right + gap, t.top});
        all.push_back({t.left - gap - size.x, t.top});
        all.push_back({t.left, t.bottom + gap});
        all.push_back({t.left, t.top - gap - size.y});
    }
    return all;
}

} // namespace

RectI freePlace(PointI size, RectI area, const std::vector<RectI>& taken, int gap) {
    for (const PointI at : candidates(size, area, taken, gap)) {
        const RectI r{at.x, at.y, at.x + size.x, at.y + size.y};
        if (intersect(r, area) == r && !overlapsAny(r, taken, gap)) return r;
    }
    return {};
}

std::vector<RectI> packRectangles(const std::vector<PointI>& sizes, RectI area, int gap) {
    std::vector<RectI> placed;
    for (const PointI size : sizes)
        placed.push_back(freePlace(size, area, placed, gap));
    return placed;
}

DemoLayout applyDemoLayout(OverlayHost& host) {
    DemoLayout layout;
    std::vector<OverlayWindow*> set;
    for (const int slot : kDemoSet)
        if (static_cast<size_t>(slot) < host.overlays.size() && host.overlays[slot])
            set.push_back(host.overlays[slot]);
    RectI area = listMonitors().front().work;
    area = {area.left + kDemoGap, area.top + kDemoGap, area.right - kDemoGap,
            area.bottom - kDemoGap};

    // Lists are as long as the race has cars.
    SimFrame race;
    demoFrameAt(race, 0);

    // Everything on: smaller and smaller until all of it fits.
    std::vector<RectI> rects;
    for (float shrink = 1; shrink > 0.4f; shrink *= 0.9f) {
        std::vector<PointI> sizes;
        for (OverlayWindow* overlay : set) {
            OverlayConfig& common = *overlay->configBase();
            common.widthMul = std::max(0.25f, shrink);
            common.textScale = std::max(0.5f, shrink);
            overlay->frame = &race;
            overlay->layoutForStyle();
            overlay->frame = nullptr;
            applyScale(*overlay);
            sizes.push_back(overlayPixelSize(*overlay));
        }
        rects = packRectangles(sizes, area, kDemoGap);
        if (std::none_of(rects.begin(), rects.end(), [](RectI r) { return r.empty(); })) break;
    }
    for (size_t i = 0; i < set.size(); ++i) {
        OverlayConfig& common = *set[i]->configBase();
        common.enabled = !rects[i].empty();
        common.x = rects[i].left;
        common.y = rects[i].top;
        set[i]->fontsDirty = set[i]->layoutDirty = true;
        layout.places[set[i]->slot] = {true,     common.enabled,  common.x,
                                       common.y, common.widthMul, common.textScale};
    }
    return layout;
}

AppConfig withoutDemoLayout(const AppConfig& config, const DemoLayout& layout,
                            const AppConfig& stored) {
    AppConfig out = config;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const DemoLayout::Place& place = layout.places[slot];
        OverlayConfig* common = overlayConfig(out, slot);
        const OverlayConfig* before = overlayConfig(stored, slot);
        if (!place.placed || !common || !before) continue;
        if (common->enabled == place.enabled) common->enabled = before->enabled;
        if (common->x == place.x && common->y == place.y) {
            common->x = before->x;
            common->y = before->y;
        }
        if (common->widthMul == place.widthMul) common->widthMul = before->widthMul;
        if (common->textScale == place.textScale) common->textScale = before->textScale;
    }
    return out;
}

} // namespace vt
