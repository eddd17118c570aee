#include "overlay/frame/fields.h"
#include "overlay/frame/sim_support.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace vt;

namespace {

std::string states(const SupportStatus& status) {
    std::string out;
    for (const uint8_t state : status.state)
        out += static_cast<char>('0' + state);
    return out;
}

std::string widgetStates(int kind, int type, int bar, int source = 0) {
    SupportStatus status;
    EXPECT_TRUE(widgetSupport(kind, type, bar, 0, nullptr, source, status));
    return states(status);
}

std::string cellNote(int layout, std::initializer_list<int> cells, int sim, int& state) {
    int fields[9] = {};
    std::copy(cells.begin(), cells.end(), fields);
    SupportStatus status;
    EXPECT_TRUE(widgetSupport(1, 0, 0, layout, fields, 0, status));
    state = status.state[static_cast<size_t>(sim)];
    return status.note[static_cast<size_t>(sim)];
}

// Columns: iRacing, LMU, AMS2, ACC, AC EVO, AC, AC Rally, ETS2, BeamNG, F1, DiRT Rally 2.0, EA
// Sports WRC, rFactor 2, RaceRoom. Worked out by hand from what each sim sends.
const std::map<int, const char*> kOverlays = {
    {kSlotSession, "22222220010021"},     {kSlotRelative, "22210000000022"},
    {kSlotFuel, "22222222010022"},        {kSlotSpotter, "22201000000020"},
    {kSlotHaptics, "22222222222222"},     {kSlotStandings, "22210000000022"},
    {kSlotBattleBar, "22000000000000"},   {kSlotShiftLight, "22222222222222"},
    {kSlotDash, "22222222222222"},        {kSlotPitHelper, "22002000000000"},
    {kSlotTrackMap, "22001000002200"},    {kSlotDeltaTrace, "22222200000022"},
    {kSlotPerformance, "22002000000000"}, {kSlotRaceInfo, "21111110010011"},
    {kSlotChat, "22222222222222"},        {kSlotFeatured, "22222222222222"},
    {kSlotCover, "22200000000022"},       {kSlotRecap, "21111110000011"},
    {kSlotLmuEnergy, "02000000000000"},   {kSlotLmuStint, "02000000000000"},
    {kSlotCoach, "22002000000000"},       {kSlotAlerts, "22222221111121"},
    {kSlotTrackStrip, "22210000000022"},  {kSlotTraining, "22002000000000"},
    {kSlotDrift, "12022120000020"},
};

struct WidgetRow {
    std::initializer_list<int> types;
    const char* states;
};
const WidgetRow kWidgets[] = {
    {{1}, "22222222202222"},
    {{2}, "22112111121122"},
    {{4, 13, 18}, "22222220000022"},
    {{5}, "20000000000000"},
    {{6}, "22222222222222"},
    {{12, 23, 24}, "22222220000022"},
    {{14, 15, 16, 17}, "22002000000000"},
    {{19}, "22222220020022"},
    {{20}, "22222220022022"},
    {{21}, "22210000000022"},
    {{22}, "22202000000020"},
    {{25}, "02000000000000"},
    {{0, 3, 7, 8, 9, 10, 11, 26, -1}, "22222222222222"},
};

} // namespace

TEST(SimSupport, matrixOfTheOverlays) {
    const AppConfig config;
    for (int slot = -1; slot <= kSlotCount + 1; ++slot) {
        SupportStatus status;
        const auto row = kOverlays.find(slot);
        ASSERT_EQ(overlaySupport(slot, status), row != kOverlays.end()) << slot;
        if (row != kOverlays.end()) {
            EXPECT_EQ(states(status), row->second) << overlayKey(slot);
        }

        const bool widget = slot >= kSlotWidget0 && slot < kSlotPitHelper;
        SupportStatus seen;
        EXPECT_EQ(supportFor(config, slot, seen), widget || row != kOverlays.end()) << slot;
        if (widget) {
            EXPECT_EQ(states(seen), "22222222222222") << "no cell set";
        }
    }
}

TEST(SimSupport, matrixOfTheWidgets) {
    for (const WidgetRow& row : kWidgets)
        for (const int type : row.types)
            EXPECT_EQ(widgetStates(2, type, 0), row.states) << "visual " << type;
    EXPECT_EQ(widgetStates(3, 0, 0), "22222200000022");
    EXPECT_EQ(widgetStates(3, 0, 0, 1), "20000000000000");
    EXPECT_EQ(widgetStates(3, 0, 0, 2), "20000000000000");
    EXPECT_EQ(widgetStates(3, 0, 0, 3), "22222200000022");
    EXPECT_EQ(widgetStates(3, 0, 1), "22110000000011");
    EXPECT_EQ(widgetStates(3, 0, 2), "22222222010022");
    EXPECT_EQ(widgetStates(3, 0, 3), "22222222222222");
}

TEST(SimSupport, widgetSlotsReadTheirOwnSettings) {
    AppConfig config;
    SupportStatus status;
    config.widgets[0].wgtType = 2;
    config.widgets[0].wgtVisual = 25;
    config.widgets[11].wgtType = 3;
    config.widgets[11].wgtBar = 1;
    ASSERT_TRUE(supportFor(config, kSlotWidget0, status));
    EXPECT_EQ(states(status), "02000000000000");
    EXPECT_TRUE(status.note[kSimIRacing].starts_with("iRacing only reads the tyres"));
    EXPECT_EQ(status.note[kSimAcc], "This sim does not send tyre temperatures.");
    ASSERT_TRUE(supportFor(config, kSlotWidget0 + 11, status));
    EXPECT_EQ(states(status), "22110000000011");
    EXPECT_FALSE(supportFor(config, kSlotCustom0, status));
}

// Where a sim meets several lines of a row, the note tells which one was taken.
TEST(SimSupport, notes) {
    struct {
        int slot, sim;
        const char* start;
    } const cases[] = {
        {kSlotTrackMap, kSimEaWrc, "Stage map: the road appears"},
        {kSlotTrackMap, kSimAcEvo, "The track and your own car work."},
        {kSlotTrackMap, kSimAcRally, "Vantorel does not read this sim's car position"},
        {kSlotDeltaTrace, kSimIRacing, "Works fully on this sim."},
        {kSlotDeltaTrace, kSimAms2, "Works. This sim does not send a delta"},
        {kSlotRelative, kSimAcc, "Needs the game's own broadcast connection"},
        {kSlotRelative, kSimAc, "This sim does not send the other cars on track"},
        {kSlotAlerts, kSimRaceRoom, "Most alerts work."},
        {kSlotSession, kSimRaceRoom, "The session and lap rows work."},
        {kSlotSpotter, kSimAcEvo, "Works, but without car numbers"},
        {kSlotHaptics, kSimBeamNg, "Works anywhere. It reads Vantorel Haptics"},
        {kSlotDash, kSimBeamNg, "Works fully on this sim."},
    };
    for (const auto& c : cases) {
        SupportStatus status;
        ASSERT_TRUE(overlaySupport(c.slot, status));
        EXPECT_TRUE(status.note[static_cast<size_t>(c.sim)].starts_with(c.start))
            << overlayKey(c.slot) << ": " << status.note[static_cast<size_t>(c.sim)];
    }
    SupportStatus status;
    widgetSupport(3, 0, 2, 0, nullptr, 0, status);
    EXPECT_TRUE(status.note[kSimF1].starts_with("F1 says how much fuel is left"));
    widgetSupport(3, 0, 1, 0, nullptr, 0, status);
    EXPECT_TRUE(status.note[kSimAcc].ends_with("Without it the bar stays empty."));
    EXPECT_TRUE(status.note[kSimLmu].starts_with("Works. The gap is measured"));
}

TEST(SimSupport, cellGrids) {
    int state = -1;
    EXPECT_EQ(cellNote(3, {}, kSimBeamNg, state), "Works fully on this sim.");
    EXPECT_EQ(state, 2);
    EXPECT_EQ(cellNote(1, {51, 52}, kSimBeamNg, state), "Works fully on this sim.");
    EXPECT_EQ(cellNote(1, {14, 15}, kSimBeamNg, state),
              "None of the values you picked exist on this sim, so every cell reads N/A.");
    EXPECT_EQ(state, 0);
    EXPECT_EQ(cellNote(2, {51, 14, 0, 0}, kSimBeamNg, state),
              "Most of it works. Fuel in tank has nothing to show on this sim.");
    EXPECT_EQ(state, 1);
    EXPECT_EQ(cellNote(4, {51, 14, 15, 16, 17}, kSimBeamNg, state),
              "Most of it works. Fuel in tank, Last lap time, Incident count have nothing to show "
              "on this sim.");
    // Cells behind the layout's last do not count.
    EXPECT_EQ(cellNote(1, {51, 52, 14}, kSimBeamNg, state), "Works fully on this sim.");
}

TEST(SimSupport, runTimeQuestions) {
    EXPECT_TRUE(simOffers(-1, 0));
    EXPECT_FALSE(simOffers(-1, kOffersBasics));
    EXPECT_FALSE(simOffers(kSimCount, kOffersBasics));
    EXPECT_FALSE(simOffers(kSimF1, kOffersLaps | kOffersFlags)) << "all bits, not any";
    EXPECT_TRUE(fieldSupported(51, -1));
    EXPECT_FALSE(fieldSupported(44, kSimAcRally)) << "finished laps without a lap position";
    EXPECT_FALSE(fieldSupported(47, kSimRFactor2));

    // ACC's cars come with its broadcast connection, and go with it.
    SupportStatus before, during;
    overlaySupport(kSlotRelative, before);
    EXPECT_FALSE(columnSupported(6, kSimAcc));
    simLiveCapabilities[kSimAcc] = kOffersCars | kOffersGaps;
    EXPECT_TRUE(columnSupported(6, kSimAcc));
    EXPECT_TRUE(columnSupported(3, kSimAcc));
    EXPECT_FALSE(columnSupported(5, kSimAcc));
    overlaySupport(kSlotRelative, during);
    EXPECT_EQ(states(before), states(during)) << "what the settings page says stands still";
    simLiveCapabilities[kSimAcc] = 0;
    EXPECT_FALSE(columnSupported(3, kSimAcc));

    for (const int never : {12, 15})
        EXPECT_FALSE(columnSupported(never, kSimIRacing));
    EXPECT_FALSE(columnSupported(13, kSimAcEvo)) << "pit status of nobody";
    EXPECT_TRUE(columnSupported(13, kSimAms2));
    EXPECT_FALSE(columnSupported(2, kSimAms2));
    EXPECT_FALSE(columnSupported(19, kSimLmu));
}
