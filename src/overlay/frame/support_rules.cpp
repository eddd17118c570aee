#include "overlay/frame/support_rules.h"

namespace vt {

namespace {

constexpr SimMask kLapRecorders = maskOf({kSimIRacing, kSimLmu, kSimAcEvo});
constexpr SimMask kMeasuredGaps = maskOf({kSimIRacing, kSimLmu});

constexpr const char* kCoachSims =
    "The Live Coach only records laps on iRacing, Le Mans Ultimate and AC EVO.";
constexpr const char* kCoachSummary =
    "The Live Coach works on iRacing, Le Mans Ultimate and AC EVO.";

// ---- overlays ----

constexpr SupportRule kSessionRule = {
    .needs = kOffersSession,
    .none = "This sim has no session for the panel to describe.",
    .full = kOffersFlags | kOffersTemperatures,
    .partial = "The session and lap rows work. This sim sends no flags or no track temperatures, "
               "so those rows read N/A."};

constexpr SupportRule kCarListRule = {
    .oddSim = kSimAcc,
    .oddState = 1,
    .oddNote = "Needs the game's own broadcast connection switched on before it can see the other "
               "cars. Without it the panel stays empty.",
    .needs = kOffersCars,
    .none = "This sim does not send the other cars on track, so there is nothing to list."};

constexpr SupportRule kFuelRule = {
    .needs = kOffersFuel,
    .none = "This sim does not send a fuel level.",
    .full = kOffersTank,
    .partial = "The burn and laps left work. This sim never says how big the tank is, so the level "
               "cannot be shown as a percentage."};

constexpr SupportRule kSpotterRule = {
    .needs = kOffersCarPlaces,
    .none = "This sim does not say where the other cars are, only who they are, so nothing can be "
            "spotted alongside you.",
    .full = kOffersCars,
    .partial = "Works, but without car numbers: this sim says where the other cars are but never "
               "who they are."};

constexpr SupportRule kHapticsRule = {
    .works = "Works anywhere. It reads Vantorel Haptics, not the sim.",
    .summary = "Works in every sim. It shows what the haptics app is sending to your shakers."};

constexpr SupportRule kBattleBarRule = {
    .sims = kMeasuredGaps,
    .none = "Only iRacing and Le Mans Ultimate measure the gap to the car ahead and behind closely "
            "enough for this bar.",
    .summary = "iRacing and Le Mans Ultimate only. The widget version of this bar works in more "
               "sims, with an estimated gap."};

constexpr SupportRule kEverywhereRule = {};

constexpr SupportRule kDashRule = {
    .summary = "The dash works in every sim. Individual tiles read N/A when the sim does not send "
               "that particular value, and the strip showing who you are racing switches to your "
               "own lap times."};

constexpr SupportRule kPitHelperRule = {
    .sims = maskOf({kSimIRacing, kSimLmu, kSimAcEvo}),
    .none = "This sim does not say what the pit lane speed limit is, so this panel cannot work "
            "here."};

constexpr SupportRule kTrackMapRule = {
    .needs = kOffersWorld,
    .none = "Vantorel does not read this sim's car position yet, so no map can be drawn.",
    .bestBits = kOffersStage,
    .bestNote = "Stage map: the road appears as you drive it and is kept for your next run on that "
                "stage.",
    .full = kOffersCars,
    .partial = "The track and your own car work. This sim does not send the other cars, so no "
               "rivals appear on the map."};

constexpr SupportRule kDeltaTraceRule = {
    .needsAny = kOffersDeltas | kOffersLapPosition,
    .none = "This sim does not track where you are on the lap closely enough to compare it with "
            "another one.",
    .bestBits = kOffersDeltas,
    .bestNote = kWorksFully,
    .works = "Works. This sim does not send a delta, so Vantorel works it out from your position "
             "on the lap."};

constexpr SupportRule kPerformanceRule = {
    .sims = kLapRecorders,
    .none = "Vantorel only records laps on iRacing, Le Mans Ultimate and AC EVO, and this panel is "
            "built from them.",
    .summary = "iRacing, Le Mans Ultimate and AC EVO only."};

constexpr SupportRule kRaceInfoRule = {
    .needs = kOffersSession,
    .none = "This sim has no session to put on the lower third.",
    .full = kOffersRatings,
    .partial = "The session, track and car work. Strength of field is an iRacing figure, so that "
               "part stays out."};

constexpr SupportRule kChatRule = {
    .works = "Works anywhere. It reads your Twitch chat, not the sim.",
    .summary = "Works in every sim. It reads your Twitch chat, not the game."};

constexpr SupportRule kCoverRule = {
    .needs = kOffersGarage,
    .none = "This sim never says you are in the garage, so the cover cannot appear on its own."};

constexpr SupportRule kRecapRule = {
    .needs = kOffersSession | kOffersLapTimes,
    .none = "This sim does not send enough about the session to summarise a race.",
    .full = kOffersRatings,
    .partial = "Your finishing position, places gained and best lap work. The iRating and incident "
               "lines are iRacing figures and stay out."};

constexpr SupportRule kLmuOnlyRule = {
    .sims = maskOf({kSimLmu}),
    .none = "Le Mans Ultimate only. No other sim publishes this.",
    .summary = "Le Mans Ultimate only. It hides itself in every other sim."};

constexpr SupportRule kCoachRule = {
    .sims = kLapRecorders, .none = kCoachSims, .summary = kCoachSummary};

constexpr SupportRule kAlertsRule = {
    .full = kOffersFlags,
    .partialSims = maskOf({kSimRaceRoom}),
    .partial = "Most alerts work. This sim does not send flags, so the flag alerts never fire.",
    .summary = "Works in every sim. Which alerts can fire depends on what the sim sends."};

constexpr SupportRule kDriftRule = {
    .needs = kOffersSlip,
    .none = "This sim does not send enough to work out how far sideways the car is, so the meter "
            "hides itself.",
    .full = kOffersTyres,
    .partial = "The angle, the gauge and the run history work. This sim does not send per-tyre "
               "figures, so the four tyre marks stay empty."};

} // namespace

const SupportRule* overlayRule(int slot) {
    switch (slot) {
    case kSlotSession:
        return &kSessionRule;
    case kSlotRelative:
    case kSlotStandings:
    case kSlotTrackStrip:
        return &kCarListRule;
    case kSlotFuel:
        return &kFuelRule;
    case kSlotSpotter:
        return &kSpotterRule;
    case kSlotHaptics:
        return &kHapticsRule;
    case kSlotBattleBar:
        return &kBattleBarRule;
    case kSlotShiftLight:
        return &kEverywhereRule;
    case kSlotDash:
        return &kDashRule;
    case kSlotPitHelper:
        return &kPitHelperRule;
    case kSlotTrackMap:
        return &kTrackMapRule;
    case kSlotDeltaTrace:
        return &kDeltaTraceRule;
    case kSlotPerformance:
        return &kPerformanceRule;
    case kSlotRaceInfo:
        return &kRaceInfoRule;
    case kSlotChat:
    case kSlotFeatured:
        return &kChatRule;
    case kSlotCover:
        return &kCoverRule;
    case kSlotRecap:
        return &kRecapRule;
    case kSlotLmuEnergy:
    case kSlotLmuStint:
        return &kLmuOnlyRule;
    case kSlotCoach:
    case kSlotTraining:
        return &kCoachRule;
    case kSlotAlerts:
        return &kAlertsRule;
    case kSlotDrift:
        return &kDriftRule;
    default:
        return nullptr; // widgets and custom panels
    }
}

namespace {

// ---- widgets ----

constexpr SupportRule kGMeterRule = {
    .needs = kOffersGForces,
    .none = "This sim does not send cornering and braking forces, so there is nothing to plot."};

constexpr SupportRule kPedalsRule = {
    .partialSims = maskOf(
        {kSimAms2, kSimAcc, kSimAc, kSimAcRally, kSimEts2, kSimBeamNg, kSimDirtRally2, kSimEaWrc}),
    .partial = "The pedals work. This sim never says how far your wheel turns, so the steering row "
               "stays blank until you fill in Steering Rotation.",
    .summary = "The pedals work everywhere. The steering row needs a rotation you set yourself on "
               "the sims that do not publish one."};

constexpr SupportRule kFlagRule = {
    .needs = kOffersFlags, .none = "This sim does not send flags, so the widget reads N/A."};

constexpr SupportRule kRatingRule = {
    .needs = kOffersRatings,
    .none = "iRating and Safety Rating are an iRacing thing. No other sim has anything like them.",
    .summary = "iRacing only. Nothing else keeps a rating."};

constexpr SupportRule kHeartRateRule = {
    .works = "Works anywhere. This is not sim data: it comes from your Pulsoid account.",
    .summary = "Works in every sim. It reads your Pulsoid account, not the game."};

constexpr SupportRule kLapHistoryRule = {
    .needs = kOffersLapTimes,
    .none = "This sim does not send finished lap times, so there is nothing to compare."};

constexpr SupportRule kSessionClockRule = {.needs = kOffersSession,
                                           .none = "This sim has no session to count down."};

constexpr SupportRule kLapTimingRule = {.needsAny = kOffersRunningLap | kOffersLapTimes,
                                        .none = "This sim does not send lap times."};

constexpr SupportRule kOvertakeRule = {
    .oddSim = kSimAcc,
    .oddState = 1,
    .oddNote = "Needs the game's own broadcast connection switched on before it can see the other "
               "cars.",
    .needs = kOffersCars | kOffersGaps,
    .none = "This sim does not send the other cars, so nothing can be spotted closing on you."};

constexpr SupportRule kProximityRule = {
    .needs = kOffersCarPlaces,
    .none = "This sim does not say where the other cars are, only who they are, so nothing can be "
            "drawn alongside you."};

constexpr SupportRule kTyreMonitorRule = {
    .oddSim = kSimIRacing,
    .oddState = 0,
    .oddNote = "iRacing only reads the tyres when you pit. A live display would show numbers from "
               "minutes ago, so it reads N/A instead.",
    .sims = maskOf({kSimLmu}),
    .none = "This sim does not send tyre temperatures.",
    .summary = "Le Mans Ultimate is the only sim that reads the tyres while you drive."};

} // namespace

const SupportRule& visualRule(int type) {
    switch (type) {
    case 1:
        return kGMeterRule;
    case 2:
        return kPedalsRule;
    case 4:
    case 13:
    case 18:
        return kFlagRule;
    case 5:
        return kRatingRule;
    case 6:
        return kHeartRateRule;
    case 12:
    case 23:
    case 24:
        return kLapHistoryRule;
    case 14:
    case 15:
    case 16:
    case 17:
        return kCoachRule;
    case 19:
        return kSessionClockRule;
    case 20:
        return kLapTimingRule;
    case 21:
        return kOvertakeRule;
    case 22:
        return kProximityRule;
    case 25:
        return kTyreMonitorRule;
    default:
        return kEverywhereRule;
    }
}

namespace {

constexpr SupportRule kSimDeltaBarRule = {
    .needs = kOffersDeltas,
    .none = "Only iRacing works out an optimal lap. Set Source to vs Best or vs Last above and "
            "this sim works.",
    .summary = "The Source you picked is worked out by iRacing itself. Switch to vs Best or vs "
               "Last for the other sims."};

constexpr SupportRule kBattleGapRule = {
    .oddSim = kSimAcc,
    .oddState = 1,
    .oddNote = "Needs the game's own broadcast connection switched on before it can see the other "
               "cars. Without it the bar stays empty.",
    .needs = kOffersCars | kOffersGaps,
    .none = "This sim does not send the other cars, so there is no gap to show.",
    .partialSims = kEverySim & static_cast<SimMask>(~kMeasuredGaps),
    .partial = "The gap is worked out from track position rather than measured, so it moves around "
               "more than iRacing's does.",
    .works = "Works. The gap is measured, the same way iRacing measures it."};

constexpr SupportRule kFuelBarRule = {
    .oddSim = kSimF1,
    .oddState = 1,
    .oddNote = "F1 says how much fuel is left but never how big the tank is, so the bar cannot "
               "fill. The laps figure still works.",
    .needs = kOffersFuel,
    .none = "This sim does not send a fuel level."};

} // namespace

const SupportRule& barRule(int barKind, int source) {
    switch (barKind) {
    case 0:
        return source == 1 || source == 2 ? kSimDeltaBarRule : kDeltaTraceRule;
    case 1:
        return kBattleGapRule;
    case 2:
        return kFuelBarRule;
    default:
        return kEverywhereRule;
    }
}

} // namespace vt
