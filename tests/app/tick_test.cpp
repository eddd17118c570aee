#include "app/main_tick.h"
#include "race/relative_model.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vt {
namespace {

/// Takes `costMs` of the turned clock for its turn.
class StubOverlay : public OverlayWindow {
public:
    StubOverlay(OverlayHost& owner, int place, Clock& turned)
        : OverlayWindow(owner, place), clock(turned) {}
    OverlayConfig* configBase() override { return &common; }
    bool showsWithoutSim() const override { return alwaysOn; }
    void buildPage(const PageBuilder&) override {}
    void draw(Canvas&, RectF) override {}
    void layoutForStyle() override { baseWidth = baseHeight = 10; }
    void prepareFrame(const SimFrame*) override {
        turns += 1;
        advance(clock, costMs / 1000.0);
        if (onTurn) onTurn();
    }

    Clock& clock;
    OverlayConfig common;
    bool alwaysOn = false;
    double costMs = 3;
    int turns = 0;
    std::function<void()> onTurn;
};

struct TickRig {
    Clock clock = manualClock();
    AppConfig config;
    OverlayHost host{.config = config, .clock = clock, .saveSettings = {}, .editModeChanged = {}};
    TripleBuffer buffer;
    PumpWords pumpWords;
    TickWords words;
    MainTick tick{.buffer = buffer,
                  .pumpWords = pumpWords,
                  .words = words,
                  .host = host,
                  .clock = clock,
                  .steps = defaultTickSteps()};
    std::vector<std::unique_ptr<StubOverlay>> stubs;

    explicit TickRig(int overlays) {
        for (int slot = 0; slot < overlays; ++slot) {
            stubs.push_back(std::make_unique<StubOverlay>(host, slot, clock));
            stubs.back()->common.enabled = true;
            host.overlays.push_back(stubs.back().get());
        }
    }
    /// The slots that had a turn in one pass.
    std::vector<int> pass() {
        for (auto& stub : stubs)
            stub->turns = 0;
        overlayPass(tick, SimFrame{});
        std::vector<int> out;
        for (auto& stub : stubs)
            if (stub->turns > 0) out.push_back(stub->slot);
        return out;
    }
    StubOverlay& at(int slot) { return *stubs[static_cast<size_t>(slot)]; }
};

using Slots = std::vector<int>;

TEST(OverlayPass, StopsAtItsBudgetAndGoesOnThere) {
    TickRig rig(43);
    EXPECT_EQ(rig.pass(), (Slots{0, 1, 2}));
    EXPECT_EQ(rig.pass(), (Slots{3, 4, 5}));
    for (int i = 0; i < 12; ++i)
        rig.pass();
    EXPECT_EQ(rig.pass(), (Slots{0, 1, 42})); // round the end
    EXPECT_EQ(rig.tick.overlayCursor, 2);
    EXPECT_STREQ(rig.words.tickOverlayKey, "relative");
}

TEST(OverlayPass, EveryOverlayGetsItsTurn) {
    TickRig rig(43);
    std::vector<int> turns(43, 0);
    for (int pass = 0; pass < 43; ++pass)
        for (const int slot : rig.pass())
            turns[static_cast<size_t>(slot)] += 1;
    EXPECT_EQ(turns, std::vector<int>(43, 3));
}

TEST(OverlayPass, OffIsSkippedUnlessEdited) {
    TickRig rig(5);
    rig.at(0).common.enabled = false;
    rig.at(1).common.enabled = false;
    rig.at(1).editMode = true;
    rig.host.overlays[2] = nullptr;
    EXPECT_EQ(rig.pass(), (Slots{1, 3, 4}));
}

TEST(OverlayPass, TheLastPlaceEndsThePassWhateverItTook) {
    TickRig rig(3);
    EXPECT_EQ(rig.pass(), (Slots{0, 1, 2})); // 9 ms, but there is nobody left
    EXPECT_EQ(rig.tick.overlayCursor, 0);
    rig.at(0).costMs = 50;
    EXPECT_EQ(rig.pass(), (Slots{0}));
    EXPECT_EQ(rig.tick.overlayCursor, 1);
    rig.host.overlays.resize(1);
    rig.stubs.resize(1);
    EXPECT_EQ(rig.pass(), (Slots{0})); // the place to go on from is gone
    rig.host.overlays.clear();
    rig.tick.overlayCursor = 7;
    EXPECT_EQ(rig.pass(), Slots{});
    EXPECT_EQ(rig.tick.overlayCursor, 0);
}

TEST(OverlayPass, ExactlyTheBudgetIsWithinIt) {
    TickRig rig(6);
    for (auto& stub : rig.stubs)
        stub->costMs = 4;
    EXPECT_EQ(rig.pass(), (Slots{0, 1, 2})); // 8.0 ms after the second is not more than 8.0
}

TEST(MainTick, StepsRunInTheirOrderWithTheNewestFrame) {
    const char* const order[] = {
        "take frame",  "panel watchers",  "save settings", "sharing",      "streaming",
        "choose pace", "performance log", "recorder",      "pit strategy", "engineer",
        "drift runs",  "overlay pass",    "breadcrumb",    "outputs",      "recover device"};
    TickRig rig(0);
    ASSERT_EQ(rig.tick.steps.size(), std::size(order));
    std::vector<std::string> ran;
    for (const char* name : order)
        ASSERT_TRUE(setTickStep(rig.tick, name, [&ran, name](MainTick&, const SimFrame& frame) {
            ran.push_back(name + std::to_string(frame.lap));
        }));
    EXPECT_FALSE(setTickStep(rig.tick, "nothing", nullptr));
    rig.buffer.writable().lap = 8;
    rig.buffer.publish();
    mainTick(rig.tick);
    ASSERT_EQ(ran.size(), std::size(order));
    for (size_t i = 0; i < ran.size(); ++i)
        EXPECT_EQ(ran[i], order[i] + std::string("8"));
}

TEST(MainTick, FollowsTheWholeRoadOfAFrame) {
    TickRig rig(2);
    pitLaps = {};
    SimFrame& frame = rig.buffer.writable();
    frame.connected = 1;
    CarRow& row = frame.cars.emplace_back();
    row.carIdx = 4;
    row.lap = 11;
    row.pitThisLap = 1;
    rig.buffer.publish();
    rig.words.tickPosted = 1;
    int pitLapSeen = -1;
    rig.at(0).onTurn = [&] { pitLapSeen = pitLaps.lap[4]; };
    const uint64_t stamp = frameStamp;
    mainTick(rig.tick);
    EXPECT_EQ(rig.words.tickPosted, 0u);
    EXPECT_NE(rig.words.uiHeartbeat, 0u);
    EXPECT_EQ(frameStamp, stamp + 1);
    EXPECT_EQ(rig.at(1).turns, 1);
    EXPECT_EQ(pitLapSeen, 11); // before the first overlay draws
    EXPECT_NE(rig.words.tickOverlayStamp, 0u);
    pitLaps = {};
}

TEST(MainTick, ATickInsideATickOnlyTakesItsMessage) {
    TickRig rig(2);
    const SimFrame* held = nullptr;
    uint32_t taken = 0;
    setTickStep(rig.tick, "panel watchers", [&](MainTick& tick, const SimFrame& frame) {
        held = &frame;
        rig.buffer.publish();
        rig.words.tickPosted = 1;
        mainTick(tick); // what a modal loop in here would do
        taken = rig.buffer.readCount;
        EXPECT_EQ(rig.words.tickPosted, 0u);
        EXPECT_EQ(rig.at(0).turns, 0);
        rig.buffer.publish();
        rig.buffer.publish();
        EXPECT_NE(held, &rig.buffer.writable());
    });
    rig.buffer.publish();
    mainTick(rig.tick);
    EXPECT_EQ(taken, 1u);
    EXPECT_EQ(rig.at(0).turns, 1);
    setTickStep(rig.tick, "panel watchers", nullptr);
    mainTick(rig.tick);
    EXPECT_EQ(rig.at(0).turns, 2);
}

TEST(MainTick, Pace) {
    const struct {
        const char* what;
        std::function<void(TickRig&, SimFrame&)> change;
        uint32_t interval;
    } cases[] = {
        {"idle", [](TickRig&, SimFrame&) {}, 250000},
        {"connected", [](TickRig&, SimFrame& f) { f.connected = 1; }, 16667},
        {"demo", [](TickRig& r, SimFrame&) { r.pumpWords.demoOn = 1; }, 16667},
        {"edit mode",
         [](TickRig& r, SimFrame&) {
             r.at(1).common.enabled = false;
             r.at(1).editMode = true;
         },
         16667},
        {"shows without sim", [](TickRig& r, SimFrame&) { r.at(1).alwaysOn = true; }, 16667},
        {"the same, switched off",
         [](TickRig& r, SimFrame&) {
             r.at(1).alwaysOn = true;
             r.at(1).common.enabled = false;
         },
         250000},
        {"panel animates",
         [](TickRig& r, SimFrame&) { r.tick.panelAnimating = [] { return true; }; }, 16667},
        {"connection", [](TickRig& r, SimFrame&) { r.tick.connectionToKeep = [] { return true; }; },
         100000},
    };
    for (const auto& c : cases) {
        TickRig rig(2);
        c.change(rig, rig.buffer.writable());
        rig.buffer.publish();
        mainTick(rig.tick);
        EXPECT_EQ(rig.words.tickIntervalUs, c.interval) << c.what;
    }
}

} // namespace
} // namespace vt
