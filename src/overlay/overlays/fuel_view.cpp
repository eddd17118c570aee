#include "overlay/overlays/fuel_view.h"

#include "base/translate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr uint64_t kShortFlashMs = 600, kCallFlashMs = 667, kCallMs = 4000, kPulseMs = 1000;
constexpr double kTimeUnknown = 86400;

/// Too long a text is cut at a character's border.
void close(FuelText& out, int wanted) {
    if (wanted < static_cast<int>(out.size())) return;
    size_t end = out.size() - 1;
    while (end > 0 && (static_cast<unsigned char>(out[end - 1]) & 0xC0) == 0x80)
        --end;
    if (end > 0 && static_cast<unsigned char>(out[end - 1]) >= 0xC0) --end;
    out[end] = 0;
}
template <class... Values>
void write(FuelText& out, const char* format, Values... values) {
    close(out, std::snprintf(out.data(), out.size(), format, values...));
}
void write(FuelText& out, const char* text) {
    close(out, std::snprintf(out.data(), out.size(), "%s", text));
}
double f64(float value) {
    return static_cast<double>(value);
}

void writeFigures(FuelTexts& t, const FuelView& view) {
    if (view.live)
        write(t.tank, "%.1f", f64(view.fuel));
    else
        write(t.tank, "--");
    if (view.burnValid)
        write(t.burn, "%.2f", f64(view.burn));
    else
        write(t.burn, "--");
    if (view.lapsInTank >= 0)
        write(t.lapsInTank, "%.1f", f64(std::min(view.lapsInTank, 9999.0f)));
    else
        write(t.lapsInTank, "--");
    if (view.minutesInTank >= 0)
        write(t.minutes, "~%d", static_cast<int>(std::min(view.minutesInTank, 9999.0f)));
    else
        write(t.minutes, "--");
    if (view.toFinishKnown)
        write(t.toFinish, "%.1f L", f64(view.fuelToFinish));
    else
        write(t.toFinish, "--");
    write(t.leftLabel, view.timed ? Translate("TIME LEFT") : Translate("LAPS LEFT"));
    if (!view.timed && view.lapsRemain >= 0)
        write(t.left, Translate("%d laps"), view.lapsRemain);
    else if (view.timed && view.live && view.timeRemain > 0 && view.timeRemain < kTimeUnknown)
        clockText(t.left, view.timeRemain);
    else
        write(t.left, "--");
    if (view.toFinishKnown)
        write(t.margin, "%+.1f L", 0.0 - f64(view.delta));
    else
        write(t.margin, "--");
    if (view.status == kFuelLearning)
        write(t.add, Translate("est. soon"));
    else if (!view.toFinishKnown)
        write(t.add, "--");
    else if (view.addAtPit > 0)
        write(t.add, "+%.0f L", std::ceil(f64(view.addAtPit)));
    else
        write(t.add, Translate("None"));
}

void writeBadge(FuelTexts& t, const FuelView& view) {
    switch (view.status) {
    case kFuelLearning:
        write(t.badge, Translate("LEARNING"));
        write(t.badgeNote, Translate("%d/%d clean laps"), view.cleanCount, 3);
        break;
    case kFuelShort:
        write(t.badge, Translate("SHORT - PIT"));
        write(t.badgeNote, Translate("%.1f L short"), f64(view.delta));
        break;
    case kFuelNoLength:
        write(t.badge, Translate("READY"));
        write(t.badgeNote, Translate("no race length"));
        break;
    default:
        write(t.badge, view.status == kFuelSafe ? Translate("SAFE") : Translate("MARGINAL"));
        write(t.badgeNote, "%+.1f L", 0.0 - f64(view.delta));
    }
}

void writeBigWord(FuelTexts& t, const FuelView& view, int phase) {
    if (view.status == kFuelLearning) {
        write(t.bigLeft, Translate("LEARNING"));
        write(t.bigValue, "--");
    } else if (view.status == kFuelNoLength) {
        write(t.bigLeft, Translate("READY"));
        write(t.bigValue, "--");
        write(t.bigRight, Translate("no race length"));
    } else if (view.status != kFuelShort) {
        write(t.bigLeft, Translate("MARGIN"));
        write(t.bigValue, "%+.1f L", 0.0 - f64(view.delta));
        write(t.bigRight, Translate("NO STOP"));
    } else if (phase == 2) {
        write(t.bigLeft, Translate("PIT NOW"));
        write(t.bigValue, Translate("BOX BOX"));
        write(t.bigRight, "%s  +%.0f L", Translate("THIS LAP"), std::ceil(f64(view.addAtPit)));
    } else {
        write(t.bigLeft, Translate("PIT IN"));
        write(t.bigValue, "%d %s", view.lapsBeforePit, Translate("LAPS"));
        if (view.avgLap > 0 && view.pitLap >= 0)
            write(t.bigRight, "~%dM %s LAP %d  +%.0f L",
                  static_cast<int>(static_cast<float>(view.lapsBeforePit) * view.avgLap / 60),
                  "\xC2\xB7", view.pitLap, std::ceil(f64(view.addAtPit)));
        else
            write(t.bigRight, "%s +%.0f L", Translate("ADD"), std::ceil(f64(view.addAtPit)));
    }
}

void writeSaving(FuelTexts& t, const FuelSaveModel& save) {
    write(t.planTitle, Translate("FUEL SAVE"));
    write(t.plan, Translate("SAVE %.2f L/LAP"), f64(save.targetPerLap));
    if (save.lastLapValid)
        write(t.planNote, Translate("LAST LAP %s  %+.1f L BANKED"),
              save.onTarget ? Translate("ON TARGET") : Translate("SHORT OF TARGET"),
              f64(save.bank));
    else if (save.baseline > 0)
        write(t.planNote, Translate("%+.1f L BANKED"), f64(save.bank));
    if (save.tipCount > 0)
        write(t.tip, Translate("TRY LIFTING AT %s  EST %.2f L"), save.tips[0].corner,
              f64(save.tips[0].saveLitres));
}

void writePlan(FuelTexts& t, const PitStrategyEngine& engine) {
    write(t.planTitle, Translate("STRATEGY"));
    if (engine.optionCount <= 0) {
        write(t.plan, Translate("NO STRATEGY YET"));
        return;
    }
    const int at = std::clamp(engine.selected, 0, engine.optionCount - 1);
    const StrategyOption& option = engine.options[static_cast<size_t>(at)];
    write(t.plan, option.title);
    write(t.planNote, option.detail);
}

void writeStrip(FuelTexts& t, const FuelView& view) {
    if (view.burnValid)
        write(t.strip[0], "%.2f L/LAP", f64(view.burn));
    else
        write(t.strip[0], "--.-- L/LAP");
    write(t.strip[1], "%s LAPS", t.lapsInTank.data());
    if (view.minutesInTank >= 0)
        write(t.strip[2], "~%dM", static_cast<int>(std::min(view.minutesInTank, 9999.0f)));
}

bool cyclesToLaps(const FuelConfig& config, const FuelView& view, uint64_t nowMs) {
    if (config.fuelBarMode == 2) return true;
    if (config.fuelBarMode != 1 || view.cleanCount == 0) return false;
    const auto period = static_cast<uint64_t>(std::clamp(config.fuelCycleSec, 3, 10)) * 1000;
    return (nowMs / period) & 1;
}

void fillBar(FuelPicture& out, const FuelConfig& config, uint64_t nowMs) {
    const FuelView& view = out.view;
    out.barOfLaps = cyclesToLaps(config, view, nowMs);
    if (out.barOfLaps) {
        // Of the laps that are left, those that the tank covers.
        if (view.lapsToFinish > 0 && view.lapsInTank >= 0)
            out.bar = std::clamp(view.lapsInTank / view.lapsToFinish, 0.0f, 1.0f);
    } else if (view.capacity > 0) {
        out.bar = std::clamp(view.fuel / view.capacity, 0.0f, 1.0f);
        if (config.fuelShowNotch && view.toFinishKnown && view.fuelToFinish <= view.capacity)
            out.notch = view.fuelToFinish / view.capacity;
    }
}

void animate(FuelPicture& out, bool badgeFlashes, uint64_t nowMs, uint64_t callMs) {
    const FuelView& view = out.view;
    if (badgeFlashes && view.status == kFuelShort) {
        const uint64_t beat = nowMs / kShortFlashMs;
        out.flash = beat & 1 ? 0.55f : 1.0f;
        out.motion = beat + 1;
    }
    if (callMs != 0 && nowMs - callMs < kCallMs) {
        const uint64_t beat = (nowMs - callMs) / kCallFlashMs;
        out.flash = beat & 1 ? 0.25f : 1.0f;
        out.motion = out.motion * 31 + beat + 1;
    }
    if (view.status == kFuelShort && view.lapsBeforePit < 1) {
        const float part = static_cast<float>(nowMs % kPulseMs) / static_cast<float>(kPulseMs);
        out.pulse = 0.55f + 0.45f * std::abs(2 * part - 1);
        out.motion = out.motion * 31 + nowMs % kPulseMs / 33 + 1;
    }
}

} // namespace

void clockText(FuelText& out, double seconds) {
    const int whole = static_cast<int>(std::max(0.0, seconds));
    if (whole >= 3600)
        write(out, "%d:%02d:%02d", whole / 3600, whole / 60 % 60, whole % 60);
    else
        write(out, "%d:%02d", whole / 60, whole % 60);
}

FuelRules fuelRules(const FuelConfig& config) {
    return {.windowLaps = config.fuelWindowLaps,
            .pitBuffer = config.fuelPitBuffer,
            .devPct = config.fuelDevPct,
            .amberLaps = config.fuelAlertAmberLaps,
            .redLaps = config.fuelAlertRedLaps};
}

int pitCountdownPhase(const FuelView& view, const FuelConfig* config) {
    const int laps = view.lapsBeforePit;
    if (laps < 0) return -1;
    if (laps < 2) return 2;
    if (!config) return laps < 4 ? 1 : 0;
    return config->fuelWarnLaps >= 1 && laps <= std::min(config->fuelWarnLaps, 10) ? 1 : 0;
}

void buildFuelPicture(FuelPicture& out, const FuelView& view, const FuelConfig& config,
                      const FuelLapRing& ring, const FuelModels* models, uint64_t nowMs,
                      uint64_t callMs) {
    out = {};
    out.view = view;
    out.phase = pitCountdownPhase(view, &config);
    out.burnFlash = ring.burnFlash;
    writeFigures(out.text, view);
    writeBadge(out.text, view);
    writeBigWord(out.text, view, out.phase);
    writeStrip(out.text, view);
    out.saving = models && models->save.active && config.fuelShowSave;
    if (out.saving)
        writeSaving(out.text, models->save);
    else if (models)
        writePlan(out.text, models->strategy);
    if (view.finishLap >= 0)
        write(out.text.footer, "%s %d  \xC2\xB7  %s", Translate("FINISH LAP"), view.finishLap,
              out.text.badgeNote.data());
    else
        write(out.text.footer, out.text.badgeNote.data());
    fillBar(out, config, nowMs);
    constexpr int kClassic = 0;
    animate(out, config.fuelStyle == kClassic, nowMs, callMs);
}

} // namespace vt
