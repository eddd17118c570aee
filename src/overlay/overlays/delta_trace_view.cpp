#include "overlay/overlays/delta_trace_view.h"

#include "telemetry/sim_capabilities.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

std::function<bool(const SimFrame& frame, float pct, int reference, DeltaReferenceInputs& out)>
    deltaReferenceInputs;

namespace {

enum Reference { kBest, kLast, kOptimal, kSessionBest };

DeltaValue when(uint8_t ok, float seconds) {
    return {ok != 0 && std::isfinite(seconds), seconds};
}

} // namespace

DeltaValue deltaOf(const SimFrame& frame, int reference) {
    if (simOffers(frame.simKind, kOffersDeltas)) {
        switch (reference) {
        case kLast:
            return when(frame.deltaLastOk, frame.deltaLast);
        case kOptimal:
            return when(frame.deltaOptimalOk, frame.deltaOptimal);
        case kSessionBest:
            return when(frame.deltaSessionBestOk, frame.deltaSessionBest);
        default:
            return when(frame.deltaBestOk, frame.deltaBest);
        }
    }
    if (reference == kLast) return when(frame.liveDeltaLastOk, frame.liveDeltaLast);
    return when(frame.liveDeltaBestOk, frame.liveDeltaBest);
}

void DeltaTrace::add(const SimFrame& frame, int reference) {
    const Identity identity{frame.simKind, frame.sessionNum, frame.trackId, reference};
    if (identity != identity_ || !frame.connected) {
        points_.clear();
        identity_ = identity;
    }
    const float pct = frame.lapDistPct;
    const DeltaValue value = deltaOf(frame, reference);
    if (!frame.connected || !value.ok || !(pct >= 0) || !(pct <= 1)) return;
    if (!points_.empty()) {
        const float step = pct - points_.back().pct;
        if (step < -0.02f || step > 0.1f)
            points_.clear(); // the line, or a jump
        else if (step < 1.0f / kPoints)
            return;
    }
    if (points_.size() > kPoints) return;
    points_.push_back({pct, value.seconds});
}

bool DeltaTrace::between(float from, float to, float& delta) const {
    const auto at = [this](float pct) {
        return std::lower_bound(points_.begin(), points_.end(), pct,
                                [](const DeltaPoint& point, float p) { return point.pct < p; });
    };
    const auto first = at(from), last = at(to);
    if (points_.empty() || first == points_.end() || points_.front().pct > from + 0.02f)
        return false;
    delta = (last == points_.end() ? points_.back() : *last).delta - first->delta;
    return true;
}

void buildDeltaTrace(DeltaTraceView& view, const DeltaTraceConfig& config, const DeltaTrace& trace,
                     const SimFrame* frame) {
    view.live = frame && frame->connected;
    view.now = {};
    view.lap[0] = view.figure[0] = '\0';
    view.sectors.clear();
    if (!view.live) return;
    view.pct = frame->lapDistPct;
    view.now = deltaOf(*frame, config.dtRef);
    if (view.now.ok)
        std::snprintf(view.figure, sizeof view.figure, "%+.2f",
                      static_cast<double>(std::clamp(view.now.seconds, -999.0f, 999.0f)));
    if (frame->lap >= 0) {
        if (frame->timedSession == 0 && frame->lapsRemain >= 0)
            std::snprintf(view.lap, sizeof view.lap, "LAP %d/%d", frame->lap,
                          frame->lap + frame->lapsRemain);
        else
            std::snprintf(view.lap, sizeof view.lap, "LAP %d", frame->lap);
    }
    const std::vector<float>& starts = frame->sectorStarts;
    if (starts.size() < 2 || starts.size() > 16) return;
    for (size_t i = 0; i < starts.size(); ++i) {
        DeltaSector sector;
        const float from = starts[i], to = i + 1 < starts.size() ? starts[i + 1] : 1.0f;
        sector.running = view.pct >= from && view.pct < to;
        sector.known = view.pct >= from && trace.between(from, to, sector.delta);
        view.sectors.push_back(sector);
    }
}

} // namespace vt
