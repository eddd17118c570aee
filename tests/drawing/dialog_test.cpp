#include "overlay/drawing/dialog.h"
#include "overlay/drawing/drawing.h"
#include "platform/headless/headless.h"
#include "platform/main_loop.h"
#include "support/picture_compare.h"

#include <gtest/gtest.h>

#include <functional>

namespace vt::test {

namespace {

std::function<void()> posted[8];

/// Runs `call` from inside the loop, some turns later.
void later(int slot, std::function<void()> call) {
    posted[slot] = std::move(call);
    loopPost([](void* f) { (*static_cast<std::function<void()>*>(f))(); }, &posted[slot]);
}

class Dialogs : public testing::Test {
protected:
    WindowId owner = 0;
    std::vector<uint32_t> messages;

    void SetUp() override {
        ASSERT_TRUE(platformStart(PlatformKind::headless));
        Monitor monitor;
        monitor.rect = {0, 0, 1920, 1080};
        monitor.work = {0, 0, 1920, 1040};
        monitor.primary = true;
        headlessSetMonitors({monitor});
        WindowSpec spec;
        spec.kind = WindowKind::panel;
        spec.rect = {100, 100, 900, 700};
        spec.visible = true;
        owner = createWindow(spec, [this](const WindowEvent& event) {
            if (event.kind == EventKind::user) messages.push_back(event.message);
            if (event.kind == EventKind::mouseDown) messages.push_back(1);
            return true;
        });
    }
    void TearDown() override {
        registerDialogPlacement(nullptr, nullptr);
        headlessFailCreation(false, false);
        destroyWindow(owner);
        platformStop();
    }
    static void click(PointI at) {
        headlessMouseMove(at);
        headlessMouseButton(0, true);
        headlessMouseButton(0, false);
        loopPump();
    }
    DialogSpec spec(int width = 400, int height = 200) const {
        DialogSpec s;
        s.parent = owner;
        s.width = width;
        s.height = height;
        return s;
    }
};

TEST_F(Dialogs, IsCentredPaintedAndHoldsTheOwnerBack) {
    static BitmapRef picture;
    static RectI rect;
    DialogSpec s = spec();
    s.title = "A question";
    s.paint = [](Canvas& canvas, RectF client, void*) {
        EXPECT_EQ(client, (RectF{0, 0, 400, 200}));
        canvas.fillRect({10, 10, 50, 50}, solidBrush({1, 0, 0, 1}).get());
        later(0, [] {
            picture = headlessPicture(currentDialog());
            rect = windowRect(currentDialog());
            EXPECT_EQ(headlessTitle(currentDialog()), "A question");
            click({120, 120}); // the owner sees nothing of it
            endDialog(7);
        });
    };
    EXPECT_EQ(runDialog(s), 7);
    ASSERT_TRUE(picture);
    EXPECT_EQ(rect, (RectI{300, 300, 700, 500}));
    EXPECT_EQ(pixelAt(*picture, 0, 0), (Pixel{0x16, 0x12, 0x10, 255}));
    EXPECT_EQ(pixelAt(*picture, 20, 20), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(currentDialog(), 0u);
    loopPump();
    EXPECT_EQ(messages, std::vector<uint32_t>{kDialogEndedMessage});
    click({120, 120});
    EXPECT_EQ(messages.back(), 1u);
    picture.reset();
}

TEST_F(Dialogs, NestAndOnlyTheOutermostTellsItsOwner) {
    static std::vector<int> results;
    static const DialogSpec* inner;
    results.clear();
    DialogSpec second = spec(200, 100);
    inner = &second;
    second.paint = [](Canvas&, RectF, void*) { later(1, [] { endDialog(2); }); };
    DialogSpec first = spec();
    first.paint = [](Canvas&, RectF, void*) {
        if (!results.empty()) return;
        results.push_back(0);
        later(0, [] {
            DialogSpec s = *inner;
            const WindowId outer = currentDialog();
            s.parent = outer;
            results.push_back(runDialog(s));
            EXPECT_EQ(currentDialog(), outer);
            endDialog(1);
        });
    };
    EXPECT_EQ(runDialog(first), 1);
    EXPECT_EQ(results, (std::vector<int>{0, 2}));
    loopPump();
    EXPECT_EQ(messages, std::vector<uint32_t>{kDialogEndedMessage});
}

TEST_F(Dialogs, RemembersItsPlaceAndStaysOnTheScreen) {
    static int key;
    static PointI asked, stored;
    static RectI rect;
    registerDialogPlacement(
        [](const void* k, int& x, int& y) {
            EXPECT_EQ(k, &key);
            x = asked.x;
            y = asked.y;
            return true;
        },
        [](const void*, int x, int y) {
            stored = {x, y};
        });
    DialogSpec s = spec();
    s.placeKey = &key;
    s.paint = [](Canvas&, RectF, void*) {
        later(0, [] {
            rect = windowRect(currentDialog());
            endDialog(0);
        });
    };
    asked = {40, 50};
    runDialog(s);
    EXPECT_EQ(rect, (RectI{40, 50, 440, 250}));
    EXPECT_EQ(stored, (PointI{40, 50}));
    asked = {1900, 1000};
    runDialog(s);
    EXPECT_EQ(rect, (RectI{1520, 840, 1920, 1040}));
}

TEST_F(Dialogs, CannotBeMade) {
    headlessFailCreation(true, false);
    EXPECT_EQ(runDialog(spec()), -1);
    headlessFailCreation(false, true);
    const size_t before = headlessWindows().size();
    EXPECT_EQ(runDialog(spec()), -1);
    EXPECT_EQ(headlessWindows().size(), before);
    click({120, 120});
    EXPECT_EQ(messages, std::vector<uint32_t>{1}); // the owner was never disabled
}

TEST_F(Dialogs, PaintsAgainAfterTheDeviceWasLost) {
    static int paints;
    paints = 0;
    DialogSpec s = spec();
    s.paint = [](Canvas&, RectF, void*) {
        if (++paints == 1)
            later(0, [] {
                raiseDeviceLost();
                recoverDevice(1);
            });
        else
            later(1, [] { endDialog(3); });
    };
    EXPECT_EQ(runDialog(s), 3);
    EXPECT_EQ(paints, 2);
}

} // namespace

} // namespace vt::test
