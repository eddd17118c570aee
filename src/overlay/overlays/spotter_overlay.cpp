#include "overlay/overlays/spotter_overlay.h"

#include "base/hash.h"
#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/settings/slots.h"
#include "telemetry/sim_capabilities.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace vt {

namespace {

enum Mode { kBars, kRadar, kDisc };
constexpr uint64_t kNobodyBars = 364567, kNobodyRadar = 5418409;
constexpr uint64_t kFlashMs = 900, kApproachMs = 700, kPulseMs = 1100;
constexpr float kFlashStrength = 0.66f;
constexpr float kVisible = 0.02f;
constexpr const char* kAppLanguage = "en"; // of the texts; no other is there yet

uint64_t barsHash(const SpotterBars& bars, uint64_t nowMs) {
    if (bars.sides[0].alpha <= kVisible && bars.sides[1].alpha <= kVisible) return kNobodyBars;
    Fnv64 hash;
    bool flashes = false, approaches = false;
    for (size_t at = 0; at < 2; ++at) {
        const SpotterSide& side = bars.sides[at];
        hash.flag(side.active);
        hash.scaled(static_cast<double>(side.alpha), 256);
        hash.number(side.count);
        hash.flag(side.approaching);
        approaches = approaches || side.approaching;
        for (int i = 0; i < bars.marks[at].count; ++i) {
            const SpotterMark& mark = bars.marks[at].marks[static_cast<size_t>(i)];
            hash.scaled(static_cast<double>(mark.pos), 512);
            hash.scaled(static_cast<double>(mark.strength), 256);
            hash.flag(mark.ambiguous);
            flashes = flashes || mark.strength >= kFlashStrength;
        }
    }
    if (flashes) hash.word(nowMs % kFlashMs);
    if (approaches) hash.word(nowMs % kApproachMs);
    return hash.value ? hash.value : 1;
}

uint64_t radarHash(const SpotterRadar& radar, const SpotterConfig& config, uint64_t nowMs) {
    if (radar.count == 0 && radar.alpha < kVisible) return kNobodyRadar;
    Fnv64 hash;
    hash.scaled(static_cast<double>(radar.alpha), 256);
    hash.flag(config.spotterRadarNums);
    hash.scaled(static_cast<double>(radar.range), 10);
    hash.number(radar.count);
    bool pulses = false;
    for (int i = 0; i < radar.count; ++i) {
        const RadarBlip& blip = radar.blips[static_cast<size_t>(i)];
        hash.scaled(static_cast<double>(blip.longitudinal), 10);
        hash.scaled(static_cast<double>(blip.lateral), 10);
        hash.number(blip.carNumberValue);
        hash.number(blip.side + 1);
        pulses = pulses || blipPulses(blip);
    }
    if (pulses) hash.word(nowMs % kPulseMs);
    return hash.value ? hash.value : 1;
}

bool isQualifying(const SimFrame& frame) {
    std::string name = frame.sessionName;
    for (char& c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name.find("qual") != std::string::npos;
}

uint32_t repeatMs(float seconds) {
    if (!std::isfinite(seconds)) return 0;
    return static_cast<uint32_t>(
        std::lround(static_cast<double>(std::clamp(seconds, 0.0f, 8.0f)) * 1000));
}

} // namespace

SpotterOverlay::SpotterOverlay(OverlayHost& host_) : OverlayWindow(host_, kSlotSpotter) {
    if (host.audio) voice_ = std::make_unique<VoiceEngine>(*host.audio);
}

void SpotterOverlay::configureVoice() {
    SpotterConfig& c = config.spotter;
    if (!voice_) return;
    const std::string language = resolveLanguage(config.voiceLanguage, kAppLanguage);
    if (c.spotterVoicePack.empty() && !packChosen_) {
        c.spotterVoicePack = defaultPack(language);
        config.settingsDirty = config.settingsDirty || !c.spotterVoicePack.empty();
    }
    packChosen_ = true;
    voiceAsked_ = c.enabled;
    // Without a pack there is nothing to say: no thread, and the device is left alone.
    const bool any = !listPacks(language).empty() || !listPacks("").empty();
    voiceConfigure(*voice_, {.enabled = c.enabled && c.spotterVoice && any,
                             .language = language,
                             .pack = c.spotterVoicePack,
                             .volume = c.spotterVoiceVol,
                             .phrases = true,
                             .alerts = false,
                             .coach = false,
                             .device = c.spotterVoiceDeviceId});
}

void SpotterOverlay::layoutForStyle() {
    const SpotterConfig& c = config.spotter;
    widthFixed = c.spotterMode == kBars;
    heightResizable = true;
    if (c.spotterMode == kBars) {
        const float gap =
            std::isfinite(c.spotterBarGap) ? std::clamp(c.spotterBarGap, 20.0f, 5000.0f) : 162.6f;
        const float bar =
            std::isfinite(c.spotterBarWidth) ? std::clamp(c.spotterBarWidth, 10.0f, 100.0f) : 32.0f;
        baseWidth = static_cast<int>(std::floor(gap + 2 * bar + 12 + 0.5f));
        baseHeight = 340;
    } else {
        baseWidth = c.spotterMode == kRadar ? 200 : 220;
        baseHeight = c.spotterMode == kRadar ? 260 : 220;
    }
    configureVoice();
}

void SpotterOverlay::whileDisabled() {
    if (!voiceAsked_) return;
    voiceAsked_ = false;
    if (voice_) voiceStop(*voice_);
    calls_ = {};
}

bool SpotterOverlay::visibilityGate() {
    const SimFrame* now = liveFrame();
    return config.spotter.spotterShowInQualy || !now || !isQualifying(*now);
}

void SpotterOverlay::prepareFrame(const SimFrame* newFrame) {
    if (previewMode) return;
    const SpotterConfig& c = config.spotter;
    if (voice_ && !voiceAsked_) configureVoice(); // was just switched on
    const SpotterRules rules{.minKph = c.spotterVoiceMinKph,
                             .pitQuiet = c.spotterVoicePitQuiet,
                             .startQuietSec = c.spotterVoiceStartQuietSec,
                             .cautionQuiet = c.spotterVoiceCautionQuiet,
                             .repeatMs = repeatMs(c.spotterVoiceRepeatSec)};
    const bool ready = voice_ && voice_->ready != 0;
    const int phrase = spotterCallsTick(calls_, rules, newFrame, ready, clockMs(host.clock));
    if (phrase >= 0) voiceSayPhrase(*voice_, phrase);
}

void SpotterOverlay::tickModel() {
    const double step = spotterStep(stepTicks_, clockTicks(host.clock));
    if (config.spotter.spotterMode == kBars)
        spotterBarsTick(bars_, liveFrame(), step);
    else
        spotterRadarTick(radar_, config.spotter.spotterRadarRange, liveFrame(), step);
}

uint64_t SpotterOverlay::contentHash() {
    tickModel();
    const uint64_t now = clockMs(host.clock);
    return config.spotter.spotterMode == kBars ? barsHash(bars_, now)
                                               : radarHash(radar_, config.spotter, now);
}

void SpotterOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    SpotterBars bars;
    SpotterRadar radar;
    if (previewMode) {
        // A moment of its own, fully faded in; what was smoothed so far stays.
        for (int i = 0; i < 30; ++i) {
            spotterBarsTick(bars, liveFrame(), 33.333332);
            spotterRadarTick(radar, config.spotter.spotterRadarRange, liveFrame(), 33.333332);
        }
    } else if (editMode) {
        tickModel();
    }
    const float floor = previewMode ? 0.6f : editMode && !liveFrame() ? 0.7f : 0.0f;
    const SpotterPicture shown{previewMode ? bars : bars_, previewMode ? radar : radar_,
                               clockMs(host.clock), floor};
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    const SpotterConfig& c = config.spotter;
    if (c.spotterMode == kBars)
        drawSpotterBars(painter, rect, c, shown);
    else if (c.spotterMode == kRadar)
        drawSpotterRadar(painter, rect, c, shown);
    else
        drawSpotterDisc(painter, rect, c, shown);
    shelf_.endPicture();
}

void SpotterOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    shelf_.clear();
    stamps_.clear();
}

bool SpotterOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

void SpotterOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    static const char* const kModes[] = {"Bars", "Radar", "Disc"};
    SpotterConfig& c = config.spotter;
    const auto toggle = [&](const char* label, const char* hint, bool& flag) {
        page.row({.kind = Kind::toggle, .label = label, .hint = hint, .flag = &flag, .slot = slot});
    };
    const auto slider = [&](const char* label, const char* hint, const char* unit, float& value,
                            float min, float max) {
        page.row({.kind = Kind::floatSlider,
                  .label = label,
                  .hint = hint,
                  .unit = unit,
                  .real = &value,
                  .min = min,
                  .max = max,
                  .slot = slot});
    };
    page.row({.kind = Kind::section, .label = Translate("STYLE OPTIONS")});
    page.row({.kind = Kind::stylePicker,
              .label = Translate("Style"),
              .number = &c.spotterMode,
              .choices = kModes,
              .choiceCount = 3,
              .slot = slot});
    slider(Translate("Radar range"), Translate("How far ahead and behind the radar reaches."), "m",
           c.spotterRadarRange, 10, 40);
    const SimFrame* now = liveFrame();
    if (now && !simOffers(now->simKind, kOffersCars))
        page.row(
            {.kind = Kind::text,
             .label = Translate("Not in this sim: it reports where the other cars are but never "
                                "who they are, so there is no number to show.")});
    else
        toggle(Translate("Show car numbers"),
               Translate("Label each blip with that car's racing number."), c.spotterRadarNums);
    slider(Translate("Bar spacing"), Translate("Distance between the two side bars."), "px",
           c.spotterBarGap, 0, 1500);
    slider(Translate("Exact gap px"), "", "px", c.spotterBarGap, 0, 5000);
    slider(Translate("Bar width"), Translate("How thick each side bar is drawn."), "px",
           c.spotterBarWidth, 10, 100);
    page.row({.kind = Kind::section, .label = Translate("VOICE CALLOUTS")});
    toggle(Translate("Voice callouts"), Translate("Says who is alongside."), c.spotterVoice);
    slider(Translate("Volume"), Translate("How loud those callouts are."), "%", c.spotterVoiceVol,
           0, 1);
    if (voice_ && listLanguages().empty() && listPacks("").empty())
        page.row({.kind = Kind::text, .label = Translate("(none installed)")});
    page.row({.kind = Kind::section, .label = Translate("WHEN TO SPEAK")});
    slider(Translate("Quiet below"), "", "km/h", c.spotterVoiceMinKph, 0, 100);
    toggle(Translate("Quiet in the pit lane"), Translate("No callouts while you are in the pits."),
           c.spotterVoicePitQuiet);
    slider(Translate("Quiet at the start"), "", "s", c.spotterVoiceStartQuietSec, 0, 15);
    toggle(Translate("Quiet under caution"), "", c.spotterVoiceCautionQuiet);
    slider(Translate("Remind me every"), "", "s", c.spotterVoiceRepeatSec, 0, 8);
    page.row(
        {.kind = Kind::text,
         .label = Translate("These only silence the voice. The radar keeps showing cars the whole "
                            "time, including in the pit lane.")});
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
    toggle(Translate("Show in qualifying"), "", c.spotterShowInQualy);
}

} // namespace vt
