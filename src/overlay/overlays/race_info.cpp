#include "overlay/overlays/race_info.h"

#include "base/format.h"
#include "base/hash.h"
#include "base/translate.h"
#include "base/utf8.h"
#include "overlay/settings/slots.h"
#include "race/race_text.h"
#include "race/relative_model.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kUnknownTime = 86'400; // s; a session clock of a day or more is not set

void writeTime(RaceInfoView& view, double seconds) {
    const auto whole = static_cast<int>(std::max(seconds, 0.0));
    if (whole >= 3600)
        formatText(view.time, sizeof view.time, Translate("%d:%02d:%02d LEFT"), whole / 3600,
                   whole / 60 % 60, whole % 60);
    else
        formatText(view.time, sizeof view.time, Translate("%d:%02d LEFT"), whole / 60, whole % 60);
}

Color severityColour(const CardLook& look, int severity, Color calm) {
    return severity == 2 ? look.alarm : severity == 1 ? look.caution : calm;
}

} // namespace

int leftSeverity(double left, double amber, double red) {
    if (!(left >= 0)) return 0;
    if (red > 0 && left < red) return 2;
    return amber > 0 && left < amber ? 1 : 0;
}

void buildRaceInfo(RaceInfoView& view, const RaceInfoConfig& config, const SimFrame* frame) {
    view = {};
    if (!frame || !frame->connected) return;
    copyText(view.track, textOf(frame->trackName));
    const std::string_view named = textOf(frame->carName);
    const std::string_view car = named.empty() ? textOf(frame->carModel) : named;
    const uint32_t strength = strengthOfField(ratingFieldOf(*frame));
    if (strength > 0)
        formatText(view.car, sizeof view.car, "%s · SOF %.1fK", std::string(car).c_str(),
                   static_cast<double>(strength) / 1000);
    else
        copyText(view.car, car);
    const bool laps = frame->timedSession == 0 && frame->lapsRemain >= 0;
    if (frame->lap >= 0 && laps)
        formatText(view.lap, sizeof view.lap, "L%d/%d", frame->lap, frame->lap + frame->lapsRemain);
    else if (frame->lap >= 0)
        formatText(view.lap, sizeof view.lap, "L%d", frame->lap);
    // "At 3" warns with three laps left, below 5 minutes as soon as they have begun.
    if (laps)
        view.lapSeverity = leftSeverity(frame->lapsRemain,
                                        config.alertLapsAmber > 0 ? config.alertLapsAmber + 1 : 0,
                                        config.alertLapsRed > 0 ? config.alertLapsRed + 1 : 0);
    if (frame->timeRemain <= 0 || !(frame->timeRemain < kUnknownTime)) return;
    writeTime(view, frame->timeRemain);
    view.timeSeverity =
        leftSeverity(frame->timeRemain, static_cast<double>(config.alertTimeAmberMin) * 60,
                     static_cast<double>(config.alertTimeRedMin) * 60);
}

RaceInfoOverlay::RaceInfoOverlay(OverlayHost& overlayHost)
    : CardOverlay(overlayHost, kSlotRaceInfo, 504, 62) {
    layoutForStyle();
    applyScale(*this);
}

uint64_t RaceInfoOverlay::contentHash() {
    buildRaceInfo(view_, config.raceinfo, liveFrame());
    Fnv64 hash;
    for (const char* text : {view_.track, view_.car, view_.lap, view_.time})
        hash.text(text);
    hash.number(view_.lapSeverity * 3 + view_.timeSeverity);
    hash.number(config.raceinfo.riStyle);
    return hash.value;
}

void RaceInfoOverlay::paint(ListPainter& p, RectF rect, const CardLook& look) {
    buildRaceInfo(view_, config.raceinfo, liveFrame());
    const float unit = look.unit, pad = 12 * unit;
    p.canvas.fillRect({rect.left, rect.top, rect.left + 4 * unit, rect.bottom}, p.ink(look.accent));
    const float middle = rect.top + rect.height() * 0.56f;
    const Face head = look.apex ? Face::race : Face::sans;
    const TextStyle large{head, 21 * unit * look.textSize, 700};
    const TextStyle small{Face::sans, 13 * unit * look.textSize, 500};
    const TextStyle figure{Face::mono, 17 * unit * look.textSize, 700};
    const RectF upper{rect.left + pad + 4 * unit, rect.top + 4 * unit, rect.right - pad, middle};
    const RectF lower{upper.left, middle, upper.right, rect.bottom - 5 * unit};
    // The figures keep their width; names end where they begin.
    const float figures =
        std::max(p.width(figure, view_.lap), p.width(figure, view_.time)) + 10 * unit;
    p.text(upper, view_.lap, figure, severityColour(look, view_.lapSeverity, look.text),
           TextAlign::trailing);
    p.text(lower, view_.time, figure, severityColour(look, view_.timeSeverity, look.dim),
           TextAlign::trailing);
    p.textCut({upper.left, upper.top, upper.right - figures, upper.bottom},
              view_.track[0] ? view_.track : "--", large, look.text);
    p.textCut({lower.left, lower.top, lower.right - figures, lower.bottom}, view_.car, small,
              look.dim);
}

void RaceInfoOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    RaceInfoConfig& c = config.raceinfo;
    addStyleRow(page, "Which look the lower third is drawn in.");
    page.row({.kind = Kind::section, .label = Translate("ALERTS")});
    const auto minutes = [&](const char* label, float& value, const char* hint) {
        page.row({.kind = Kind::floatSlider,
                  .label = Translate(label),
                  .hint = Translate(hint),
                  .unit = "min",
                  .real = &value,
                  .min = 0,
                  .max = 60,
                  .slot = slot});
    };
    const auto laps = [&](const char* label, int& value, const char* hint) {
        page.row({.kind = Kind::intSlider,
                  .label = Translate(label),
                  .hint = Translate(hint),
                  .number = &value,
                  .min = 0,
                  .max = 20,
                  .slot = slot});
    };
    minutes("Time amber (min)", c.alertTimeAmberMin,
            "The time turns amber below this; 0 switches the warning off.");
    minutes("Time red (min)", c.alertTimeRedMin,
            "The time turns red below this; 0 switches the warning off.");
    laps("Laps amber", c.alertLapsAmber,
         "The lap turns amber with this many left; 0 switches the warning off.");
    laps("Laps red", c.alertLapsRed,
         "The lap turns red with this many left; 0 switches the warning off.");
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
