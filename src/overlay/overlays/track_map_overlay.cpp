#include "overlay/overlays/track_map_overlay.h"

#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/settings/slots.h"
#include "perf/demo_road.h"
#include "telemetry/sim_capabilities.h"
#include "telemetry/sim_registry.h"

namespace vt {

namespace {

constexpr int kSide = 300;
constexpr uint64_t kLookMs = 5000; // between two looks for a map that is not there yet

} // namespace

TrackMapOverlay::TrackMapOverlay(OverlayHost& overlayHost)
    : OverlayWindow(overlayHost, kSlotTrackMap), learner_(overlayHost.tracks.baseDir) {
    heightResizable = true;
    layoutForStyle();
    applyScale(*this);
}

void TrackMapOverlay::layoutForStyle() {
    baseWidth = baseHeight = kSide;
}

/// Looks for the map of the frame's track: at once when the track changes or a map was learned, and
/// now and then while there is none.
void TrackMapOverlay::follow(const SimFrame& shown) {
    const Source source{shown.simKind, shown.trackId, isDemoFrame(shown)};
    const uint64_t now = clockMs(host.clock);
    const bool changed = source != source_;
    const bool learned = learner_.saved() != learnedSeen_ || shown.surveyLaps != surveyedSeen_;
    if (!changed && !learned && (shape_.known() || now < nextLookMs_)) return;
    if (changed || learned || !shape_.known()) {
        source_ = source;
        learnedSeen_ = learner_.saved();
        surveyedSeen_ = shown.surveyLaps;
        nextLookMs_ = now + kLookMs;
        outline_.reset();
        pitLane_.reset();
        if (source.demo)
            shape_ = demoShape();
        else
            loadTrackShape(shape_, host.tracks.dataDir, host.tracks.baseDir, shown.simKind,
                           shown.trackId, shown.trackLength);
    }
}

void TrackMapOverlay::prepareFrame(const SimFrame* newFrame) {
    const bool wanted = newFrame && newFrame->connected && config.trackmap.enabled;
    const bool learning = wanted && newFrame->simKind == kSimIRacing && !isDemoFrame(*newFrame);
    if (wanted) follow(*newFrame);
    const bool gps = learning && !shape_.known();
    if (host.tracks.wantsGps) host.tracks.wantsGps->store(gps ? 1 : 0);
    if (gps) learner_.tick(*newFrame);
}

void TrackMapOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    outline_.reset();
    pitLane_.reset();
    shelf_.clear();
    stamps_.clear();
}

bool TrackMapOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

void TrackMapOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    static const char* const kPlaces[] = {"Bottom", "Top"};
    TrackMapConfig& c = config.trackmap;
    const auto toggle = [&](const char* label, const char* hint, bool& flag) {
        page.row({.kind = Kind::toggle,
                  .label = Translate(label),
                  .hint = Translate(hint),
                  .flag = &flag,
                  .slot = slot});
    };
    const auto slider = [&](const char* label, const char* hint, const char* unit, float& value,
                            float min, float max) {
        page.row({.kind = Kind::floatSlider,
                  .label = Translate(label),
                  .hint = Translate(hint),
                  .unit = unit,
                  .real = &value,
                  .min = min,
                  .max = max,
                  .slot = slot});
    };
    page.row({.kind = Kind::section, .label = Translate("OPTIONS")});
    PageRow style{.kind = Kind::stylePicker,
                  .label = Translate("Style"),
                  .hint = Translate("Which look the map is drawn in."),
                  .slot = slot};
    style.number = styleOf(config, slot, style.choiceCount, style.choices, style.firstValue);
    page.row(style);
    toggle("Turn numbers", "Number each corner around the lap.", c.tmShowTurns);
    toggle("Turn names", "Name each corner, where the track has published names for them.",
           c.tmShowNames);
    toggle("Pit lane", "Draw the pit lane alongside the circuit.", c.tmShowPitLane);
    toggle("Car numbers", "Label each car dot with that car's racing number.", c.tmShowCarNumbers);
    slider("Track width", "How thick the circuit outline is drawn.", "px", c.tmTrackWidth, 0, 24);
    slider("Corner numbers", "Size of the corner numbers on the map.", "x", c.tmCornerNumScale, 0,
           3);
    slider("Corner names", "Size of the corner names on the map.", "x", c.tmCornerNameScale, 0, 3);
    slider("Car numbers", "Size of the number drawn on each car dot.", "x", c.tmCarNumScale, 0, 3);
    page.row({.kind = Kind::section, .label = Translate("FOLLOW")});
    toggle("Follow the car",
           "Zooms in on the car and turns the map so the road ahead points up. Always on for rally "
           "stages.",
           c.tmFollow);
    slider("Road ahead", "How much road is visible in front of the car.", "m", c.tmFollowZoomM, 80,
           800);
    toggle("Racing line", "Green where you were on the throttle, red where you were braking.",
           c.tmFollowPedals);
    toggle("Braking point", "A bar where you first hit the brakes for the corner ahead.",
           c.tmFollowBrakePt);
    toggle("Corner ring", "Red for a hairpin through green for a kink.", c.tmFollowCornerSign);
    page.row({.kind = Kind::choice,
              .label = Translate("Readout"),
              .hint = Translate("Where the figures stand."),
              .number = &c.tmFollowInfoPos,
              .choices = kPlaces,
              .choiceCount = 2,
              .slot = slot});
    toggle("Distance to corner", "How far it is to the next corner.", c.tmFollowShowDist);
    toggle("Gear", "The gear from your best attempt at that corner.", c.tmFollowShowGear);
    toggle("Speed", "The speed from your best attempt at that corner.", c.tmFollowShowSpeed);
    toggle("Corner severity", "1 for a hairpin up to 6 for a kink, with the direction.",
           c.tmFollowShowTurn);
    toggle("Run time", "The time of the run these figures came from.", c.tmFollowShowTime);
    toggle("Colour with your pedals", "Lights the readout with what you are doing right now.",
           c.tmFollowInfoTint);
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
