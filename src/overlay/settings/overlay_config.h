// The settings of every overlay: a common block, and behind it what only that overlay has. The
// values here are those of a fresh installation, but for the common block, which differs from
// overlay to overlay (see overlay_defaults.h). Sizes are pixels, times seconds, unless said
// otherwise.
#pragma once
#include <array>
#include <cstdint>
#include <string>

namespace vt {

/// Settings that every overlay has. `enabled` comes first: the tick reads it through a plain
/// pointer.
struct OverlayConfig {
    bool enabled = false;
    int x = 0, y = 0;   // window position in physical pixels of the virtual desktop
    int monitor = 0;    // monitor index the position belongs to
    bool locked = true; // not in edit mode
    float widthMul = 1, heightMul = 1, textScale = 1; // 0.25..4; text 0.5..3
    int refreshHz = 10;                               // one of the slot's choices
    float bgOpacity = 0.85f, contentOpacity = 1;      // 0..1
    bool useGeneralOpacity = false; // defaultBgOpacity and defaultTextOpacity instead
    bool showHeader = false;
    int headerLeft = 1, headerCenter = 0, headerRight = 2; // field ids
    bool showFooter = false;
    int footerLeft = 6, footerCenter = 0, footerRight = 9;
    bool showInCar = true, showOutOfCar = false, showSpotting = true, showInGarage = false;
    int toggleHotkeyVk = 0, toggleHotkeyMod = 0, toggleHotkeyBtn = 0;
    bool mirrorOnStream = false, mirrorWindowOpen = false;
    bool vrEnabled = false, vrAutoFace = true; // the panel turns to face the head
    float vrX = 0, vrY = 0, vrZ = -1;          // metres
    float vrYaw = 0, vrPitch = 0, vrRoll = 0;  // degrees
    float vrScale = 0.4f;                      // metres
    int vrAnchor = 0;                          // 0 in the cockpit, 1 follows the head
    float vrOpacity = 1;
};

/// How a column of Relative or Standings draws its cells.
struct ColumnOptions {
    bool licColorByClass = false; // licence: tint with the licence colour
    bool licBadge = false;        // licence: on a filled chip
    int licMode = 0;              // licence: 0 "A 3.50", 1 the letter, 2 "3.50"
    int relColorMode = 0;         // interval: 0 direction, 1 threat, 2 off
    float relBattleSec = 0.3f;    // interval: battle range, 0.1..3 s
    int relDecimals = 1;          // interval: 0..2
    bool relBarClassic = false, relBarGrid = false, relBarCompact = false; // interval: the gap bar
    bool relBarAnchor = true, relBarRows = false, relBarApex = false;
    int nameMode = 1;        // driver: 0 full, 1 "F. Last", 2 surname, 3 three letters, 4 first
    bool nameBattle = false; // driver: tint in battle range
    int nameBattleSec = 1;   // s
    bool lapBestHighlight = false; // best and last lap: colour best laps
    int compStyle = 0;             // compound: 0 tyre, 1 text
    bool compHideUniform = true;   // compound: no column when all are the same
    bool compWetDry = true;        // compound: own colour for wet tyres
    bool posTalking = false;       // position: dot on who talks
    bool posSolidBg = false;       // position: solid background
    int classStyle = 0;            // class: 0 spine, 1 row tint
    int brandStyle = 0;            // brand: 0 text, 1 logo, 2 both
    int brandApexMark = 0;         // brand in Apex: 0 logos, 1 letters
    int tyreAgeMode = 0;           // tyre age: 0 laps, 1 NEW / OK / OLD
    bool operator==(const ColumnOptions&) const = default;
};

inline constexpr int kColumnCount = 20;

struct ColumnSpec {
    int fieldId = 0; // ColumnId
    bool enabled = true;
    bool race = true, qualy = true, practice = true; // shown in that kind of session
    ColumnOptions opts;
    bool operator==(const ColumnSpec&) const = default;
};

/// In the order on screen, where the style leaves it free.
struct ColumnList {
    std::array<ColumnSpec, kColumnCount> specs;
    int count = 0;
    bool operator==(const ColumnList&) const = default;
};

ColumnList defaultRelativeColumns();
ColumnList defaultStandingsColumns();

struct SessionConfig : OverlayConfig {
    bool showAirTemp = true;   // Air temperature row
    bool showTrackTemp = true; // Track temperature row
    bool showWeather = true;   // Weather row
    bool showIncidents = true; // Incidents row
    bool showTimeLeft = true;  // Time left row
    // Turn the incident count amber once you have picked up this many. Set it to 0 to never
    // warn. (0 to 20)
    int incidentWarn = 4;
    float alertTimeAmberMin = 5.0f; // Time amber (min) (0 to 60.0)
    float alertTimeRedMin = 2.0f;   // Time red (min) (0 to 60.0)
    int alertLapsAmber = 3;         // Laps amber (0 to 20)
    int alertLapsRed = 1;           // Laps red (0 to 20)
    int alertIncAmberGap = 5;       // Incidents amber at (0 to 20)
    int alertIncRedGap = 2;         // Incidents red at (0 to 20)
    int sessionStyle = 1;           // Style, 0 Classic, 1 Apex; absent key reads 0
};

struct RelativeConfig : OverlayConfig {
    int rowsAhead = 2;        // How many cars ahead of you on track to list. (0 to 5)
    int rowsBehind = 2;       // How many cars behind you on track to list. (0 to 5)
    int relStyle = 5;         // Style, 0 Classic, 1 Grid, 2 Compact, 3 Anchor, 4 Rows, 5 Apex
    bool bestPerClass = true; // Best-lap highlighting per class instead of overall
    ColumnList columns = defaultRelativeColumns();
};

struct FuelConfig : OverlayConfig {
    int fuelStyle = 5; // Style, 0 Classic, 1 Full, 2 Compact, 3 Planner, 4 Range, 5 Apex
    // How many recent laps the burn average is worked out from. Fewer reacts quicker, more rides
    // out one odd lap. (3 to 10)
    int fuelWindowLaps = 5;
    // Spare fuel added to every stop recommendation, as a safety margin. (0.0 to 5.0 L)
    float fuelPitBuffer = 1.0f;
    int fuelDevPct = 8;            // Burn flash at (%) (0 to 25)
    int fuelAlertAmberLaps = 4;    // Amber below (laps) (0 to 20)
    int fuelAlertRedLaps = 2;      // Red below (laps) (0 to 20)
    bool fuelShowPerLap = true;    // How much fuel you are using each lap.
    bool fuelShowRemain = true;    // How far the fuel on board will get you.
    bool fuelShowAddPit = true;    // How much to put in at your next stop.
    bool fuelShowBadge = true;     // The SAFE, MARGINAL or SHORT tag on the fuel you have.
    bool fuelShowSparkline = true; // A small graph of how much fuel each recent lap used.
    bool fuelShowAxis = true;      // Label that graph with its highest and lowest value.
    // How much the card shows, from the full set of blocks down to a single thin strip. (4
    // choices)
    int fuelLayout = 1;
    // What the big bar tracks: fuel in the tank, laps left in the race, or both in turn. (3
    // choices)
    int fuelBarMode = 0;
    // How long the bar spends on each of the two before it swaps. (3 to 10)
    int fuelCycleSec = 5;
    // Start the countdown to your stop when this many laps of fuel are left. (1 to 10)
    int fuelWarnLaps = 3;
    bool fuelShowNotch = true;    // Mark on the bar how much fuel you need to reach the finish.
    bool fuelShowStats = false;   // The burn, laps-left and add-at-pit numbers.
    bool fuelShowSpark = false;   // A small graph of how much fuel each recent lap used.
    bool fuelShowFooter = true;   // The summary line along the bottom of the card.
    bool fuelShowStrategy = true; // Pit strategy
    bool fuelShowSave = true;     // Fuel saving
};

struct SpotterConfig : OverlayConfig {
    float spotterBarGap = 162.6479f; // Distance between the two side bars, px (0 to 5000.0)
    float spotterBarWidth = 32.0f;   // How thick each side bar is drawn. (0 to 100.0 px)
    int spotterMode = 2;             // Style, 0 Bars, 1 Radar, 2 Disc
    // How far around you the radar reaches. Cars further out are not drawn at all. (10.0 to 40.0
    // m)
    float spotterRadarRange = 18.0f;
    bool spotterRadarNums = true;    // Label each blip with that car's racing number.
    bool spotterShowInQualy = false; // Show in qualifying
    // Say "car left" and "car right" out loud as cars come alongside.
    bool spotterVoice = true;
    float spotterVoiceVol = 0.5f;           // How loud those callouts are. (0.0 to 1.0)
    std::string spotterVoicePack = "Corin"; // Voice pack folder name
    std::string spotterVoiceDeviceId = "";  // Output device id; empty means the system default
    // Say nothing under this speed, so you are not talked to on the grid or while you are
    // stopped. Set to zero to always speak. (0 to 100.0 km/h)
    float spotterVoiceMinKph = 40.0f;
    bool spotterVoicePitQuiet = true; // No callouts while you are in the pits.
    // Stay silent for this long once the race goes green, while the field is still packed and a
    // callout tells you nothing. (0 to 15.0 s)
    float spotterVoiceStartQuietSec = 5.0f;
    // No callouts while the race is under a full course yellow.
    bool spotterVoiceCautionQuiet = true;
    // How often you are reminded a car is still beside you. Set to zero to hear about each car
    // once. (0 to 8.0 s)
    float spotterVoiceRepeatSec = 3.0f;
};

struct HapticsConfig : OverlayConfig {
    // Show on the desktop with no sim running while the sibling application is open
    bool showNoSim = false;
    int hapticsStyle = 1; // Style, 0 Classic, 1 Apex, 2 Rig
};

struct StandingsConfig : OverlayConfig {
    int standingsRows = 14; // How many cars from your own class to list. (3 to 30)
    // How many cars from each of the other classes to list. (3 to 30)
    int standingsRowsOther = 12;
    // Whether to list your own class, every class at once, or rotate through them one at a time.
    // (3 choices)
    int standingsScope = 1;
    int standingsSizeMode = 1;      // Size mode of the window
    float standingsCycleSec = 1.0f; // Cycle (s) (0 to 10.0)
    int stdStyle = 5;               // Style, 0 Classic, 1 Grid, 2 Compact, 3 Focus, 4 Rows, 5 Apex
    bool bestPerClass = true;       // Best-lap highlighting per class instead of overall
    ColumnList columns = defaultStandingsColumns();
};

struct BattleBarConfig : OverlayConfig {
    // Style; stored 5 to 10 for Track bar, Cards, Ladder, Strip, Apex, Apex Mini; below 5 reads
    // as 5
    int bbStyle = 9;
    bool bbShowArrows = true; // Direction arrows on the gaps
    bool bbShowNames = true;  // Driver names
    // Whether to consider every car around you or only your own class. (2 choices)
    int bbClassMode = 0;
    bool bbShowTarget = true; // Name the actual car you are racing rather than only the gap.
    // A second row graphing how each gap has moved lap by lap, with a warning the moment your
    // rival pits.
    bool bbShowTrendGraph = true;
    // Near a stop, shows where you would come back out and who you would be racing at pit exit.
    bool bbShowPitExit = false;
    // Show how many laps it will take to catch, or be caught, at the current rate.
    bool bbShowCatch = true;
    bool bbHideNoBattle = false; // Hide the bar entirely when nobody is close enough to race.
    // Gap above which nobody counts as close enough to race. (0.5 to 10.0 s)
    float bbNoBattleSec = 2.46f;
    // Gap under which the bar turns amber, meaning you are in a fight. (0.3 to 5.0 s)
    float bbBattleSec = 1.5f;
    // Gap under which the bar turns red, meaning you are within striking distance. (0.1 to 3.0
    // s)
    float bbAttackSec = 0.5f;
    bool bbShowLapTimes = true; // Show your lap time and your rival's alongside the gap.
    bool bbLapCycle = false;    // Rotate your own cell through last, projected and best lap.
    // How long each of those lap times stays before the next one. (1.5 to 15.0 s)
    float bbLapCycleSec = 1.9754f;
    bool bbDanger = false; // Flash the bar when the car behind is closing fast.
    // Gap behind you at which that warning flash starts. (0.3 to 2.0 s)
    float bbDangerSec = 1.0f;
};

struct ShiftLightConfig : OverlayConfig {
    int slStyle = 4;        // Style, 0 Block, 1 Gauge, 2 Ring, 3 Meter, 4 Apex
    bool slShowGear = true; // Show the gear you are in inside the light.
    // Moves the whole light up or down in revs, for when the shift point the sim announces does
    // not suit how you drive the car. (-500.0 to 500.0 rpm)
    float slTrimRpm = 98.46f;
    // What the light does before the shift zone: nothing, glow green, or stay dark until it
    // matters. (3 choices)
    int slBelowMode = 2;
};

struct DashConfig : OverlayConfig {
    bool slShowGear = true; // Show the gear you are in inside the light.
    // Moves the glow up or down in revs, for when the shift point the sim announces does not
    // suit how you drive the car. (0 to 500.0 rpm)
    float slTrimRpm = 0.6124f;
    // Lights the dial face as you approach the shift point: a small yellow glow in the middle of
    // the dial that spreads out and turns orange then red, filling the whole face and flashing
    // when it is time to change gear. (2 choices)
    int dialGlowMode = 1;
    // How bright the glow gets. Half way is the tuned setting; turn it up if it disappears
    // against a bright sim picture. (0.0 to 1.0)
    float dialGlowLevel = 0.5006f;
    // What the light does before the shift zone: nothing, glow green, or stay dark until it
    // matters. (3 choices)
    int slBelowMode = 0;
    // Style; stored 5 to 11 for Apex, Apex Low, Fan, Blade, Pod, Wing, Halo;for older values
    int dashStyle = 9;
    bool rdBattle = true; // Battle strip shown
    bool rdData = true;   // Data strip shown
    // What fills the strip. Automatic picks per sim: the cars ahead and behind where the sim
    // sends them, your best lap against your last where it does not, the stage clock and
    // distance left on a rally stage, and the two values below where none of those exist. (5
    // choices)
    int dashBattleSource = 0;
    // Which screen corner the quarter dial radiates from. Move the window to that corner to
    // complete the effect. (4 choices)
    int rdFanCorner = 0;
    // How big the rev dial is drawn. It grows to the left, so nothing else on the dash moves,
    // and the overlay gets wider and taller to make room. (4 choices)
    int rdPodTacho = 1;
    bool dashApexBattleBar = false; // Apex: battle bar
    bool dashApexInfoStrip = true;  // Apex: info strip
    bool dashApexTacho = true;      // Apex: rev dial
    int dashApexShiftStyle = 2;     // Apex: shift light style
};

struct WidgetConfig : OverlayConfig {
    int wgtType = 1;   // Widget kind
    int wgtLayout = 3; // Layout
    int wgtVisual = 0; // Visual form
    int wgtBar = 0;    // Bar form
    int wgtStyle = 0;  // Style
    int slStyle = 0;   // Shift light style inside the widget
};

struct PitHelperConfig : OverlayConfig {
    int pitStyle = 1; // Style, 0 Classic, 1 Apex
    // Caution band: how far under the limit the bar starts warning, km/h, 0 to 15
    float pitWarnMargin = 3.0f;
    bool pitFlashOver = true;   // Flash the panel the moment the limit is exceeded
    bool pitHideOffRoad = true; // Show the panel only on pit road
    bool pitCountdown = true;   // Show the distance still to run to the own pit box
    // How far out from the box the countdown starts, m, 50 to 300
    float pitCountdownRange = 201.9608f;
};

struct TrackMapConfig : OverlayConfig {
    int tmStyle = 1;              // Style, 0 Classic, 1 Apex; absent key reads 0
    bool tmShowTurns = true;      // Number each corner around the lap.
    bool tmShowNames = true;      // Name each corner, where the track has published names for them.
    bool tmShowPitLane = true;    // Draw the pit lane alongside the circuit.
    bool tmShowCarNumbers = true; // Label each car dot with that car's racing number.
    float tmTrackWidth = 10.0f;   // How thick the circuit outline is drawn. (0 to 24.0 px)
    float tmCornerNumScale = 1.0f;  // Size of the corner numbers on the map. (0 to 3.0 x)
    float tmCornerNameScale = 1.0f; // Size of the corner names on the map. (0 to 3.0 x)
    float tmCarNumScale = 1.0f;     // Size of the number drawn on each car dot. (0 to 3.0 x)
    // Zooms in on the car and turns the map so the road ahead points up, instead of drawing the
    // whole lap. Always on for rally stages, where a whole stage in one panel is too small to
    // read.
    bool tmFollow = false;
    // How much road is visible in front of the car. (80.0 to 800.0 m)
    float tmFollowZoomM = 250.0f;
    // A bright line down the middle of the road: green where you were on the throttle, red where
    // you were braking. The brighter the colour, the more pedal.
    bool tmFollowPedals = true;
    // A bar across the road where you first hit the brakes for the corner ahead, with two arrows
    // leading into it.
    bool tmFollowBrakePt = true;
    // A small coloured ring on the road at the corner ahead, red for a hairpin through green for
    // a kink. The corner's call itself sits in the bar at the top.
    bool tmFollowCornerSign = true;
    int tmFollowInfoPos = 1;      // Readout position, values above 1 read as 1
    bool tmFollowShowDist = true; // How far it is to the next corner.
    // The gear from your best attempt at that corner, learnt across every run.
    bool tmFollowShowGear = true;
    // The speed from your best attempt at that corner, learnt across every run.
    bool tmFollowShowSpeed = true;
    // A pacenote-style call for the corner ahead, 1 for a hairpin up to 6 for a kink, with the
    // direction.
    bool tmFollowShowTurn = true;
    bool tmFollowShowTime = false; // The time of the run these figures came from.
    // Lights the readout green or red with what you are doing right now, so you can see whether
    // you are braking earlier than last time.
    bool tmFollowInfoTint = true;
};

struct DeltaTraceConfig : OverlayConfig {
    // Full draws the whole lap; Compact shows only the stretch you have just driven. (2 choices)
    int dtMode = 0;
    int dtRef = 2; // Which lap you are being compared against. (4 choices)
    // How many seconds of gain or loss fill the height of the graph. A smaller number makes
    // every small wobble look bigger. (0 to 10.0 s)
    float dtScale = 3.0f;
    int dtStyle = 1; // Style, 0 Classic, 1 Apex; absent key reads 0
    // Add a strip showing the brake, throttle and gear your reference lap was using at the point
    // of the track you are on right now. Needs a saved best lap for this car and track; iRacing
    // only, and it reads N/A until there is one to show.
    bool dtRefInputs = false;
};

struct PerformanceConfig : OverlayConfig {
    int perfStyle = 1; // Style, 0 Classic, 1 Apex
};

struct RaceInfoConfig : OverlayConfig {
    int riStyle = 1;                // Style, 0 Classic, 1 Apex; absent key reads 0
    float alertTimeAmberMin = 5.0f; // Time amber (min) (0 to 60.0)
    float alertTimeRedMin = 2.0f;   // Time red (min) (0 to 60.0)
    int alertLapsAmber = 3;         // Laps amber (0 to 20)
    int alertLapsRed = 1;           // Laps red (0 to 20)
};

struct ChatConfig : OverlayConfig {
    // Show a small tally of how many messages came from each platform.
    bool chatShowChips = true;
    bool chatShowSubTags = true; // Mark subscribers and members next to their name.
    int chatStyle = 0;           // Style, 0 Classic, 1 Apex; absent key reads 0
};

struct FeaturedConfig : OverlayConfig {
    int featuredStyle = 1; // Style, 0 Classic, 1 Apex; absent key reads 0
};

struct CoverConfig : OverlayConfig {
    int coverStyle = 0; // Style, 0 Classic, 1 Apex; absent key reads 0
};

struct RecapConfig : OverlayConfig {
    // Pop the card up on its own when the race finishes, rather than waiting for you to switch
    // the overlay on.
    bool recapAutoShow = true;
    int recapStyle = 1; // Style, 0 Graphite, 1 Apex; absent key reads 0
};

struct LmuEnergyConfig : OverlayConfig {
    int energyStyle = 1; // Style, 0 Classic, 1 Apex; absent key reads 0
};

struct LmuStintConfig : OverlayConfig {
    int stintStyle = 1; // Style, 0 Classic, 1 Apex; absent key reads 0
};

struct CoachConfig : OverlayConfig {};

struct AlertsConfig : OverlayConfig {
    float holdMul = 1.0f; // How long a card stays (0 to 3.0 x)
    // Says the alert out loud as well as showing the card, using the same voice packs as the
    // spotter.
    bool voice = true;
    float voiceVol = 0.5f;           // How loud the spoken alerts are. (0.0 to 1.0)
    std::string voicePack = "Corin"; // Voice pack folder name
    std::string voiceDeviceId = "";  // Output device id
};

struct TrackStripConfig : OverlayConfig {
    // Proximity lane below the strip: five seconds either side of the player with the time to
    // the closest cars
    bool tsShowGaps = true;
    bool tsShowPit = true;      // Lane for cars in the pits, with the own stall marked
    bool tsShowSectors = true;  // Shade the strip per sector and light the current one
    bool tsClassColours = true; // Colour each car dot by class
    bool tsMyClassOnly = false; // Hide other classes
};

struct TrainingConfig : OverlayConfig {};

struct DriftConfig : OverlayConfig {
    bool showSessionBar = true; // Session bar
};

} // namespace vt
