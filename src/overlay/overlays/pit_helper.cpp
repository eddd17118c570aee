#include "overlay/overlays/pit_helper.h"

#include "base/format.h"
#include "base/hash.h"
#include "base/translate.h"
#include "base/utf8.h"
#include "overlay/settings/slots.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kOverKph = 0.5f; // above the limit that no sim punishes
constexpr float kMostBand = 20;  // km/h
constexpr float kBarSpan = 1.5f; // of the limit; the limit stands at two thirds of the bar
constexpr float kAtBox = 2;      // m
constexpr uint64_t kFlashMs = 300;
constexpr float kFlashAlpha = 0.45f;
constexpr float kMilesPerKm = 0.621371f, kFeetPerMetre = 3.28084f;
constexpr int kPlain = 120, kWithCountdown = 150;

bool simWorks(int sim) {
    return sim == kSimIRacing || sim == kSimLmu || sim == kSimAcEvo;
}

void buildBox(PitHelperView& view, const PitHelperConfig& config, bool imperial,
              const SimFrame& frame) {
    if (!config.pitCountdown || !view.onPitRoad) return;
    if (frame.inPitStall) {
        copyText(view.box, Translate("STOP"));
        view.boxShare = 1;
        return;
    }
    if (!(frame.pitStallPct >= 0)) {
        copyText(view.box, Translate("Locating pit stall..."));
        return;
    }
    float part = frame.pitStallPct - frame.lapDistPct;
    part -= std::floor(part + 0.5f); // -0.5..0.5: behind the car is behind
    const float metres = part * frame.trackLength;
    const float range = std::clamp(config.pitCountdownRange, 50.0f, 300.0f);
    if (!(metres >= -kAtBox) || metres > range) return;
    view.boxShare = std::clamp(1 - metres / range, 0.0f, 1.0f);
    if (metres <= kAtBox)
        copyText(view.box, Translate("STOP"));
    else
        formatText(view.box, sizeof view.box, imperial ? "%.0f ft" : "%.0f m",
                   static_cast<double>(imperial ? metres * kFeetPerMetre : metres));
}

Color bandColour(const CardLook& look, PitBand band) {
    switch (band) {
    case PitBand::over:
        return look.alarm;
    case PitBand::hold:
        return look.good;
    case PitBand::below:
        return look.caution;
    default:
        return look.dim;
    }
}

const char* bandWord(PitBand band) {
    switch (band) {
    case PitBand::over:
        return Translate("OVER");
    case PitBand::hold:
        return Translate("HOLD");
    case PitBand::below:
        return Translate("BELOW");
    default:
        return "--";
    }
}

} // namespace

void buildPitHelper(PitHelperView& view, const PitHelperConfig& config, bool imperial,
                    const SimFrame* frame) {
    view = {};
    if (!frame || !frame->connected) return;
    view.works = simWorks(frame->simKind);
    view.onPitRoad = frame->onPitRoad || frame->inPitStall || frame->pitLimiterOn;
    view.limiter = frame->pitLimiterOn != 0;
    view.place = frame->inPitStall  ? Translate("IN BOX")
                 : frame->onPitRoad ? Translate("PIT LANE")
                                    : Translate("APPROACH");
    copyText(view.unit, imperial ? "mph" : "km/h");
    const float factor = imperial ? kMilesPerKm : 1;
    view.kph = std::isfinite(frame->speed) ? frame->speed * 3.6f : 0;
    view.limitKph = frame->pitLimitSpeed * 3.6f;
    formatText(view.speed, sizeof view.speed, "%.0f", static_cast<double>(view.kph * factor));
    if (view.limitKph > 0) {
        const float band = std::min(kMostBand, std::max(0.0f, config.pitWarnMargin));
        view.band = view.kph > view.limitKph + kOverKph ? PitBand::over
                    : view.kph >= view.limitKph - band  ? PitBand::hold
                                                        : PitBand::below;
        formatText(view.limit, sizeof view.limit, Translate("LIMIT %.0f"),
                   static_cast<double>(view.limitKph * factor));
        formatText(view.delta, sizeof view.delta, "%+.0f %s",
                   static_cast<double>((view.kph - view.limitKph) * factor), view.unit);
    }
    buildBox(view, config, imperial, *frame);
}

PitHelperOverlay::PitHelperOverlay(OverlayHost& overlayHost)
    : CardOverlay(overlayHost, kSlotPitHelper, 360, kPlain) {
    layoutForStyle();
    applyScale(*this);
}

int PitHelperOverlay::cardHeight() const {
    return config.pithelper.pitCountdown ? kWithCountdown : kPlain;
}

void PitHelperOverlay::build() {
    buildPitHelper(view_, config.pithelper, config.imperial != 0, liveFrame());
}

bool PitHelperOverlay::flashOn() const {
    return config.pithelper.pitFlashOver && view_.band == PitBand::over &&
           clockMs(host.clock) / kFlashMs % 2 == 0;
}

void PitHelperOverlay::prepareFrame(const SimFrame*) {
    const int height = baseHeight;
    layoutForStyle();
    if (height != baseHeight && !previewMode) resizeToSettings(*this);
}

bool PitHelperOverlay::visibilityGate() {
    build();
    return !view_.works || !config.pithelper.pitHideOffRoad || view_.onPitRoad;
}

uint64_t PitHelperOverlay::contentHash() {
    build();
    Fnv64 hash;
    const char* const texts[] = {view_.place, view_.speed, view_.limit,
                                 view_.delta, view_.box,   view_.unit};
    for (const char* text : texts)
        hash.text(text);
    hash.flag(view_.works);
    hash.flag(view_.limiter);
    hash.flag(flashOn());
    hash.number(static_cast<int>(view_.band));
    hash.scaled(static_cast<double>(view_.kph / std::max(view_.limitKph, 1.0f)), 200);
    hash.scaled(static_cast<double>(view_.boxShare), 100);
    hash.number(config.pithelper.pitStyle * 2 + config.pithelper.pitCountdown);
    return hash.value;
}

void PitHelperOverlay::paint(ListPainter& p, RectF rect, const CardLook& look) {
    build();
    const float unit = look.unit, pad = 12 * unit, text = unit * look.textSize;
    const TextStyle small{Face::sans, 11 * text, 600}, figure{Face::mono, 13 * text, 700};
    if (!view_.works || view_.band == PitBand::unknown) {
        p.text({rect.left + pad, rect.top, rect.right - pad, rect.bottom},
               view_.works ? Translate("Pit speed limit unavailable")
                           : Translate("Pit Helper: not available"),
               {Face::sans, 13 * text, 500}, look.dim, TextAlign::center);
        return;
    }
    const Color colour = bandColour(look, view_.band);
    if (flashOn()) p.canvas.fillRect(rect, p.ink(fade(look.alarm, kFlashAlpha)));

    const RectF head{rect.left + pad, rect.top + 6 * unit, rect.right - pad, rect.top + 24 * unit};
    p.text(head, view_.place, small, look.dim);
    if (view_.limiter) p.text(head, Translate("LIMITER"), small, look.accent, TextAlign::center);
    p.text(head, view_.limit, figure, look.text, TextAlign::trailing);

    const RectF middle{head.left, head.bottom, head.right, rect.top + 78 * unit};
    const Face face = look.apex ? Face::race : Face::sans;
    const TextStyle large{Face::mono, 44 * text, 700};
    const float unitLeft = middle.left + p.width(large, view_.speed) + 6 * unit;
    p.text(middle, view_.speed, large, colour);
    p.text({unitLeft, middle.top + middle.height() * 0.42f, middle.right, middle.bottom},
           view_.unit, small, look.dim);
    p.text({middle.left, middle.top, middle.right, middle.top + middle.height() * 0.6f},
           bandWord(view_.band), {face, 24 * text, 700}, colour, TextAlign::trailing);
    p.text({middle.left, middle.top + middle.height() * 0.58f, middle.right, middle.bottom},
           view_.delta, figure, look.dim, TextAlign::trailing);

    const RectF bar{head.left, rect.top + 86 * unit, head.right, rect.top + 104 * unit};
    const float radius = look.apex ? 0 : 3 * unit;
    p.roundedRect(bar, radius, look.line, p.content);
    const auto xOf = [&](float kph) {
        return bar.left + bar.width() * std::clamp(kph / (view_.limitKph * kBarSpan), 0.0f, 1.0f);
    };
    if (view_.kph > 0.5f)
        p.roundedRect({bar.left, bar.top, xOf(view_.kph), bar.bottom}, radius, colour, p.content);
    const float limit = xOf(view_.limitKph);
    p.canvas.fillRect({limit - unit, bar.top - 4 * unit, limit + unit, bar.bottom + 4 * unit},
                      p.ink(look.text));
    if (!config.pithelper.pitCountdown) return;
    const RectF foot{head.left, rect.top + 116 * unit, head.right, rect.bottom - 8 * unit};
    p.text(foot, Translate("PIT BOX"), small, look.dim);
    const bool stop = view_.boxShare >= 1;
    if (view_.boxShare >= 0) {
        const RectF way{foot.left + foot.width() * 0.24f, foot.centerY() - 3 * unit,
                        foot.left + foot.width() * 0.72f, foot.centerY() + 3 * unit};
        p.canvas.fillRect(way, p.ink(look.line));
        p.canvas.fillRect({way.left, way.top, way.left + way.width() * view_.boxShare, way.bottom},
                          p.ink(stop ? look.alarm : look.accent));
    }
    p.text(foot, view_.box[0] ? view_.box : "--", figure,
           stop           ? look.alarm
           : view_.box[0] ? look.text
                          : look.dim,
           TextAlign::trailing);
}

void PitHelperOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    PitHelperConfig& c = config.pithelper;
    addStyleRow(page, "Which look the panel is drawn in.");
    page.row({.kind = Kind::floatSlider,
              .label = Translate("Caution band"),
              .hint = Translate("How far under the limit the bar starts warning."),
              .unit = "km/h",
              .real = &c.pitWarnMargin,
              .min = 0,
              .max = 15,
              .slot = slot});
    const auto toggle = [&](const char* label, bool& flag, const char* hint) {
        page.row({.kind = Kind::toggle,
                  .label = Translate(label),
                  .hint = Translate(hint),
                  .flag = &flag,
                  .slot = slot});
    };
    toggle("Flash over the limit", c.pitFlashOver,
           "Flash the panel the moment the limit is exceeded.");
    toggle("Only on pit road", c.pitHideOffRoad, "Show the panel only on pit road.");
    toggle("Box countdown", c.pitCountdown, "Show the distance still to run to your own pit box.");
    page.row({.kind = Kind::floatSlider,
              .label = Translate("Countdown from"),
              .hint = Translate("How far out from the box the countdown starts."),
              .unit = "m",
              .real = &c.pitCountdownRange,
              .min = 50,
              .max = 300,
              .slot = slot});
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
