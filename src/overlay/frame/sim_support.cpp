#include "overlay/frame/sim_support.h"

#include "base/format.h"
#include "base/translate.h"
#include "overlay/frame/fields.h"
#include "overlay/frame/support_rules.h"

namespace vt {

namespace {

struct Verdict {
    uint8_t state = 0;
    const char* note = "";
};

Verdict judge(const SupportRule& rule, int sim) {
    const uint32_t offered = simCapabilities(sim);
    const bool named = (rule.sims & 1u << sim) != 0;
    const auto lacks = [&](uint32_t bits) { return (offered & bits) != bits; };
    if (sim == rule.oddSim) return {rule.oddState, rule.oddNote};
    if (!named || lacks(rule.needs)) return {0, rule.none};
    if (rule.needsAny != 0 && (offered & rule.needsAny) == 0) return {0, rule.none};
    if (rule.bestBits != 0 && !lacks(rule.bestBits)) return {2, rule.bestNote};
    if (lacks(rule.full) || (rule.partialSims & 1u << sim) != 0) return {1, rule.partial};
    return {2, rule.works};
}

void applyRule(const SupportRule& rule, SupportStatus& status) {
    for (int sim = 0; sim < kSimCount; ++sim) {
        const Verdict verdict = judge(rule, sim);
        status.state[static_cast<size_t>(sim)] = verdict.state;
        status.note[static_cast<size_t>(sim)] = Translate(verdict.note);
    }
    status.summary = Translate(rule.summary);
}

int cellCount(int layout) {
    switch (layout) {
    case 1:
        return 2;
    case 2:
        return 4;
    case 3:
        return 9;
    case 4:
        return 6;
    default:
        return 1;
    }
}

void judgeCells(int count, const int* fields, int sim, uint8_t& state, std::string& note) {
    constexpr int kNamedAtMost = 3;
    int set = 0, missing = 0;
    std::string names;
    for (int i = 0; fields && i < count; ++i) {
        if (fields[i] <= 0) continue;
        ++set;
        if (fieldSupported(fields[i], sim)) continue;
        if (++missing > kNamedAtMost) continue;
        if (missing > 1) names += ", ";
        names += fieldLongLabel(fields[i]);
    }
    if (missing == 0) {
        state = 2;
        note = Translate(kWorksFully);
    } else if (missing == set) {
        state = 0;
        note = Translate("None of the values you picked exist on this sim, so every cell reads "
                         "N/A.");
    } else {
        char text[512];
        const char* verb = missing == 1 ? Translate("has") : Translate("have");
        formatText(text, sizeof text,
                   Translate("Most of it works. %s %s nothing to show on this sim."), names.c_str(),
                   verb);
        state = 1;
        note = text;
    }
}

} // namespace

bool fieldSupported(int fieldId, int sim) {
    return simOffers(sim, fieldNeeds(fieldId));
}

bool columnSupported(int columnId, int sim) {
    switch (columnId) {
    case 12: // positions gained, of other cars
    case 15: // the user's own tags
        return false;
    case 2:
    case 4:
    case 5:
    case 16:
        return simOffers(sim, kOffersRatings);
    case 6:
        return simOffers(sim, kOffersCars | kOffersGaps);
    case 13:
        return simOffers(sim, kOffersCars | kOffersCarPits);
    case 14:
        return simOffers(sim, kOffersCompounds);
    case 18:
    case 19:
        return simOffers(sim, kOffersCarPitTimes);
    default:
        return simOffers(sim, kOffersCars);
    }
}

bool overlaySupport(int slot, SupportStatus& status) {
    const SupportRule* rule = overlayRule(slot);
    if (!rule) return false;
    applyRule(*rule, status);
    return true;
}

bool widgetSupport(int kind, int widgetType, int barKind, int layout, const int* fields, int source,
                   SupportStatus& status) {
    if (kind == 1) {
        for (size_t sim = 0; sim < kSimCount; ++sim)
            judgeCells(cellCount(layout), fields, static_cast<int>(sim), status.state[sim],
                       status.note[sim]);
        status.summary = Translate(
            "Depends on what you put in the cells. A cell the sim cannot fill reads N/A.");
    } else {
        applyRule(kind == 3 ? barRule(barKind, source) : visualRule(widgetType), status);
    }
    return true;
}

bool supportFor(const AppConfig& config, int slot, SupportStatus& status) {
    const int widget = slot - kSlotWidget0;
    if (widget < 0 || widget >= static_cast<int>(config.widgets.size()))
        return overlaySupport(slot, status);
    // The settings hold neither cell fields nor a bar's source: cells count as not set, a bar as
    // measuring against the best lap.
    const WidgetConfig& settings = config.widgets[static_cast<size_t>(widget)];
    return widgetSupport(settings.wgtType, settings.wgtVisual, settings.wgtBar, settings.wgtLayout,
                         nullptr, 0, status);
}

} // namespace vt
